import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The tab of a group.
SidebarButton {
    required property int index
    required property string name
    required property int shortcutDigit // 0: none
    required emoji

    label: name
    tip: name
    hint: shortcutDigit > 0 ? "⌘" + shortcutDigit : ""
    hintFamily: Units.fixedFont
    Accessible.role: Accessible.PageTab
    Accessible.selected: isSelected
    Accessible.onPressAction: triggered()
    onTriggered: Panel.selectRow(index)
    onMenuRequested: position => Panel.showGroupMenu(index, position)
}
