import QtQuick
import Cobblet.Controls
import Cobblet.Settings

FormPage {
    id: page

    readonly property Preferences preferences: Settings.preferences
    readonly property var columnChoices: preferences.columnChoices
    readonly property var rowChoices: preferences.rowChoices

    title: "Popup"

    function counted(choices) {
        return choices.map(count => count === 0 ? "Auto" : count.toString());
    }

    FormSection {
        heading: "Size"

        SettingRow {
            id: columns
            setting: "popupColumns"

            MenuPicker {
                label: columns.label
                choices: page.counted(page.columnChoices)
                current: page.columnChoices.indexOf(page.preferences.columns)
                onChosen: index => page.preferences.columns = page.columnChoices[index]
            }
        }

        SettingRow {
            id: rows
            setting: "popupMaxRows"

            MenuPicker {
                label: rows.label
                choices: page.counted(page.rowChoices)
                current: page.rowChoices.indexOf(page.preferences.maxRows)
                enabled: page.preferences.columns > 0
                onChosen: index => page.preferences.maxRows = page.rowChoices[index]
            }
        }
    }

    FormSection {
        heading: "Labels"

        SettingRow {
            id: titles
            setting: "popupShowsTitles"

            CBSwitch {
                label: titles.label
                on: page.preferences.showsTitles
                onToggled: on => page.preferences.showsTitles = on
            }
        }
    }

    FormSection {
        heading: "Sidebar"

        SettingRow {
            id: mostUsed
            setting: "popupShowsMostUsed"

            CBSwitch {
                label: mostUsed.label
                on: page.preferences.showsMostUsed
                onToggled: on => page.preferences.showsMostUsed = on
            }
        }
    }

    FormSection {
        heading: "Position"

        SettingRow {
            id: position
            setting: "popupAnchor"

            MenuPicker {
                label: position.label
                choices: ["Centered Over the Dock", "Above the Clicked Icon"]
                current: page.preferences.anchor === "dockIcon" ? 1 : 0
                onChosen: index => page.preferences.anchor = index === 1 ? "dockIcon" : "dockCenter"
            }
        }
    }
}
