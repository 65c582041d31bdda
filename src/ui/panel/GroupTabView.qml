import QtQuick
import Cobblet.Panel

// The whole content of the launcher panel: the sidebar of tabs, and the applications of the selected one.
FocusScope {
    id: panel

    // The finest line that the screen can draw, half a point at least.
    readonly property real hair: Math.max(0.5, 1 / Screen.devicePixelRatio)

    focus: true

    Keys.onRightPressed: grid.focusGrid()

    Rectangle {
        anchors.fill: parent
        radius: Units.panelRadius
        color: CBTheme.panelBG
    }

    // The tint follows the panel's left corners: a wider rounded rectangle, cut off at the sidebar's edge.
    Item {
        width: sidebar.width
        height: parent.height
        clip: true

        Rectangle {
            width: parent.width + Units.panelRadius
            height: parent.height
            radius: Units.panelRadius
            color: CBTheme.sidebarBG
        }
    }

    SidebarView {
        id: sidebar
        height: parent.height
    }

    Rectangle {
        x: sidebar.width
        width: panel.hair
        height: parent.height
        color: CBTheme.hairline
    }

    AppGridView {
        id: grid
        x: sidebar.width + panel.hair
        width: panel.width - x
        height: parent.height
        visible: Panel.content === Panel.Grid
        onLeftEdgePassed: sidebar.focusList()
        hair: panel.hair
    }

    Loader {
        x: grid.x
        width: grid.width
        height: grid.height
        active: !grid.visible
        sourceComponent: EmptyState {
            readonly property bool noGroups: Panel.content === Panel.NoGroups

            symbol: noGroups ? "tray" : "clock.badge.questionmark"
            headline: noGroups ? "No groups yet" : "No launches tracked yet"
            headlineColor: noGroups ? CBTheme.text : CBTheme.text2
            caption: noGroups ? "Open Settings to add groups and apps." : "Launch apps from any group to start building your history."
            captionColor: noGroups ? CBTheme.text2 : CBTheme.text3
        }
    }

    Rectangle {
        anchors.fill: parent
        radius: Units.panelRadius
        color: "transparent"
        border.width: panel.hair
        border.color: CBTheme.border
    }
}
