import QtQuick
import Cobblet.Panel

// The tab of the applications that are launched most.
SidebarButton {
    label: "Most Used"
    tip: label
    emoji: "⭐️"
    Accessible.role: Accessible.PageTab
    Accessible.selected: isSelected
    Accessible.onPressAction: triggered()
    onTriggered: Panel.selectRow(-1)
}
