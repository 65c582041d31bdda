import QtQuick
import Cobblet.Controls

// Rows that belong together, in a box with a heading above and a footer below.
Column {
    id: section

    property string heading
    property string footer
    default property alias rows: box.data

    width: parent ? parent.width : 0
    spacing: 7

    CBText {
        visible: section.heading
        x: 14
        text: section.heading
        color: CBTheme.text2
        font.pixelSize: 12
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Rectangle {
        width: section.width
        height: box.height
        radius: 10
        color: CBTheme.sectionBG
        border.width: 1
        border.color: CBTheme.hairline

        Column {
            id: box
            width: parent.width
        }
    }

    CBText {
        visible: section.footer
        x: 14
        width: section.width - 28
        text: section.footer
        color: CBTheme.text2
        wrapMode: Text.WordWrap
        maximumLineCount: 6
        font.pixelSize: 11
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
