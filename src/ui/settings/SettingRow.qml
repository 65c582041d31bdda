import Cobblet.Controls
import Cobblet.Settings

// The row of a setting of the catalogue, which has its texts.
FormRow {
    required property string setting
    readonly property var entry: Settings.setting(setting)

    label: entry.label
    failure: Settings.preferences.failedSetting === setting ? Settings.preferences.failure : ""
    help: entry.help
}
