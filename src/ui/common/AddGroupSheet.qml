import QtQuick
import Cobblet.Controls

// Asks for the name and the emoji of a new group.
PopoverFrame {
    id: sheet

    readonly property string name: nameField.text.trim()

    signal add(name: string, emoji: string)

    width: 300
    height: 152
    title: "New Group"
    takesKeyboard: true
    focus: true

    function accept() {
        if (!name)
            return;
        add(name, emojiField.text);
        Popovers.close();
    }

    Component.onCompleted: nameField.input.forceActiveFocus()

    CBText {
        x: 20
        y: 20
        text: sheet.title
        font.weight: Font.DemiBold
    }

    SheetField {
        id: emojiField
        x: 20
        y: 52
        width: 52
        label: "Emoji"
        text: "📁"
        input.font: Units.emojiFont
        input.horizontalAlignment: TextInput.AlignHCenter
        onAccepted: sheet.accept()
    }

    SheetField {
        id: nameField
        x: 80
        y: 52
        width: 200
        placeholder: "Group name"
        onAccepted: sheet.accept()
    }

    SheetButton {
        x: addButton.x - width - 8
        y: addButton.y
        label: "Cancel"
        onTriggered: Popovers.close()
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
