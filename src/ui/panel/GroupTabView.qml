import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The whole content of the launcher panel: the sidebar of tabs, and the applications of the selected one.
FocusScope {
    id: root

    component SidebarHairline: Rectangle {
        color: CBTheme.hairline
    }

    focus: true

    FocusScope {
        id: panel

        // The finest line that the screen can draw, half a point at least.
        readonly property real hair: Math.max(0.5, 1 / Screen.devicePixelRatio)

        width: root.width - Units.overhang(Screen.devicePixelRatio)
        height: root.height - Units.overhang(Screen.devicePixelRatio)
        focus: true

        Keys.onRightPressed: grid.focusGrid()

        Rectangle {
            anchors.fill: parent
            color: CBTheme.edge
        }

        Rectangle {
            anchors.fill: parent
            radius: PanelMetrics.panelRadius
            color: CBTheme.panelBG
        }

        // The tint follows the panel's left corners: a wider rounded rectangle, cut off at the sidebar's edge.
        Item {
            width: sidebar.width
            height: parent.height
            clip: true

            Rectangle {
                width: parent.width + PanelMetrics.panelRadius
                height: parent.height
                radius: PanelMetrics.panelRadius
                color: CBTheme.sidebarBG
            }
        }

        SidebarView {
            id: sidebar
            height: parent.height
        }

        SidebarHairline {
            x: sidebar.width
            width: panel.hair
            height: parent.height
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
            sourceComponent: Panel.content === Panel.NoGroups ? noGroups : noLaunches
        }

        Component {
            id: noGroups
            EmptyGroupsPlaceholder {}
        }

        Component {
            id: noLaunches
            Placeholder {
                symbol: "clock.badge.questionmark"
                headline: "No launches tracked yet"
                headlineColor: CBTheme.text2
                caption: "Launch apps from any group to start building your history."
                captionColor: CBTheme.text3
            }
        }

        Rectangle {
            anchors.fill: parent
            radius: PanelMetrics.panelRadius
            color: "transparent"
            border.width: panel.hair
            border.color: CBTheme.outline
        }
    }
}
