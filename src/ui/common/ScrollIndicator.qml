import QtQuick
import Cobblet.Controls

// Where a view that scrolls stands; it can be dragged.
MouseArea {
    id: area

    required property Flickable flickable
    readonly property real ratio: flickable.visibleArea.heightRatio
    readonly property real reach: height - 8 - thumb.height

    width: 12
    visible: ratio > 0 && ratio < 1
    hoverEnabled: true
    preventStealing: true

    function follow(mouse) {
        const at = Math.max(0, Math.min(1, (mouse.y - 4 - thumb.height / 2) / Math.max(1, reach)));
        flickable.contentY = flickable.originY + at * (flickable.contentHeight - flickable.height);
    }

    onPressed: mouse => follow(mouse)
    onPositionChanged: mouse => {
        if (pressed)
            follow(mouse);
    }

    Rectangle {
        id: thumb
        anchors.right: parent.right
        anchors.rightMargin: 3
        y: 4 + area.reach * Math.max(0, Math.min(1, area.flickable.visibleArea.yPosition / (1 - area.ratio)))
        width: area.containsMouse || area.pressed ? 7 : 5
        height: Math.max(28, (area.height - 8) * area.ratio)
        radius: width / 2
        color: CBTheme.track
    }
}
