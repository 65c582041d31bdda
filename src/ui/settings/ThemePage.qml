import QtQuick
import Cobblet.Controls
import Cobblet.Settings

FormPage {
    id: page

    title: "Theme"

    // A choice of the panel's appearance.
    component Option: SettingRow {
        id: option

        required property string value
        required property string icon

        indent: 44

        Pressable {
            parent: option
            anchors.fill: parent
            anchors.margins: 1
            z: -1
            corner: 9
            label: option.label
            fill: Qt.alpha(CBTheme.text, 0.04)
            activeFocusOnTab: true
            Accessible.role: Accessible.RadioButton
            Accessible.checked: check.visible
            Accessible.description: option.help
            onTriggered: Settings.preferences.panelTheme = option.value
        }

        CBSymbol {
            parent: option
            x: 14
            anchors.verticalCenter: parent.verticalCenter
            width: 20
            height: 20
            name: option.icon
            fontSize: 15
            color: CBTheme.text2
        }

        CBSymbol {
            id: check
            visible: Settings.preferences.panelTheme === option.value
            width: 16
            height: 16
            name: "checkmark"
            fontSize: 13
            color: CBTheme.accent
        }
    }

    FormSection {
        heading: "Panel Appearance"
        footer: "Applies to the launcher panel only. Settings always follows your system appearance."

        Option {
            setting: "theme.system"
            value: "system"
            icon: "circle.lefthalf.filled"
        }

        Option {
            setting: "theme.light"
            value: "light"
            icon: "sun.max"
        }

        Option {
            setting: "theme.dark"
            value: "dark"
            icon: "moon"
        }
    }

    FormSection {
        heading: "Style"

        SettingRow {
            id: glassy
            setting: "glassyStyle"

            CBSwitch {
                label: glassy.label
                on: Settings.preferences.glassyStyle
                onToggled: on => Settings.preferences.glassyStyle = on
            }
        }
    }
}
