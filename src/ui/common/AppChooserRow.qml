import QtQuick
import Cobblet.Controls

// One application of the list to choose from.
Pressable {
    id: row

    required property int index
    required property string name
    required property string bundleID
    required property bool isChosen
    property bool isCurrent: false

    height: 34
    corner: 6
    fills: !isCurrent
    label: name
    Keys.enabled: false // the list has its own
    Accessible.role: Accessible.ListItem
    Accessible.focusable: false
    Accessible.selectable: true
    Accessible.selected: isChosen
    Accessible.onPressAction: triggered()

    Rectangle {
        anchors.fill: parent
        radius: row.corner
        visible: row.isCurrent
        color: CBTheme.toolHover
    }

    Image {
        x: 10
        y: 5
        sourceSize.width: 24
        sourceSize.height: 24
        asynchronous: true
        cache: false
        source: "image://applications/" + encodeURIComponent(row.bundleID)
    }

    CBText {
        x: 44
        width: mark.x - x - 8
        height: row.height
        text: row.name
    }

    CBSymbol {
        id: mark
        x: row.width - width - 12
        y: Math.round((row.height - height) / 2)
        visible: row.isChosen
        name: "checkmark"
        fontSize: 13
        color: CBTheme.accent
    }
}
