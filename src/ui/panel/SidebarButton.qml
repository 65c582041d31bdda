import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// A row of the sidebar: a picture 22 points wide, and where the sidebar is expanded a text and a keyboard hint.
Pressable {
    id: row

    property string emoji
    property string hint
    property bool isSelected: false
    property alias textColor: labelText.color
    property alias hintColor: hintText.color
    property alias hintFamily: hintText.font.family

    readonly property int fullWidth: PanelMetrics.expandedWidth - 16
    readonly property int smallWidth: PanelMetrics.collapsedWidth - 16
    readonly property real expansion: (width - smallWidth) / (fullWidth - smallWidth)
    readonly property real pictureX: (width - 22) / 2 * (1 - expansion) + 10 * expansion

    height: Units.rowHeight
    corner: Units.rowRadius
    fills: !isSelected

    CBText {
        x: Math.round(row.pictureX)
        width: 22
        height: row.height
        horizontalAlignment: Text.AlignHCenter
        text: row.emoji
        font: Units.emojiFont
    }

    CBText {
        id: labelText
        x: 40 - 8 * (1 - row.expansion)
        width: row.fullWidth - 40 - (row.hint ? hintText.implicitWidth + 18 : 10)
        height: row.height
        visible: row.expansion > 0
        opacity: row.expansion
        text: row.label
        font.weight: row.isSelected ? Font.DemiBold : Font.Normal
    }

    CBText {
        id: hintText
        x: row.fullWidth - implicitWidth - 10 - 8 * (1 - row.expansion)
        height: row.height
        visible: row.expansion > 0 && row.hint
        opacity: row.expansion
        text: row.hint
        color: CBTheme.kbd
        font.pixelSize: 12
    }
}
