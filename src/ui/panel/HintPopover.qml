import QtQuick
import Cobblet.Controls

// What the close-all button does under the modifier keys.
PopoverFrame {
    width: text.implicitWidth + 24
    height: text.implicitHeight + 24
    title: "Close All Button Shortcuts"
    opensAbove: true

    CBText {
        id: text
        x: 12
        y: 12
        maximumLineCount: 3
        lineHeight: 1.2
        verticalAlignment: Text.AlignTop
        text: "Close All Button Shortcuts:\n⌘ + Click = Force Quit\n⌥ + Click = Graceful Quit"
        font.pixelSize: 12
    }
}
