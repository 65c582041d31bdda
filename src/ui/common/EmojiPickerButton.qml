import QtQuick
import Cobblet.Controls

// Shows an emoji, and opens the picker beside it.
Pressable {
    id: button

    property string selection
    // Whether there is an emoji to be changed.
    property bool usable: true
    readonly property bool showPicker: Popovers.anchor === button

    width: 52
    height: 52
    corner: 12
    fills: usable
    label: tip
    tip: "Change icon"
    opacity: usable ? 1 : 0.4
    activeFocusOnTab: usable
    Accessible.description: selection
    Accessible.focusable: usable
    onTriggered: {
        if (usable)
            Popovers.toggle(picker, button);
    }

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
