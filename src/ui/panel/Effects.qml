pragma Singleton
import QtQuick

// Decoration that only a pointer or the keyboard brings up. Controls make it from here when they need it, so
// that a cell nobody points at carries none of it.
QtObject {
    id: effects

    readonly property Component hoverFill: HoverFill {}
    readonly property Component focusRing: FocusRing {}
    readonly property Component hintBubble: HintBubble {}
    readonly property Component tipBubble: TipBubble {}

    property Item tipOwner: null
    property Item tip: null
    readonly property Timer tipDelay: Timer {
        interval: 700
        onTriggered: effects.openTip()
    }

    function expectTip(owner: Item) {
        closeTip();
        tipOwner = owner;
        tipDelay.restart();
    }

    function openTip() {
        if (tipOwner && tipOwner.Window.contentItem)
            tip = tipBubble.createObject(tipOwner.Window.contentItem, { owner: tipOwner, text: tipOwner.tip });
    }

    function closeTip() {
        tipDelay.stop();
        tipOwner = null;
        if (tip)
            tip.destroy();
        tip = null;
    }
}
