import QtQuick
import Cobblet.Controls
import Cobblet.Settings

FormPage {
    title: "Keyboard Shortcuts"

    FormSection {
        visible: Settings.shortcuts.notice

        FormRow {
            help: Settings.shortcuts.notice
        }
    }

    FormSection {
        footer: Settings.shortcuts.notice ? "" : "⌥ is the Alt key and ⇧ the Shift key. Hold both and press the digit, whatever app you are in."

        Repeater {
            model: Settings.shortcuts

            ShortcutRow {}
        }
    }
}
