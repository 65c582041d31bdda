import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// A group in the sidebar of the settings.
Pressable {
    id: row

    required property int index
    required property string name
    required property string emoji
    required property int apps
    required property bool isPinned
    required property bool hasDraft
    property bool isSelected: false

    height: 31
    corner: 8
    label: name
    fill: Qt.alpha(CBTheme.text, 0.08)
    fills: !isSelected
    Accessible.role: Accessible.ListItem
    Accessible.onPressAction: triggered()
    Accessible.description: apps + (apps === 1 ? " app" : " apps")
    onTriggered: Settings.selectGroup(index)
    onMenuRequested: position => Settings.showGroupMenu(index, position)

    Rectangle {
        anchors.fill: parent
        visible: row.isSelected
        radius: 8
        color: row.fill
    }

    CBText {
        x: 6
        width: 22
        height: row.height
        horizontalAlignment: Text.AlignHCenter
        text: row.emoji
        font: Units.emojiFont
    }

    CBText {
        x: 34
        width: count.x - x - 8
        height: row.height
        text: row.name
    }

    CBText {
        id: count
        x: row.width - width - 8
        height: row.height
        text: row.apps
        color: CBTheme.text2
        font.pixelSize: 12
    }
}
