import Cobblet.Controls
import Cobblet.Panel

// The applications to add to the group on show.
AppChooserPopover {
    id: sheet

    apps: Panel.makeChooser(sheet)
}
