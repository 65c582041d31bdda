import QtQuick
import Cobblet.Controls

// The fill under a hovered control, and the spring that lifts its icon. Lets itself go once it has faded out.
Rectangle {
    id: fill

    property bool shown: false
    property bool wasShown: false
    property bool dying: false
    property Item springs: null

    anchors.fill: parent
    z: -1
    opacity: shown ? 1 : 0
    onOpacityChanged: goIfDone()
    onShownChanged: {
        wasShown = true;
        if (springs) {
            spring.to = shown ? Units.hoverScale : 1;
            spring.restart();
        }
    }

    function goIfDone() {
        if (wasShown && !shown && opacity === 0 && !spring.running && !dying) {
            dying = true;
            Decorations.dismiss(fill);
        }
    }

    Behavior on opacity {
        NumberAnimation {
            duration: Units.hover
            easing.type: Easing.OutQuad
        }
    }

    NumberAnimation {
        id: spring
        target: fill.springs
        property: "scale"
        duration: Units.springDuration
        easing: Units.spring
        onStopped: fill.goIfDone()
    }
}
