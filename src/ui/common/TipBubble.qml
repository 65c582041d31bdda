import QtQuick
import Cobblet.Controls

// What a control is for, shown inside its window near the control.
Rectangle {
    id: bubble

    required property Item owner
    property alias text: label.text
    readonly property int gap: 6

    z: 100
    width: parent ? Math.min(label.implicitWidth, parent.width - 40) + 16 : 0
    height: label.implicitHeight + 8
    radius: 6
    color: CBTheme.popoverBG
    border.width: 1
    border.color: CBTheme.border
    Accessible.ignored: true

    Component.onCompleted: {
        const at = owner.mapToItem(parent, 0, 0);
        const below = at.y + owner.height + gap;
        x = Math.max(gap, Math.min(at.x, parent.width - width - gap));
        y = below + height + gap <= parent.height ? below : at.y - height - gap;
    }

    CBText {
        id: label
        x: 8
        y: 4
        width: bubble.width - 16
        font.pixelSize: 11
    }
}
