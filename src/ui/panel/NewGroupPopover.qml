import Cobblet.Controls
import Cobblet.Panel

// The sheet that the sidebar's header opens. Loaded when it is needed, as every popover is.
AddGroupSheet {
    onAdd: (name, emoji) => Panel.createGroup(name, emoji)
}
