import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The field that searches, and below it the groups and pages, or what was found.
FocusScope {
    id: sidebar

    Rectangle {
        anchors.fill: parent
        color: CBTheme.panelBG
    }

    SearchField {
        id: search
        x: 10
        y: 12
        width: sidebar.width - 20
        onEscaped: list.forceActiveFocus()
    }

    GroupList {
        id: list
        x: 10
        y: 54
        width: sidebar.width - 20
        height: undo.y - y
        visible: !results.active
    }

    ScrollIndicator {
        anchors.right: parent.right
        y: list.y
        height: list.height
        flickable: list
        visible: list.visible && ratio > 0 && ratio < 1
    }

    Loader {
        id: results
        x: list.x
        y: list.y - 6
        width: list.width
        height: undo.y - y
        active: Settings.query.trim()
        sourceComponent: SearchResults {
            current: search.current
        }
    }

    UndoLine {
        id: undo
        y: sidebar.height - height
        width: sidebar.width
    }
}
