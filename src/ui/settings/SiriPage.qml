import QtQuick
import Cobblet.Controls
import Cobblet.Settings

FormPage {
    id: page

    readonly property SiriCommands siri: Settings.siri

    title: "Siri"

    Item {
        width: parent.width
        height: Math.max(44, intro.y + intro.height)

        CBSymbol {
            id: wave
            x: 14
            width: 34
            height: 34
            name: "waveform.circle.fill"
            fontSize: 34
            color: CBTheme.accent
        }

        CBText {
            id: heading
            x: 60
            height: 34
            text: "Control groups with your voice"
            font.pixelSize: 14
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Rectangle {
            x: heading.x + heading.width + 10
            y: 9
            width: badge.implicitWidth + 12
            height: 17
            radius: 5
            color: Qt.alpha(CBTheme.accent, 0.16)

            CBText {
                id: badge
                anchors.centerIn: parent
                text: "EXPERIMENTAL"
                color: CBTheme.accent
                font.pixelSize: 9
                font.weight: Font.DemiBold
            }
        }

        CBText {
            id: intro
            x: 60
            y: 36
            width: parent.width - x - 14
            text: "Say “Hey Siri”, then any phrase below. “Group” stands for any of your group names — Siri learns them automatically, including after renames. Phrase recognition can vary with macOS version and Siri settings."
            color: CBTheme.text2
            wrapMode: Text.WordWrap
            maximumLineCount: 8
            font.pixelSize: 12
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    Repeater {
        model: page.siri.commands

        FormSection {
            id: block

            required property int index
            required property var modelData

            FormRow {
                id: command
                indent: 44
                label: block.modelData.title
                help: block.modelData.detail

                CBSymbol {
                    parent: command
                    x: 14
                    anchors.verticalCenter: parent.verticalCenter
                    width: 20
                    height: 20
                    name: block.modelData.icon
                    fontSize: 16
                    color: block.modelData.tint
                }
            }

            Repeater {
                model: block.modelData.verbs

                SiriPhraseRow {
                    required property string modelData
                    verb: modelData
                }
            }

            Item {
                width: 1
                height: 7
            }
        }
    }

    FormSection {
        footer: "These actions also appear in Spotlight and the Shortcuts app, where you can wrap them in your own shortcut with any trigger phrase."

        SettingRow {
            setting: "siri.say"

            CopyButton {
                text: page.siri.example
                tip: "Copy command"
            }
        }
    }

    SheetButton {
        visible: page.siri.opensShortcuts
        label: "Open Shortcuts"
        onTriggered: page.siri.openShortcuts()
    }

    CBText {
        width: parent.width
        visible: text
        text: page.siri.failure
        color: CBTheme.failure
        wrapMode: Text.WordWrap
        maximumLineCount: 4
        font.pixelSize: 11
    }
}
