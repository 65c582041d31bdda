import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// What can be done with all applications of the list at once.
Item {
    id: tools

    required property real hair
    readonly property bool compact: 10 + openAll.fullWidth + 4 + closeAll.fullWidth
                                    + (standalone.visible ? 4 + standalone.fullWidth : 0) + info.width + 4 > width

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
        compact: tools.compact
        label: "Open All"
        symbol: "play.fill"
        onTriggered: Panel.openAll()
    }

    CBToolButton {
        id: closeAll
        compact: tools.compact
        x: openAll.x + openAll.width + 4
        y: openAll.y
        label: Panel.closeAllLabel
        symbol: Panel.closeAllSymbol
        hint: "⌘ + Click = Force Quit\n⌥ + Click = Graceful Quit"
        onTriggered: Panel.closeAll()
    }

    CBToolButton {
        id: standalone
        visible: Panel.offersStandalone
        compact: tools.compact
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
