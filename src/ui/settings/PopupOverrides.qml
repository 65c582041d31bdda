import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// What a group has its own way in its popup.
Column {
    id: overrides

    required property GroupEditor editor
    // Where the controls stand.
    required property int column

    spacing: 8

    component Line: Item {
        id: line

        required property string label
        default property alias control: slot.data

        width: overrides.width
        height: 28

        CBText {
            x: 16
            anchors.verticalCenter: parent.verticalCenter
            width: 80
            text: line.label
            wrapMode: Text.WordWrap
            maximumLineCount: 2
            color: CBTheme.text2
            font.pixelSize: 11
        }

        Item {
            id: slot
            x: overrides.column
            y: Math.round((line.height - height) / 2)
            height: childrenRect.height
        }
    }

    Line {
        label: "Show app names"

        CBSwitch {
            label: "Show app names"
            tip: "Names under the app icons in this group's popup"
            on: overrides.editor.showsTitles
            onToggled: on => overrides.editor.showsTitles = on
        }
    }

    Line {
        label: "Columns"

        MenuPicker {
            label: "Columns"
            tip: "Popup width for this group; Auto keeps the standard panel size"
            choices: overrides.editor.columnChoices
            current: overrides.editor.columns
            onChosen: index => overrides.editor.columns = index
        }
    }

    Line {
        label: "Rows"

        MenuPicker {
            label: "Rows"
            tip: "Rows before this group's popup scrolls (needs a fixed column count)"
            choices: overrides.editor.rowChoices
            current: overrides.editor.maxRows
            onChosen: index => overrides.editor.maxRows = index
        }
    }

    Line {
        label: "Position"

        MenuPicker {
            label: "Position"
            tip: "Where this group's popup opens when its Dock icon is clicked"
            choices: ["Global", "Dock Center", "Above Icon"]
            current: overrides.editor.position
            onChosen: index => overrides.editor.position = index
        }
    }

    CBText {
        x: 16
        text: "“Global” follows Settings → Popup."
        color: CBTheme.text2
        font.pixelSize: 11
    }
}
