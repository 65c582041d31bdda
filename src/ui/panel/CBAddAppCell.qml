import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The cell after the applications, which adds some.
Pressable {
    id: cell

    required property bool showsTitle

    corner: 8
    label: "Add Apps"
    springs: picture
    onTriggered: Popovers.toggle(Qt.createComponent("AddAppsPopover.qml"), cell)

    CBAppIconTile {
        id: picture
        x: Math.round((cell.width - width) / 2)
        y: 8
        width: PanelMetrics.iconSide
        height: PanelMetrics.iconSide
        image: Panel.addTile
    }

    CBText {
        x: 6
        y: 68
        width: cell.width - 12
        visible: cell.showsTitle
        horizontalAlignment: Text.AlignHCenter
        text: "Add"
        font: Units.titleFont
    }
}
