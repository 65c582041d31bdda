import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The groups, and below them the pages.
FocusScope {
    id: sidebar

    Rectangle {
        anchors.fill: parent
        color: CBTheme.panelBG
    }

    ListView {
        id: list
        x: 10
        width: sidebar.width - 20
        height: sidebar.height
        focus: true
        activeFocusOnTab: true
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height
        clip: true
        cacheBuffer: 120
        model: Settings.groups
        currentIndex: Settings.groupRow
        highlightFollowsCurrentItem: false
        Accessible.role: Accessible.List
        Accessible.name: "Groups and pages"
        Keys.onUpPressed: Settings.step(-1)
        Keys.onDownPressed: Settings.step(1)
        onCurrentIndexChanged: {
            if (currentIndex >= 0)
                positionViewAtIndex(currentIndex, ListView.Contain);
        }

        header: Item {
            width: list.width
            height: 40

            CBText {
                x: 8
                y: 16
                text: "Groups"
                color: CBTheme.text2
                font.pixelSize: 11
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Accessible.name: text
            }
        }

        delegate: GroupRow {
            width: ListView.view.width
            isSelected: ListView.isCurrentItem
        }

        footer: Column {
            width: list.width
            bottomPadding: 12

            SettingsSidebarLabel {
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
                model: Settings.pages

                SettingsSidebarLabel {
                    required property int index
                    required property var modelData

                    width: list.width
                    title: modelData.title
                    systemImage: modelData.symbol
                    isSelected: Settings.pageRow === index
                    Accessible.role: Accessible.ListItem
                    Accessible.onPressAction: triggered()
                    onTriggered: Settings.selectPage(index)
                }
            }
        }
    }

    ScrollIndicator {
        anchors.right: parent.right
        height: parent.height
        flickable: list
    }
}
