import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The sidebar's edge, which can be dragged, or moved by the arrow keys.
MouseArea {
    id: edge

    property real grip

    x: Math.min(Settings.sidebarWidth, parent.width - 400)
    width: 7
    cursorShape: Qt.SplitHCursor
    preventStealing: true
    activeFocusOnTab: true
    Accessible.role: Accessible.Splitter
    Accessible.name: "Sidebar width"
    Accessible.focusable: true
    onPressed: mouse => grip = mouse.x
    onPositionChanged: mouse => {
        if (pressed)
            Settings.sidebarWidth = x + Math.round(mouse.x - grip);
    }
    Keys.onLeftPressed: Settings.sidebarWidth -= 10
    Keys.onRightPressed: Settings.sidebarWidth += 10

    FocusRing {
        visible: edge.activeFocus && Decorations.keyboardFocus
    }
}
