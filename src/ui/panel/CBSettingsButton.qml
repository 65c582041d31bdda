import QtQuick
import Cobblet.Panel

Pressable {
    id: button

    required property real expansion
    readonly property int fullWidth: Units.sidebarExpanded - 16

    height: Units.rowHeight
    corner: Units.rowRadius
    label: "Settings"
    tip: "Open Settings (⌘,)"
    activeFocusOnTab: true
    onTriggered: Panel.openSettings()

    CBSymbol {
        x: Math.round((button.width - 22) / 2 * (1 - button.expansion) + 10 * button.expansion + (22 - width) / 2)
        y: Math.round((button.height - height) / 2)
        width: implicitWidth
        height: implicitHeight
        name: "gearshape"
        fontSize: 14
        color: CBTheme.text2
    }

    CBText {
        x: 40 - 8 * (1 - button.expansion)
        height: button.height
        verticalAlignment: Text.AlignVCenter
        visible: button.expansion > 0
        opacity: button.expansion
        text: "Settings"
        color: CBTheme.text2
    }

    CBText {
        x: button.fullWidth - implicitWidth - 10 - 8 * (1 - button.expansion)
        height: button.height
        verticalAlignment: Text.AlignVCenter
        visible: button.expansion > 0
        opacity: button.expansion
        text: "⌘,"
        color: CBTheme.kbd
        font.pixelSize: 12
        font.family: Units.fixedFont
    }
}
