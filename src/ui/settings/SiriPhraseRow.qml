import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// A phrase with the word Group where a group's name is said, and a button that copies it.
Item {
    id: row

    required property string verb
    readonly property string phrase: Settings.siri.phrase(verb)
    readonly property bool hovered: hover.hovered
    readonly property bool copied: copy.copied

    width: parent ? parent.width : 0
    height: 30
    Accessible.role: Accessible.StaticText
    Accessible.name: phrase

    HoverHandler {
        id: hover
    }

    Row {
        x: 44
        height: parent.height

        CBText {
            height: parent.height
            text: row.verb + " "
            Accessible.ignored: true
        }

        CBText {
            height: parent.height
            text: "Group"
            color: CBTheme.accent
            font.weight: Font.DemiBold
            Accessible.ignored: true
        }

        CBText {
            height: parent.height
            text: row.phrase.slice(row.verb.length + 6)
            Accessible.ignored: true
        }
    }

    CopyButton {
        id: copy
        x: row.width - width - 11
        y: 2
        text: row.phrase
        tip: "Copy phrase"
        label: "Copy “" + row.phrase + "”"
        opacity: row.hovered || copied || ringed ? 1 : 0.55
    }
}
