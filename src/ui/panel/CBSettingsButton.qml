import QtQuick
import Cobblet.Controls
import Cobblet.Panel

SidebarButton {
    id: button

    label: "Settings"
    textColor: CBTheme.text2
    hint: "⌘,"
    hintColor: CBTheme.text3
    tip: "Open Settings (⌘,)"
    activeFocusOnTab: true
    onTriggered: Panel.openSettings()

    CBSymbol {
        x: Math.round(button.pictureX + (22 - width) / 2)
        y: Math.round((button.height - height) / 2)
        name: "gearshape"
        fontSize: 14
        color: CBTheme.text2
    }
}
