import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// What can be done with all applications of the list at once.
Item {
    id: tools

    required property real hair
    // Where there is no room for all labels they go one after the other; the last to go is the one that tells what
    // the modifier keys do.
    readonly property real room: info.x - openAll.x - 4
    readonly property real leastStandalone: standalone.visible ? standalone.smallWidth + 4 : 0

    height: PanelMetrics.toolRowHeight + hair

    Rectangle {
        width: parent.width
        height: tools.hair
        color: CBTheme.hairline
    }

    CBToolButton {
        id: openAll
        x: 10
        y: 9 + tools.hair
        compact: fullWidth + closeAll.fullWidth + tools.leastStandalone > tools.room
        label: "Open All"
        symbol: "play.fill"
        onTriggered: Panel.openAll()
    }

    CBToolButton {
        id: closeAll
        compact: openAll.smallWidth + fullWidth + tools.leastStandalone > tools.room
        x: openAll.x + openAll.width + 4
        y: openAll.y
        label: Panel.closeAllLabel
        labels: Panel.closeAllLabels
        symbol: Panel.closeAllSymbol
        hint: "⌘ + Click = Force Quit\n⌥ + Click = Graceful Quit"
        onTriggered: Panel.closeAll()
    }

    CBToolButton {
        id: standalone
        visible: Panel.offersStandalone
        compact: openAll.fullWidth + closeAll.fullWidth + fullWidth + 4 > tools.room
        x: closeAll.x + closeAll.width + 4
        y: openAll.y
        label: "Standalone"
        symbol: "arrow.up.forward.square"
        onTriggered: Panel.openStandalone()
    }

    CBInfoButton {
        id: info
        x: tools.width - width - 4
        y: tools.hair
    }
}
