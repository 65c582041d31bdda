import Cobblet.Controls

// The right column before the first group.
Placeholder {
    symbol: "tray"
    headline: "No groups yet"
    caption: "Open Settings to add groups and apps."
    captionColor: CBTheme.text2
}
