import QtQuick
import Cobblet.Controls

// Asks for the name and the emoji of a new group.
PopoverFrame {
    id: sheet

    readonly property string name: nameField.text.trim()

    signal add(name: string, emoji: string)
    signal cancelled

    width: 300
    height: 176
    title: "New Group"
    takesKeyboard: true
    focus: true
    Keys.onEscapePressed: cancelled()

    function accept() {
        if (!name)
            return;
        add(name, emojiButton.selection);
        dismissed();
    }

    function cancel() {
        cancelled();
        dismissed();
    }

    Component.onCompleted: nameField.input.forceActiveFocus()

    CBText {
        x: 20
        y: 20
        text: sheet.title
        font.weight: Font.DemiBold
    }

    EmojiPickerButton {
        id: emojiButton
        x: 20
        y: 52
        selection: "📁"
    }

    SheetField {
        id: nameField
        x: 80
        anchors.verticalCenter: emojiButton.verticalCenter
        width: 200
        placeholder: "Group name"
        onAccepted: sheet.accept()
    }

    SheetButton {
        x: addButton.x - width - 8
        y: addButton.y
        label: "Cancel"
        onTriggered: sheet.cancel()
    }

    SheetButton {
        id: addButton
        x: sheet.width - width - 20
        y: sheet.height - height - 20
        label: "Add Group"
        isDefault: true
        enabled: sheet.name
        onTriggered: sheet.accept()
    }
}
