import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The applications of a draft. They are put in order by dragging, or with Shift and the Command key and an arrow.
ListView {
    id: list

    required property GroupEditor editor
    readonly property int rowHeight: 48
    // The row that is dragged, and where its upper edge would be under the pointer; -1 for none.
    property int dragged: -1
    property real draggedY: 0
    property int draggedFrom: -1
    // Escape ended the drag: the button that is still held begins no other.
    property bool isCancelled: false
    property real grip: 0
    property real pointer: 0

    model: editor.apps
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height
    reuseItems: true
    cacheBuffer: rowHeight * 4
    activeFocusOnTab: count > 0
    keyNavigationEnabled: true
    highlightMoveDuration: 0
    Accessible.role: Accessible.List
    Accessible.name: "Apps in this group"

    function take(row: int) {
        currentIndex = row;
        forceActiveFocus(Qt.MouseFocusReason);
    }

    function moveTo(row: int) {
        currentIndex = editor.moveApp(currentIndex, row);
        positionViewAtIndex(currentIndex, ListView.Contain);
    }

    function beginDrag(row: int, at: real) {
        if (isCancelled)
            return;
        take(row);
        grip = at;
        draggedFrom = row;
        draggedY = originY + row * rowHeight;
        dragged = row;
    }

    function dragTo(y: real) {
        if (dragged < 0)
            return;
        pointer = y;
        const at = contentY + Math.max(0, Math.min(height, y)) - grip;
        draggedY = Math.max(originY, Math.min(originY + (count - 1) * rowHeight, at));
        const row = Math.max(0, Math.min(count - 1, Math.round((draggedY - originY) / rowHeight)));
        if (row !== dragged)
            dragged = editor.moveApp(dragged, row);
        currentIndex = dragged;
    }

    function cancelDrag() {
        const row = dragged;
        dragged = -1;
        isCancelled = true;
        if (row >= 0)
            currentIndex = editor.moveApp(row, draggedFrom);
    }

    // The button was released, or the pointer was taken away.
    function endDrag(wasTaken: bool) {
        if (wasTaken)
            cancelDrag();
        dragged = -1;
        isCancelled = false;
    }

    // While the pointer is held near an edge the list moves on.
    FrameAnimation {
        readonly property real reach: 36
        readonly property real push: list.pointer < reach ? list.pointer - reach : list.pointer > list.height - reach ? list.pointer - list.height + reach : 0

        running: list.dragged >= 0 && push !== 0
        onTriggered: {
            const top = list.originY - list.topMargin;
            const bottom = list.originY + list.contentHeight + list.bottomMargin - list.height;
            list.contentY = Math.max(top, Math.min(bottom, list.contentY + push * 12 * frameTime));
            list.dragTo(list.pointer);
        }
    }

    Keys.onPressed: event => {
        const page = Math.max(1, Math.floor(height / rowHeight) - 1);
        const steps = {
            [Qt.Key_PageUp]: -page,
            [Qt.Key_PageDown]: page,
            [Qt.Key_Home]: -count,
            [Qt.Key_End]: count
        };
        const moves = event.modifiers === (Qt.ControlModifier | Qt.ShiftModifier);
        event.accepted = true;
        if (event.key === Qt.Key_Escape && dragged >= 0) {
            cancelDrag();
        } else if (moves && (event.key === Qt.Key_Up || event.key === Qt.Key_Down)) {
            moveTo(currentIndex + (event.key === Qt.Key_Up ? -1 : 1));
        } else if (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace) {
            editor.removeApp(currentIndex);
        } else if (event.key in steps) {
            currentIndex = Math.max(0, Math.min(count - 1, currentIndex + steps[event.key]));
            positionViewAtIndex(currentIndex, ListView.Contain);
        } else {
            event.accepted = false;
        }
    }

    displaced: Transition {
        NumberAnimation {
            property: "y"
            duration: Units.selection
            easing.type: Easing.InOutQuad
        }
    }

    delegate: AppRow {
        width: ListView.view.width
        height: list.rowHeight
        fills: list.dragged < 0
        isCurrent: ListView.isCurrentItem && list.activeFocus && Decorations.keyboardFocus
        isDragged: list.dragged === index
        draggedY: list.draggedY
        onTriggered: list.take(index)
        onRemove: list.editor.removeApp(index)
        onDragBegan: grip => list.beginDrag(index, grip)
        onDraggedTo: y => list.dragTo(mapToItem(list, 0, y).y)
        onDragEnded: wasTaken => list.endDrag(wasTaken)
    }
}
