import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The whole content of the settings window.
FocusScope {
    id: root

    focus: true

    SettingsSidebar {
        id: sidebar
        width: 220
        height: root.height
        focus: true
    }

    Rectangle {
        x: sidebar.width
        width: Math.max(0.5, 1 / Screen.devicePixelRatio)
        height: root.height
        color: CBTheme.hairline
    }

    Rectangle {
        id: gone
        x: sidebar.width + 1
        width: root.width - x
        height: visible ? goneText.implicitHeight + 16 : 0
        visible: Settings.goneNotice
        color: Qt.alpha(CBTheme.accent, 0.14)

        CBText {
            id: goneText
            x: 20
            y: 8
            width: gone.width - 40
            text: Settings.goneNotice
            wrapMode: Text.WordWrap
            maximumLineCount: 3
            font.pixelSize: 12
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }

    Loader {
        x: gone.x
        y: gone.height
        width: root.width - x
        height: root.height - y
        source: Settings.pageSource
    }
}
