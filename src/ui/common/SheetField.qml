import QtQuick
import Cobblet.Controls

// A text field with a rounded border.
Rectangle {
    id: field

    property alias text: input.text
    property alias placeholder: placeholderText.text
    property alias input: input
    property string label: placeholder
    property string description
    // Gets the keys first.
    property Item keysTo: null
    // Where the text begins.
    property int inset: 8
    signal accepted

    height: 28
    radius: 6
    color: CBTheme.fieldBG
    border.width: input.activeFocus ? 2 : 1
    border.color: input.activeFocus ? CBTheme.accent : CBTheme.border

    TextInput {
        id: input
        x: field.inset
        width: field.width - x - 8
        height: field.height
        verticalAlignment: TextInput.AlignVCenter
        clip: true
        activeFocusOnTab: true
        selectByMouse: true
        maximumLength: 200
        color: CBTheme.text
        selectionColor: CBTheme.accent
        selectedTextColor: "white"
        font.pixelSize: 13
        Keys.forwardTo: field.keysTo ? [field.keysTo] : []
        Accessible.role: Accessible.EditableText
        Accessible.name: field.label
        Accessible.description: field.description
        onAccepted: field.accepted()
    }

    CBText {
        id: placeholderText
        x: field.inset
        width: field.width - x - 8
        height: field.height
        visible: input.text === "" && input.preeditText === ""
        color: CBTheme.text3
    }
}
