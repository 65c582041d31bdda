import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// What stands below the groups: "Add Group" and the pages.
Column {
    id: footer

    // A click brings the keyboard to the list.
    signal pageTaken

    bottomPadding: 12

    // Of an action, or of a page where there is none.
    function rowAt(action: int, page: int): Item {
        if (action < 0)
            return pages.itemAt(page);
        return action < suggestions.count ? suggestions.itemAt(action) : addGroup;
    }

    CBText {
        visible: suggestions.count > 0
        x: 8
        height: 34
        verticalAlignment: Text.AlignBottom
        bottomPadding: 7
        text: "Suggested"
        color: CBTheme.text2
        font.pixelSize: 11
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Repeater {
        id: suggestions
        model: Settings.suggestions

        SuggestionRow {
            width: footer.width
        }
    }

    SettingsSidebarLabel {
        id: addGroup
        width: parent.width
        title: "Add Group"
        systemImage: "plus"
        onTriggered: Popovers.toggle(Qt.createComponent("AddGroupPopover.qml"), this)
    }

    Item {
        width: parent.width
        height: 21

        Rectangle {
            x: 8
            y: 10
            width: parent.width - 16
            height: Math.max(0.5, 1 / Screen.devicePixelRatio)
            color: CBTheme.hairline
        }
    }

    Repeater {
        id: pages
        model: Settings.pages

        SettingsSidebarLabel {
            required property int index
            required property var modelData

            width: footer.width
            title: modelData.title
            systemImage: modelData.symbol
            isSelected: Settings.pageRow === index
            Accessible.role: Accessible.ListItem
            Accessible.selected: isSelected
            Accessible.onPressAction: triggered()
            onTriggered: {
                Settings.selectPage(index);
                footer.pageTaken();
            }
        }
    }
}
