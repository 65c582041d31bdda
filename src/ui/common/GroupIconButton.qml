import Cobblet.Controls

// The emoji of a group, to be changed where its icon is one.
EmojiPickerButton {
    property bool isGrid: false

    usable: !isGrid
    tip: usable ? "Change the emoji" : "Switch the Dock icon to Emoji to change the emoji"
}
