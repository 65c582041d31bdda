import QtQuick
import Cobblet.Controls

// The installed applications, to choose some.
PopoverFrame {
    id: sheet

    required property var apps

    width: 380
    height: 440
    title: "Choose Apps"
    takesKeyboard: true
    focus: true

    function add() {
        if (apps.add(list.currentIndex))
            Popovers.close();
    }

    Component.onCompleted: search.input.forceActiveFocus()

    CBText {
        x: 20
        y: 16
        text: sheet.title
        font.weight: Font.DemiBold
    }

    SheetField {
        id: search
        x: 16
        y: 42
        width: sheet.width - 32
        placeholder: "Search"
        // The current row is heard while the keyboard stays here.
        description: (list.currentItem as AppChooserRow)?.name ?? ""
        onTextChanged: {
            sheet.apps.search = text;
            list.currentIndex = 0;
            list.positionViewAtBeginning();
        }
        onAccepted: sheet.add()
        // The arrows move in the list while the field keeps the keyboard.
        Keys.onUpPressed: list.decrementCurrentIndex()
        Keys.onDownPressed: list.incrementCurrentIndex()
    }

    ListView {
        id: list
        x: 8
        y: 80
        width: sheet.width - 16
        height: buttons.y - 10 - y
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        keyNavigationEnabled: true
        highlightMoveDuration: 0
        currentIndex: 0
        reuseItems: true
        model: sheet.apps
        Accessible.role: Accessible.List
        Accessible.name: sheet.title
        Keys.onSpacePressed: sheet.apps.toggle(currentIndex)
        Keys.onReturnPressed: sheet.add()
        Keys.onEnterPressed: sheet.add()

        delegate: AppChooserRow {
            width: ListView.view.width
            isCurrent: ListView.isCurrentItem
            onTriggered: {
                list.currentIndex = index;
                sheet.apps.toggle(index);
            }
            onDoubleClicked: mouse => {
                if (mouse.button !== Input.LeftButton)
                    return;
                if (!isChosen)
                    sheet.apps.toggle(index);
                sheet.add();
            }
        }
    }

    CBText {
        anchors.centerIn: list
        visible: list.count === 0
        text: sheet.apps.isReady ? "No app of that name" : "Looking for apps…"
        color: CBTheme.text2
    }

    Item {
        id: buttons
        x: 16
        y: sheet.height - height - 16
        width: sheet.width - 32
        height: 28

        SheetButton {
            label: "Other…"
            visible: !sheet.apps.isSingle
            onTriggered: {
                // This window is gone before the next one opens in its place.
                const apps = sheet.apps;
                Popovers.close();
                apps.chooseFiles();
            }
        }

        SheetButton {
            x: addButton.x - width - 8
            label: "Cancel"
            onTriggered: Popovers.close()
        }

        SheetButton {
            id: addButton
            x: buttons.width - width
            label: sheet.apps.isSingle ? "Choose" : "Add"
            isDefault: true
            enabled: sheet.apps.chosenCount > 0 || list.count > 0
            onTriggered: sheet.add()
        }
    }
}
