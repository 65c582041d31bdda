import QtQuick
import Cobblet.Controls

// Shows where the keyboard is.
Rectangle {
    anchors.fill: parent
    color: "transparent"
    border.width: 2
    border.color: CBTheme.accent
}
