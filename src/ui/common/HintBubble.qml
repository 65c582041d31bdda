import QtQuick
import Cobblet.Controls

// The small bubble above a hovered tool button.
Rectangle {
    id: bubble

    property alias text: label.text
    readonly property int lift: 36

    anchors.horizontalCenter: parent.horizontalCenter
    y: (parent.height - height) / 2 - lift
    z: 1
    width: label.implicitWidth + 16
    height: label.implicitHeight + 8
    radius: 6
    color: Qt.rgba(0, 0, 0, 0.33)

    CBText {
        id: label
        anchors.centerIn: parent
        maximumLineCount: 3
        font.pixelSize: 11
    }
}
