import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The sidebar's title with the buttons that make a group and collapse the sidebar; collapsed, one above the other.
Item {
    id: header

    required property real expansion
    required property int groupCount

    height: 44 + (1 - expansion) * toggle.height

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

    // Fades over from one place to the other.
    SymbolButton {
        readonly property bool isBeside: header.expansion > 0.5

        x: isBeside ? toggle.x - width : toggle.x
        y: isBeside ? toggle.y : toggle.y + toggle.height
        opacity: Math.abs(2 * header.expansion - 1)
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
