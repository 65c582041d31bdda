import QtQuick
import Cobblet.Controls

// What a popover's window holds, and how it opens.
Rectangle {
    id: frame

    property string title
    // Above the anchor with the right edges aligned, rather than below it with the left ones.
    property bool opensAbove: false
    property bool takesKeyboard: false
    // It is done with: whoever opened it closes it.
    signal dismissed

    radius: 10
    color: CBTheme.popoverBG
    border.width: 1
    border.color: CBTheme.text3
    Keys.onEscapePressed: frame.dismissed()
}
