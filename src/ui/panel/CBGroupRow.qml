import QtQuick
import Cobblet.Panel

// One tab of the sidebar: a group, or Most Used.
Pressable {
    id: row

    required property int index
    required property string name
    required property string emoji
    required property string hint
    required property bool isMostUsed
    required property bool selected

    readonly property int fullWidth: Units.sidebarExpanded - 16
    readonly property int smallWidth: Units.sidebarCollapsed - 16
    readonly property real expansion: (width - smallWidth) / (fullWidth - smallWidth)

    height: Units.rowHeight
    corner: Units.rowRadius
    fills: !selected
    label: name
    tip: name
    Accessible.role: Accessible.PageTab
    Accessible.selected: selected
    onTriggered: Panel.selectRow(index)
    onMenuRequested: position => Panel.showGroupMenu(index, position)

    Text {
        x: Math.round((row.width - 22) / 2 * (1 - row.expansion) + 10 * row.expansion)
        width: 22
        height: row.height
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        textFormat: Text.PlainText
        maximumLineCount: 1
        elide: Text.ElideRight
        color: CBTheme.text
        text: row.emoji
        font: Units.emojiFont
    }

    CBText {
        x: 40 - 8 * (1 - row.expansion)
        width: row.fullWidth - 40 - (row.hint ? hintText.implicitWidth + 18 : 10)
        height: row.height
        verticalAlignment: Text.AlignVCenter
        visible: row.expansion > 0
        opacity: row.expansion
        text: row.name
        font.weight: row.selected ? Font.DemiBold : Font.Normal
    }

    CBText {
        id: hintText
        x: row.fullWidth - implicitWidth - 10 - 8 * (1 - row.expansion)
        height: row.height
        verticalAlignment: Text.AlignVCenter
        visible: row.expansion > 0 && row.hint
        opacity: row.expansion
        text: row.hint
        color: CBTheme.kbd
        font.pixelSize: 12
        font.family: Units.fixedFont
    }
}
