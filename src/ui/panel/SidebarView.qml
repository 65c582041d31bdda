import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The list of tabs between its header and the settings button.
Item {
    id: sidebar

    // 1 expanded, 0 collapsed, and in between while it moves.
    property real expansion: Panel.sidebarExpanded ? 1 : 0

    width: Math.round(PanelMetrics.collapsedWidth + (PanelMetrics.expandedWidth - PanelMetrics.collapsedWidth) * expansion)

    Behavior on expansion {
        NumberAnimation {
            duration: PanelMetrics.sidebarToggle
            easing.type: Easing.InOutQuad
        }
    }

    function focusList() {
        list.forceActiveFocus();
    }

    SidebarHeader {
        id: header
        width: sidebar.width
        expansion: sidebar.expansion
        groupCount: list.count
    }

    ListView {
        id: list
        x: 8
        y: header.height
        width: sidebar.width - 16
        height: settings.y - 6 - y
        // Most Used stands apart from the groups, and scrolls with them.
        header: Item {
            width: list.width
            height: 6 + (mostUsed.visible ? mostUsed.height + 8 : 0)
            onHeightChanged: list.layOut()

            CBMostUsedRow {
                id: mostUsed
                y: 6
                width: parent.width
                visible: Panel.showsMostUsed
                isSelected: Panel.selectedRow < 0
                focus: isSelected
            }
        }
        footer: Item {
            width: 1
            height: 4
        }
        cacheBuffer: 62
        clip: contentHeight > height
        interactive: clip
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        model: Panel.sidebar
        currentIndex: Panel.selectedRow
        highlightFollowsCurrentItem: false
        Accessible.role: Accessible.PageTabList
        Accessible.name: "Groups"

        // The arrows select as they go; at the ends they stay.
        Keys.onUpPressed: Panel.selectRow(currentIndex - 1)
        Keys.onDownPressed: Panel.selectRow(currentIndex + 1)
        onCurrentIndexChanged: reveal()
        onHeightChanged: layOut()

        function layOut() {
            positionViewAtBeginning();
            reveal();
        }

        function reveal() {
            // Before the first layout there is no room, and every row would seem to lie outside.
            if (height <= Units.rowHeight)
                return;
            if (currentIndex < 0)
                positionViewAtBeginning();
            else if (currentIndex === count - 1)
                positionViewAtEnd();
            else
                positionViewAtIndex(currentIndex, ListView.Contain);
        }

        delegate: CBGroupRow {
            width: ListView.view.width
            isSelected: ListView.isCurrentItem
        }
    }

    SelectedRowBackground {
        readonly property Item row: Panel.selectedRow >= 0 ? list.currentItem : Panel.showsMostUsed ? list.headerItem : null

        parent: list.contentItem
        x: -margin
        y: (row ? row.y : 0) + (row === list.headerItem ? 6 : 0) - margin
        width: list.width + 2 * margin
        height: Units.rowHeight + 2 * margin
        visible: row !== null

        Behavior on y {
            enabled: Panel.shown
            NumberAnimation {
                duration: Units.selection
                easing.type: Easing.InOutQuad
            }
        }
    }

    CBSettingsButton {
        id: settings
        x: 8
        y: sidebar.height - height - 6
        width: sidebar.width - 16
    }
}
