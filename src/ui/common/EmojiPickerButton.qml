import QtQuick
import Cobblet.Controls

// Shows an emoji, and opens the picker beside it.
Pressable {
    id: button

    property string selection
    readonly property bool showPicker: Popovers.anchor === button

    width: 52
    height: 52
    corner: 12
    label: tip
    tip: "Change icon"
    activeFocusOnTab: true
    Accessible.description: selection
    onTriggered: Popovers.toggle(picker, button)

    Component {
        id: picker

        EmojiPickerView {
            selection: button.selection
            onPick: emoji => {
                button.selection = emoji;
                dismissed();
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        radius: button.corner
        color: Qt.alpha(CBTheme.text2, CBTheme.text2.a * 0.08)
        border.width: 1
        border.color: Qt.alpha(CBTheme.text2, CBTheme.text2.a * 0.25)
    }

    CBText {
        anchors.centerIn: parent
        text: button.selection
        font: Units.emojiFontOf(30)
    }
}
