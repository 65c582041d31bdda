import QtQuick
import Cobblet.Controls

// A row of a section: a label with a line of help under it, and the control at the trailing end.
Item {
    id: row

    property string label
    property string help
    // Why what was chosen here could not be kept.
    property string failure
    property int indent: 14
    default property alias control: slot.data
    // Lit for a moment, for one who was led here.
    property bool lit: false

    width: parent ? parent.width : 0
    height: Math.max(44, texts.height + 20, slot.height + 16)

    onLitChanged: {
        if (lit)
            fade.restart();
    }

    Rectangle {
        id: light
        anchors.fill: parent
        anchors.margins: 1
        radius: 9
        color: CBTheme.accent
        opacity: 0

        SequentialAnimation {
            id: fade
            onFinished: row.lit = false
            NumberAnimation {
                target: light
                property: "opacity"
                to: 0.22
                duration: Units.hover
            }
            PauseAnimation {
                duration: 900
            }
            NumberAnimation {
                target: light
                property: "opacity"
                to: 0
                duration: 400
            }
        }
    }

    // Between this row and the one above it.
    Rectangle {
        x: row.indent
        visible: row.y > 0
        width: row.width - x - 1
        height: Math.max(0.5, 1 / Screen.devicePixelRatio)
        color: CBTheme.hairline
    }

    Column {
        id: texts
        x: row.indent
        y: Math.round((row.height - height) / 2)
        width: row.width - x - slot.width - 14 - (slot.width > 0 ? 16 : 0)
        spacing: 2

        CBText {
            width: parent.width
            visible: text
            text: row.label
            wrapMode: Text.WordWrap
            maximumLineCount: 3
        }

        CBText {
            width: parent.width
            visible: text
            text: row.help
            color: CBTheme.text2
            wrapMode: Text.WordWrap
            maximumLineCount: 8
            font.pixelSize: 11
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        CBText {
            width: parent.width
            visible: text
            text: row.failure
            color: CBTheme.failure
            wrapMode: Text.WordWrap
            maximumLineCount: 8
            font.pixelSize: 11
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }

    Item {
        id: slot
        x: row.width - width - 14
        y: Math.round((row.height - height) / 2)
        width: childrenRect.width
        height: childrenRect.height
    }
}
