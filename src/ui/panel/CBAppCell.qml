import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// One application of the grid.
Pressable {
    id: cell

    required property int index
    required property string name
    required property int count
    required property bool isInstalled
    required property bool isRunning
    required property var tile
    required property bool showsTitle

    corner: 8
    label: name
    springs: picture
    opacity: isInstalled ? 1 : 0.35
    Accessible.description: !isInstalled ? "Not installed" : isRunning ? "Running" : ""
    onTriggered: Panel.activateCell(index)
    onMenuRequested: position => Panel.showCellMenu(index, position)

    CBAppIconTile {
        id: picture
        x: Math.round((cell.width - width) / 2)
        y: 8
        width: PanelMetrics.iconSide
        height: PanelMetrics.iconSide
        image: cell.tile
    }

    Rectangle {
        x: picture.x + 21.5
        y: 60
        width: 5
        height: 5
        radius: 2.5
        visible: cell.isRunning
        color: CBTheme.text2
    }

    CBText {
        x: 6
        y: 68
        width: cell.width - 12
        visible: cell.showsTitle
        horizontalAlignment: Text.AlignHCenter
        text: cell.name
        font: Units.titleFont
    }

    CBText {
        x: 6
        y: cell.showsTitle ? 83 : 66
        width: cell.width - 12
        visible: cell.count >= 0
        horizontalAlignment: Text.AlignHCenter
        text: cell.count
        color: CBTheme.text3
        font.pixelSize: 10
    }
}
