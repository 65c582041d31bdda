import QtQuick
import Cobblet.Panel

// Asks for the name and the emoji of a new group.
PopoverFrame {
    id: sheet

    readonly property bool canAdd: Panel.canCreateGroup(nameField.text)

    width: 300
    height: 152
    focus: true

    function add() {
        if (!canAdd)
            return;
        Panel.createGroup(nameField.text, emojiField.text);
        Popovers.close();
    }

    Keys.onEscapePressed: Popovers.close()
    Component.onCompleted: nameField.input.forceActiveFocus()

    CBText {
        x: 20
        y: 20
        text: "New Group"
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
        onAccepted: sheet.add()
    }

    SheetField {
        id: nameField
        x: 80
        y: 52
        width: 200
        placeholder: "Group name"
        onAccepted: sheet.add()
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
        enabled: sheet.canAdd
        onTriggered: sheet.add()
    }
}
