import QtQuick
import Cobblet.Controls

// On or off. The owner sets `on` when `toggled` asks for it.
Pressable {
    id: button

    property bool on: false
    signal toggled(on: bool)

    width: 38
    height: 22
    corner: 11
    fills: false
    activeFocusOnTab: enabled
    opacity: enabled ? 1 : 0.4
    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: on
    onTriggered: toggled(!on)

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: button.on ? CBTheme.accent : CBTheme.track
        Behavior on color {
            ColorAnimation {
                duration: Units.hover
            }
        }
    }

    Rectangle {
        x: button.on ? button.width - width - 2 : 2
        y: 2
        width: 18
        height: 18
        radius: 9
        color: "white"
        border.width: 0.5
        border.color: Qt.rgba(0, 0, 0, 0.12)
        Behavior on x {
            NumberAnimation {
                duration: Units.hover
                easing.type: Easing.OutQuad
            }
        }
    }
}
