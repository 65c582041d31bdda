import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The groups, which can be dragged into another order, and below them the pages. One stop of the Tab key; the arrows walk
// all rows.
ListView {
    id: list

    // The row that follows the pointer.
    property GroupRow dragged: null
    property real grip
    property real pointerY
    // Of the first group, in the content's points.
    readonly property real firstY: originY + (headerItem ? headerItem.height : 0)
    readonly property real draggedY: Math.max(firstY, Math.min(firstY + (count - 1) * Units.rowHeight, pointerY - grip + contentY))
    readonly property SidebarFooter below: footerItem as SidebarFooter
    readonly property int pageful: Math.max(1, Math.floor(height / Units.rowHeight) - 1)

    focus: true
    activeFocusOnTab: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height && !dragged
    clip: true
    cacheBuffer: 120
    model: Settings.groups
    currentIndex: Settings.groupRow
    highlightFollowsCurrentItem: false
    Accessible.role: Accessible.List
    Accessible.name: "Groups and pages"

    // The row that the keyboard is at gets the focus within this list.
    function focusPlace() {
        if (!below)
            return; // not complete yet
        const isGroup = Settings.actionRow < 0 && Settings.groupRow >= 0;
        // Before the first layout there is no room, and every row would seem to lie outside.
        const canScroll = !dragged && height > Units.rowHeight;
        if (isGroup && canScroll)
            positionViewAtIndex(Settings.groupRow, ListView.Contain);
        const row = isGroup ? itemAtIndex(Settings.groupRow) : below.rowAt(Settings.actionRow, Settings.pageRow);
        if (!row)
            return;
        takeFocus(row);
        if (isGroup || !canScroll)
            return;
        const y = row.mapToItem(contentItem, 0, 0).y;
        contentY = Math.max(Math.min(contentY, y), y + row.height + 4 - height);
    }

    // Apart, with a row of any type: the script compiler of Qt 6.4 crashes over this line above.
    function takeFocus(row) {
        row.focus = true;
    }

    function beginDrag(row, at) {
        forceActiveFocus(); // for Escape
        grip = at;
        pointerY = row.y + at - contentY; // where it is: what was left of the last drag would move the row at once
        dragged = row;
        Settings.beginDrag(row.index);
    }

    function dragTo(y) {
        if (!dragged)
            return;
        pointerY = y;
        Settings.dragTo(Math.floor((draggedY - firstY) / Units.rowHeight + 0.5));
    }

    function endDrag(keep) {
        if (!dragged)
            return;
        dragged.grip = -1;
        dragged = null;
        Settings.endDrag(keep);
    }

    onHeightChanged: focusPlace()
    onBelowChanged: focusPlace()

    Keys.onUpPressed: event => event.modifiers & Qt.ShiftModifier ? arrange(event, -1) : Settings.step(-1)
    Keys.onDownPressed: event => event.modifiers & Qt.ShiftModifier ? arrange(event, 1) : Settings.step(1)
    Keys.onEscapePressed: event => {
        event.accepted = dragged !== null;
        endDrag(false);
    }
    Keys.onDeletePressed: remove()
    Keys.onPressed: event => {
        event.accepted = true;
        if (event.key === Qt.Key_PageUp)
            Settings.step(-pageful);
        else if (event.key === Qt.Key_PageDown)
            Settings.step(pageful);
        else if (event.key === Qt.Key_Home)
            Settings.step(-1e6);
        else if (event.key === Qt.Key_End)
            Settings.step(1e6);
        else if (event.key === Qt.Key_Backspace && event.modifiers & Qt.ControlModifier)
            remove();
        else if (event.matches(StandardKey.Undo) && Settings.deleted.notice)
            Settings.deleted.undo();
        else
            event.accepted = false;
    }

    function arrange(event, by) {
        event.accepted = event.modifiers & Qt.ControlModifier && Settings.actionRow < 0;
        if (event.accepted && !dragged)
            Settings.moveGroup(by);
    }

    function remove() {
        if (Settings.actionRow < 0 && !dragged)
            Settings.deleteGroup(Settings.groupRow);
    }

    Connections {
        target: Settings
        function onPlaceChanged() {
            list.focusPlace();
        }
        function onDragCancelled() {
            list.endDrag(false);
        }
        function onRowRequested() {
            list.forceActiveFocus();
        }
    }

    // At the edges a drag scrolls, in points a second.
    FrameAnimation {
        readonly property real speed: list.pointerY < 28 ? -360 : list.pointerY > list.height - 28 ? 360 : 0

        running: list.dragged !== null && speed !== 0
        onTriggered: {
            const lowest = Math.max(list.originY, list.firstY + list.count * Units.rowHeight - list.height);
            const to = Math.max(list.originY, Math.min(lowest, list.contentY + speed * frameTime));
            if (speed < 0 ? to < list.contentY : to > list.contentY)
                list.contentY = to;
            list.dragTo(list.pointerY);
        }
    }

    displaced: Transition {
        NumberAnimation {
            property: "y"
            duration: Units.selection
            easing.type: Easing.OutQuad
        }
    }
    move: displaced

    header: Item {
        width: list.width
        height: 24

        CBText {
            x: 8
            text: "Groups"
            color: CBTheme.text2
            font.pixelSize: 11
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }
    }

    delegate: GroupRow {
        id: row
        width: ListView.view.width
        isDragged: list.dragged === row
        draggedY: list.draggedY
        onTriggered: list.forceActiveFocus()
        onDragBegun: list.beginDrag(row, grip)
        onDragMoved: y => list.dragTo(mapToItem(list, 0, y).y)
        onDragEnded: keep => list.endDrag(keep)
    }

    footer: SidebarFooter {
        width: list.width
        onPageTaken: list.forceActiveFocus()
    }
}
