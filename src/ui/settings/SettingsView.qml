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

    Loader {
        x: sidebar.width + 1
        width: root.width - x
        height: root.height
        source: Settings.pageSource
    }
}
