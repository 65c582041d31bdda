import QtQuick
import Cobblet.Controls

// One line of text as it stands: names from outside are never read as markup.
Text {
    textFormat: Text.PlainText
    elide: Text.ElideRight
    maximumLineCount: 1
    horizontalAlignment: Text.AlignLeft
    verticalAlignment: Text.AlignVCenter
    color: CBTheme.text
    font.pixelSize: 13
}
