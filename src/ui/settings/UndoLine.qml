import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// Says which group was deleted, and brings it back.
Item {
    id: line

    height: visible ? 38 : 0
    visible: Settings.deleted.notice

    Rectangle {
        width: line.width
        height: Math.max(0.5, 1 / Screen.devicePixelRatio)
        color: CBTheme.hairline
    }

    CBText {
        x: 18
        width: undo.x - x - 8
        height: line.height
        text: Settings.deleted.notice
        elide: Text.ElideMiddle
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }

    Pressable {
        id: undo
        x: line.width - width - 10
        anchors.verticalCenter: parent.verticalCenter
        width: caption.implicitWidth + 16
        height: 26
        label: "Undo"
        activeFocusOnTab: true
        onTriggered: Settings.deleted.undo()

        CBText {
            id: caption
            anchors.centerIn: parent
            text: undo.label
            color: CBTheme.accent
            font.weight: Font.DemiBold
        }
    }
}
