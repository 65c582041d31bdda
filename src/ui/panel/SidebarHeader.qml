import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The sidebar's title with the buttons that make a group and collapse the sidebar. Collapsed there is room for
// the second one only.
Item {
    id: header

    required property real expansion
    required property int groupCount

    height: 44

    CBText {
        x: 10 - 8 * (1 - header.expansion)
        y: 4
        height: 40
        visible: header.expansion > 0
        opacity: header.expansion
        text: "Groups"
        color: CBTheme.text2
        font.pixelSize: 12
        font.weight: Font.DemiBold
        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Accessible.description: header.groupCount
    }

    SymbolButton {
        x: toggle.x - width
        y: 10
        visible: header.expansion > 0
        opacity: header.expansion
        symbol: "plus"
        tip: "New Group"
        onTriggered: Popovers.toggle(Qt.createComponent("NewGroupPopover.qml"), this)
    }

    SymbolButton {
        id: toggle
        x: Math.round(header.width - width - 8 + 2 * header.expansion)
        y: 10
        symbol: "sidebar.left"
        tip: Panel.sidebarExpanded ? "Collapse sidebar" : "Expand sidebar"
        onTriggered: Panel.sidebarExpanded = !Panel.sidebarExpanded
    }
}
