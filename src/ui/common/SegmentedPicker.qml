import QtQuick
import Cobblet.Controls

// Offers a few choices side by side. The owner sets `current` when `chosen` asks for it.
Rectangle {
    id: picker

    property var choices: []
    property int current: -1
    property string label
    property string tip
    signal chosen(index: int)

    width: row.width + 4
    height: 26
    radius: 7
    color: CBTheme.toolHover
    Accessible.role: Accessible.PageTabList
    Accessible.name: label

    Row {
        id: row
        x: 2
        y: 2

        Repeater {
            model: picker.choices

            Pressable {
                id: segment

                required property int index
                required property string modelData

                width: Math.max(56, name.implicitWidth + 22)
                height: picker.height - 4
                corner: 5
                label: modelData
                tip: picker.tip
                fills: index !== picker.current
                activeFocusOnTab: index === picker.current
                Accessible.role: Accessible.RadioButton
                Accessible.checked: index === picker.current
                onTriggered: picker.chosen(index)
                Keys.onLeftPressed: picker.step(-1)
                Keys.onRightPressed: picker.step(1)

                Rectangle {
                    anchors.fill: parent
                    visible: segment.index === picker.current
                    radius: 5
                    color: CBTheme.popoverBG
                    border.width: 1
                    border.color: CBTheme.border
                }

                CBText {
                    id: name
                    anchors.centerIn: parent
                    text: segment.modelData
                    font.weight: segment.index === picker.current ? Font.DemiBold : Font.Normal
                }
            }
        }
    }

    function step(by: int) {
        const to = current + by;
        if (to < 0 || to >= choices.length)
            return;
        chosen(to);
        (row.children[to] as Pressable)?.forceActiveFocus();
    }
}
