import QtQuick
import Cobblet.Panel

// The list of tabs between its header and the settings button.
Item {
    id: sidebar

    // 1 expanded, 0 collapsed, and in between while it moves.
    property real expansion: Panel.sidebarExpanded ? 1 : 0

    width: Math.round(Units.sidebarCollapsed + (Units.sidebarExpanded - Units.sidebarCollapsed) * expansion)

    Behavior on expansion {
        NumberAnimation {
            duration: Units.sidebarToggle
            easing.type: Easing.InOutQuad
        }
    }

    function focusList() {
        list.forceActiveFocus();
    }

    SidebarHeader {
        width: sidebar.width
        expansion: sidebar.expansion
    }

    ListView {
        id: list
        x: 8
        y: 44
        width: sidebar.width - 16
        height: settings.y - 6 - y
        header: Item {
            width: 1
            height: 6
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
        onHeightChanged: {
            positionViewAtBeginning();
            reveal();
        }

        function reveal() {
            // Before the first layout there is no room, and every row would seem to lie outside.
            if (height <= Units.rowHeight || currentIndex < 0)
                return;
            if (currentIndex === count - 1)
                positionViewAtEnd();
            else
                positionViewAtIndex(currentIndex, ListView.Contain);
        }

        // Most Used stands apart from the groups.
        section.property: "isMostUsed"
        section.delegate: Item {
            required property string section
            width: 1
            height: section === "false" && Panel.showsMostUsed ? 8 : 0
        }

        delegate: CBGroupRow {
            width: ListView.view.width
            selected: ListView.isCurrentItem
        }
    }

    // Under the selected row.
    CBRowShape {
        id: shape
        readonly property Item row: list.currentItem
        // Only a change of selection glides; the first layout does not.
        property bool settled: false

        parent: list.contentItem
        x: -margin
        y: (row ? row.y : 0) - margin
        width: list.width + 2 * margin
        height: Units.rowHeight + 2 * margin
        visible: row !== null
        radius: Units.rowRadius
        fill: CBTheme.selBG
        stroke: CBTheme.border
        shadow: CBTheme.selShadow
        shadowRadius: CBTheme.selShadowRadius
        shadowY: CBTheme.selShadowY
        onRowChanged: settled = true

        Behavior on y {
            enabled: shape.settled && Panel.shown
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
        expansion: sidebar.expansion
    }
}
