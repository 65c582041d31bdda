import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// A group in the sidebar of the settings. It can be dragged to another place in its list.
Pressable {
    id: row

    required property int index
    required property string name
    required property string emoji
    required property int apps
    required property bool isPinned
    required property bool hasDraft
    readonly property bool isSelected: Settings.groupRow === index
    // It follows the pointer, and then is at this place of the list's content.
    property bool isDragged: false
    property real draggedY: 0
    // Where it was pressed; below 0 while a press is not to become a drag.
    property real grip: -1

    signal dragBegun
    // To a point of the row as it lies in the list.
    signal dragMoved(y: real)
    signal dragEnded(keep: bool)

    height: Units.rowHeight
    z: isDragged ? 2 : 1
    corner: 8
    label: name
    fill: Qt.alpha(CBTheme.text, 0.08)
    fills: !isSelected
    Accessible.role: Accessible.ListItem
    Accessible.description: apps + (apps === 1 ? " app" : " apps") + (hasDraft ? ", changes not applied" : "")
    Accessible.selected: isSelected
    Accessible.onPressAction: triggered()
    onTriggered: Settings.selectGroup(index)
    onMenuRequested: position => Settings.showGroupMenu(index, position)

    onPressed: mouse => {
        grip = mouse.button === Qt.LeftButton ? mouse.y : -1;
        clicks = true;
    }
    onPositionChanged: mouse => {
        if (grip < 0 || !pressed)
            return;
        if (!isDragged && Math.abs(mouse.y - grip) < Application.styleHints.startDragDistance)
            return;
        if (!isDragged)
            dragBegun();
        clicks = false;
        dragMoved(mouse.y);
    }
    onReleased: dragEnded(true)
    onCanceled: dragEnded(false)

    transform: Translate {
        y: row.isDragged ? row.draggedY - row.y : 0
    }

    Rectangle {
        anchors.fill: parent
        visible: row.isSelected || row.isDragged
        radius: 8
        color: row.isDragged ? CBTheme.popoverBG : row.fill
        border.width: row.isDragged ? 1 : 0
        border.color: CBTheme.border
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
        width: (dot.visible ? dot.x : count.x) - x - 8
        height: row.height
        text: row.name
    }

    Rectangle {
        id: dot
        x: count.x - width - 6
        anchors.verticalCenter: parent.verticalCenter
        visible: row.hasDraft
        width: 6
        height: 6
        radius: 3
        color: CBTheme.accent
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
