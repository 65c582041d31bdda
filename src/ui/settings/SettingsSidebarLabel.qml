import QtQuick
import Cobblet.Controls

// A row of the sidebar: a symbol and a title.
Pressable {
    id: row

    required property string title
    required property string systemImage
    property bool isSelected: false

    height: Units.rowHeight
    corner: 8
    label: title
    fill: Qt.alpha(CBTheme.text, 0.08)
    fills: !isSelected

    Rectangle {
        anchors.fill: parent
        visible: row.isSelected
        radius: 8
        color: row.fill
    }

    CBSymbol {
        x: 8
        anchors.verticalCenter: parent.verticalCenter
        width: 18
        height: 18
        name: row.systemImage
        fontSize: 13
        color: CBTheme.text2
    }

    CBText {
        x: 34
        width: row.width - x - 8
        height: row.height
        text: row.title
    }
}
