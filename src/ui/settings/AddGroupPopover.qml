import Cobblet.Controls
import Cobblet.Settings

// The sheet that "Add Group" opens. Loaded when it is needed, as every popover is.
AddGroupSheet {
    onAdd: (name, emoji) => Settings.addGroup(name, emoji)
}
