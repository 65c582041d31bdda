import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// Copies a text, and shows for a moment that it has.
SymbolButton {
    id: button

    property string text
    property bool copied: false

    width: 26
    height: 26
    symbol: copied ? "checkmark" : "doc.on.doc"
    Accessible.description: copied ? "Copied" : ""
    onTriggered: {
        Settings.copy(text);
        copied = true;
        moment.restart();
    }

    Timer {
        id: moment
        interval: 1500
        onTriggered: button.copied = false
    }
}
