import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// A digit, and the group that its key combination shows.
SettingRow {
    id: row

    required property int digit
    required property int choice
    required property string trigger
    required property string warning
    required property string command

    setting: "shortcut." + digit
    help: trigger ? "Your desktop has bound it to: " + trigger : entry.help

    Row {
        spacing: 6

        Pressable {
            visible: row.warning
            width: 26
            height: 26
            fills: false
            label: row.warning
            tip: row.warning
            activeFocusOnTab: true
            Accessible.role: Accessible.Graphic
            onRingedChanged: {
                if (ringed)
                    Decorations.expectTip(this, tip);
                else
                    Decorations.closeTip();
            }

            CBSymbol {
                anchors.centerIn: parent
                name: "exclamationmark.triangle.fill"
                fontSize: 13
                color: CBTheme.warning
            }
        }

        CopyButton {
            visible: row.command
            text: row.command
            tip: "Copy “" + row.command + "”"
        }

        MenuPicker {
            label: row.label
            choices: Settings.shortcuts.choices
            current: row.choice
            onChosen: index => Settings.shortcuts.assign(row.digit, index)
        }
    }
}
