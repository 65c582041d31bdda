import QtQuick
import Cobblet.Panel

// Opens and closes the popover that explains the close-all button.
Pressable {
    id: button

    width: picture.width + 24
    height: Units.toolRowHeight
    fills: false
    corner: 8
    label: "Close All Button Shortcuts"
    activeFocusOnTab: true
    onTriggered: Popovers.toggleHint(this)

    CBSymbol {
        id: picture
        anchors.centerIn: parent
        width: implicitWidth
        height: implicitHeight
        name: "info.circle"
        fontSize: 13
        color: button.containsMouse || Popovers.showingHint ? CBTheme.text : CBTheme.text2
    }
}
