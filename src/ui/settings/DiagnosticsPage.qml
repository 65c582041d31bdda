import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// What this desktop permits, and what each running application was taken for.
FormPage {
    id: page

    readonly property DiagnosticsModel diagnostics: Settings.diagnostics
    property int correctedRow: -1

    title: "Diagnostics"
    Component.onCompleted: diagnostics.refresh()

    // Of the page: a row may go while its list is open.
    readonly property Component chooser: Component {
        AppChooserPopover {
            id: sheet
            title: "Choose the App"
            apps: page.diagnostics.makeChooser(page.correctedRow, sheet)
        }
    }

    FormSection {
        SettingRow {
            setting: "report"
            help: page.diagnostics.isCopied ? "It is on the clipboard." : entry.help

            SheetButton {
                label: "Copy Report"
                onTriggered: page.diagnostics.copyReport()
            }
        }
    }

    FormSection {
        heading: "This Desktop"

        Repeater {
            model: page.diagnostics.services

            delegate: FormRow {
                id: service

                required property string title
                required property string sentence
                required property int level

                label: title
                help: sentence
                Accessible.role: Accessible.ListItem
                Accessible.name: title + ": " + ["works", "works partly", "does not work"][level]
                Accessible.description: sentence

                CBSymbol {
                    name: ["checkmark", "exclamationmark.octagon", "xmark.circle"][service.level]
                    fontSize: 15
                    color: ["#30a14e", "#d98200", "#d64541"][service.level]
                }
            }
        }
    }

    FormSection {
        heading: "Running Applications"
        footer: page.diagnostics.failure

        Repeater {
            model: page.diagnostics.applications
            delegate: DiagnosticsAppRow {
                id: application

                onCorrectionWanted: anchor => {
                    page.correctedRow = application.index;
                    Popovers.toggle(page.chooser, anchor);
                }
            }
        }
    }

    FormSection {
        visible: corrections.count > 0
        heading: "Corrections"
        footer: "They count in Cobblet and in the applications of its groups."

        Repeater {
            id: corrections
            model: page.diagnostics.corrections

            delegate: FormRow {
                id: correction

                required property int index
                required property string title
                required property string sentence

                label: title
                help: sentence
                Accessible.role: Accessible.ListItem
                Accessible.name: title
                Accessible.description: sentence

                SheetButton {
                    label: "Remove"
                    Accessible.name: "Remove the correction to " + correction.title
                    onTriggered: page.diagnostics.removeCorrection(correction.index)
                }
            }
        }
    }
}
