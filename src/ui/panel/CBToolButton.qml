import QtQuick
import Cobblet.Controls

Pressable {
    id: button

    property alias symbol: picture.name
    // Without room for its label the button keeps its symbol, and tells its label as a tip.
    property bool compact: false
    // Every label that the button may come to have: it is as wide as the widest from the start.
    property var labels: [label]
    readonly property real smallWidth: picture.width + 20
    readonly property real fullWidth: picture.width + 26 + Math.ceil(Math.max(...labels.map(text => metrics.advanceWidth(text))))
    property string hint
    property HintBubble bubble: null
    readonly property bool hinting: containsMouse && hint !== ""

    width: compact ? smallWidth : fullWidth
    tip: compact ? label : ""
    height: 28
    corner: 7
    fill: CBTheme.toolHover
    activeFocusOnTab: true

    onHintingChanged: {
        if (hinting)
            bubble = Decorations.make(Decorations.HintBubble, button, { text: button.hint }) as HintBubble;
        else
            Decorations.dismiss(bubble);
    }

    CBSymbol {
        id: picture
        x: 10
        y: Math.round((button.height - height) / 2)
        fontSize: 11
        color: CBTheme.text
    }

    FontMetrics {
        id: metrics
        font: labelText.font
    }

    CBText {
        id: labelText
        x: picture.x + picture.width + 6
        visible: !button.compact
        height: button.height
        text: button.label
    }
}
