import Cobblet.Controls
import Cobblet.Settings

// The applications to add to the draft on show.
AppChooserPopover {
    id: sheet

    apps: Settings.editor.makeChooser(sheet)
}
