import QtQuick
import Cobblet.Panel

// The background of a popover's window.
Rectangle {
    radius: 10
    color: CBTheme.popoverBG
    border.width: 1
    border.color: CBTheme.text3
}
