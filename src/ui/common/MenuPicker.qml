import QtQuick
import Cobblet.Controls

// Offers its choices in a menu. The owner sets `current` when `chosen` asks for it; -1 shows `placeholder`.
Pressable {
    id: button

    property var choices: []
    property int current: -1
    property string placeholder
    property int maximumWidth: 260
    signal chosen(index: int)

    width: Math.min(maximumWidth, Math.max(72, text.implicitWidth + 36))
    height: 26
    activeFocusOnTab: enabled
    opacity: enabled ? 1 : 0.4
    Accessible.role: Accessible.ComboBox
    Accessible.description: text.text
    Accessible.onPressAction: triggered()
    onTriggered: Choices.open(choices, current, button)
    Keys.onUpPressed: step(-1)
    Keys.onDownPressed: step(1)

    function step(by: int) {
        const to = current + by;
        if (to >= 0 && to < choices.length)
            chosen(to);
    }

    Rectangle {
        anchors.fill: parent
        z: -2
        radius: 6
        color: CBTheme.fieldBG
        border.width: 1
        border.color: CBTheme.border
    }

    CBText {
        id: text
        x: 10
        width: parent.width - 34
        height: parent.height
        text: button.current >= 0 && button.current < button.choices.length ? button.choices[button.current] : button.placeholder
    }

    CBSymbol {
        x: parent.width - width - 7
        anchors.verticalCenter: parent.verticalCenter
        name: "chevron.up.chevron.down"
        fontSize: 11
        color: CBTheme.text2
    }
}
