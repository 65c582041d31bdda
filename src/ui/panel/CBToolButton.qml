import QtQuick
import Cobblet.Panel

Pressable {
    id: button

    property alias symbol: picture.name
    property string hint
    property HintBubble bubble: null
    readonly property bool hinting: containsMouse && hint !== ""

    width: picture.width + labelText.implicitWidth + 26
    height: 28
    corner: 7
    fill: CBTheme.toolHover
    activeFocusOnTab: true

    onHintingChanged: {
        if (hinting)
            bubble = Decorations.make(Decorations.HintBubble, button, { text: button.hint }) as HintBubble;
        else if (bubble)
            bubble.destroy();
    }

    CBSymbol {
        id: picture
        x: 10
        y: Math.round((button.height - height) / 2)
        width: implicitWidth
        height: implicitHeight
        fontSize: 11
        color: CBTheme.text
    }

    CBText {
        id: labelText
        x: picture.x + picture.width + 6
        height: button.height
        verticalAlignment: Text.AlignVCenter
        text: button.label
    }
}
