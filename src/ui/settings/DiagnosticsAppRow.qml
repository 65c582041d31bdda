import QtQuick
import Cobblet.Controls

// A running application, why it counts as that one, and the way to say that it is another.
FormRow {
    id: row

    required property int index
    required property string title
    required property string sentence
    required property string bundleID
    required property bool isCorrectable

    signal correctionWanted(anchor: Item)

    indent: 50
    label: title
    help: sentence
    Accessible.role: Accessible.ListItem
    Accessible.name: title
    Accessible.description: sentence

    Image {
        parent: row
        x: 14
        y: Math.round((row.height - height) / 2)
        sourceSize.width: 24
        sourceSize.height: 24
        asynchronous: true
        cache: false
        source: "image://applications/" + encodeURIComponent(row.bundleID)
    }

    SymbolButton {
        id: button
        visible: row.isCorrectable
        symbol: "pencil"
        tip: "This is another application…"
        Accessible.name: row.title + ": " + tip
        onTriggered: row.correctionWanted(button)
    }
}
