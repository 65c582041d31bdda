import QtQuick
import Cobblet.Controls

// An application of the group. It can be dragged to another place in its list.
Pressable {
    id: row

    required property int index
    required property string name
    required property string bundleID
    required property bool isInstalled
    property bool isCurrent: false
    property bool isDragged: false
    // Where it is while it is dragged.
    property real draggedY: 0
    // Where it was pressed, in its own points; below 0 while it isn't.
    property real grip: -1

    signal remove
    signal dragBegan(grip: real)
    // To here in its own points.
    signal draggedTo(y: real)
    signal dragEnded(wasTaken: bool)

    height: 48
    z: isDragged ? 2 : 1
    corner: 8
    label: name
    fill: Qt.alpha(CBTheme.text, 0.05)
    Keys.enabled: false // the list has its own
    Accessible.role: Accessible.ListItem
    Accessible.description: isInstalled ? bundleID : bundleID + ", not installed"
    Accessible.focusable: false

    onPressed: mouse => grip = mouse.button === Qt.LeftButton ? mouse.y : -1
    onPositionChanged: mouse => {
        if (!pressed || grip < 0)
            return;
        if (!isDragged && Math.abs(mouse.y - grip) < Application.styleHints.startDragDistance)
            return;
        if (!isDragged)
            dragBegan(grip);
        draggedTo(mouse.y);
    }
    onReleased: dragEnded(false)
    onCanceled: dragEnded(true)

    transform: Translate {
        y: row.isDragged ? row.draggedY - row.y : 0
    }

    Rectangle {
        anchors.fill: parent
        visible: row.isDragged || row.isCurrent
        radius: row.corner
        color: row.isDragged ? CBTheme.popoverBG : Qt.alpha(CBTheme.accent, 0.16)
        border.width: row.isDragged ? 1 : 0
        border.color: CBTheme.border
    }

    AppIconThumbnail {
        x: 6
        y: 4
        width: 40
        height: 40
        bundleID: row.bundleID
        opacity: row.isInstalled ? 1 : 0.5
    }

    CBText {
        x: 54
        y: 7
        width: (mark.visible ? mark.x : button.x) - x - 8
        height: 18
        text: row.name
        color: row.isInstalled ? CBTheme.text : CBTheme.text2
    }

    CBText {
        x: 54
        y: 25
        width: (mark.visible ? mark.x : button.x) - x - 8
        height: 15
        text: row.bundleID
        elide: Text.ElideMiddle
        color: CBTheme.text2
        font.pixelSize: 11
    }

    CBText {
        id: mark
        x: button.x - width - 6
        height: row.height
        visible: !row.isInstalled
        text: "Not installed"
        color: CBTheme.text2
        font.pixelSize: 11
    }

    SymbolButton {
        id: button
        x: row.width - width - 6
        y: Math.round((row.height - height) / 2)
        symbol: "minus.circle.fill"
        tip: "Remove from group"
        label: "Remove " + row.name
        activeFocusOnTab: false // the list removes with Delete
        onTriggered: row.remove()
    }
}
