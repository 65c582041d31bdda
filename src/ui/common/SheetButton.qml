import QtQuick
import Cobblet.Controls

// A push button of a sheet; the default one is filled with the accent colour.
Pressable {
    id: button

    property bool isDefault: false
    property string symbol

    width: Math.max(72, text.implicitWidth + 28 + (symbol ? 20 : 0))
    height: 28
    fills: false
    activeFocusOnTab: enabled
    opacity: enabled ? 1 : 0.4

    Rectangle {
        anchors.fill: parent
        radius: 6
        color: button.isDefault ? CBTheme.accent : button.isHovered ? CBTheme.hoverBG : CBTheme.fieldBG
        border.width: button.isDefault ? 0 : 1
        border.color: CBTheme.border
    }

    CBSymbol {
        x: 11
        anchors.verticalCenter: parent.verticalCenter
        visible: button.symbol
        name: button.symbol
        fontSize: 12
        color: text.color
    }

    CBText {
        id: text
        anchors.centerIn: parent
        anchors.horizontalCenterOffset: button.symbol ? 9 : 0
        text: button.label
        color: button.isDefault ? "white" : CBTheme.text
        font.weight: button.isDefault ? Font.DemiBold : Font.Normal
    }
}
