import QtQuick
import Cobblet.Controls

// The emoji to pick from: the catalogue, and what is typed searches all that the font has.
PopoverFrame {
    id: picker

    property string selection
    readonly property var emojis: Emojis.makePicker(picker)
    readonly property int cell: 38
    readonly property int gap: 4

    signal pick(emoji: string)

    width: 360
    height: 340
    title: "Emoji"
    takesKeyboard: true
    focus: true

    function choose(emoji: string) {
        if (!emoji)
            return;
        selection = emoji;
        pick(emoji);
    }

    Component.onCompleted: {
        emojis.point(selection);
        search.input.forceActiveFocus();
    }

    // The field keeps the keyboard, and these keys move in the grid.
    Item {
        id: keys

        Keys.onPressed: event => {
            const plain = !(event.modifiers & (Qt.ShiftModifier | Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier));
            event.accepted = true;
            if (tones.visible && tones.handleKey(event.key))
                return;
            if (event.key === Qt.Key_Down && event.modifiers & Qt.AltModifier)
                tones.openAt(picker.emojis.currentRow, picker.emojis.currentColumn);
            else if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
                picker.choose(picker.emojis.at(picker.emojis.currentRow, picker.emojis.currentColumn));
            else if (event.key === Qt.Key_Escape && search.text !== "")
                search.text = "";
            else
                event.accepted = plain && picker.emojis.move(event.key);
        }
    }

    Connections {
        target: picker.emojis

        function onCurrentChanged() {
            if (picker.emojis.currentRow >= 0)
                list.positionViewAtIndex(picker.emojis.currentRow <= 1 ? 0 : picker.emojis.currentRow, ListView.Contain);
        }
    }

    SheetField {
        id: search
        x: 12
        y: 12
        width: picker.width - 24
        placeholder: "Search"
        // The current emoji is heard while the keyboard stays here.
        description: picker.emojis.currentName
        keysTo: keys
        onTextChanged: {
            tones.visible = false;
            picker.emojis.search = text;
            list.positionViewAtBeginning();
        }
    }

    ListView {
        id: list
        x: (picker.width - width) / 2
        y: 48
        width: 8 * picker.cell + 7 * picker.gap
        height: picker.height - y - 1
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        bottomMargin: 8
        reuseItems: true
        cacheBuffer: 0
        model: picker.emojis
        currentIndex: picker.emojis.currentRow
        highlightMoveDuration: 0
        onContentYChanged: tones.visible = false
        Accessible.role: Accessible.List
        Accessible.name: picker.title

        delegate: Item {
            id: row

            required property int index
            required property string heading
            required property var emoji
            required property var names

            width: ListView.view.width
            height: heading ? 24 : picker.cell + picker.gap

            CBText {
                x: 6
                height: parent.height
                visible: row.heading
                text: row.heading
                color: CBTheme.text2
                font.pixelSize: 11
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
                Accessible.name: text
                Accessible.ignored: !visible
            }

            Repeater {
                model: row.heading ? 0 : 8

                CBEmoji {
                    required property int index
                    readonly property string shown: row.emoji[index] ?? ""
                    readonly property bool isCurrent: picker.emojis.currentRow === row.index && picker.emojis.currentColumn === index
                    readonly property bool isSelected: shown !== "" && picker.emojis.isSame(shown, picker.selection)
                    readonly property bool isHovered: area.column === index

                    function accessiblePressAction() {
                        picker.choose(shown);
                    }

                    x: index * (picker.cell + picker.gap)
                    width: picker.cell
                    height: picker.cell
                    visible: shown !== ""
                    emoji: shown
                    radius: 7
                    fill: isSelected ? Qt.alpha(CBTheme.accent, 0.18) : isHovered || isCurrent ? CBTheme.hoverBG : "transparent"
                    stroke: isCurrent ? CBTheme.accent : isSelected ? Qt.alpha(CBTheme.accent, 0.4) : "transparent"
                    strokeWidth: isCurrent ? 2 : 1
                    Accessible.role: Accessible.Button
                    Accessible.name: row.names[index] ?? ""
                    Accessible.selected: isSelected
                    Accessible.ignored: !visible
                }
            }

            MouseArea {
                id: area

                readonly property int column: containsMouse ? columnAt(mouseX) : -1

                anchors.fill: parent
                visible: !row.heading
                hoverEnabled: true

                function columnAt(x: real): int {
                    const at = Math.floor(x / (picker.cell + picker.gap));
                    return x - at * (picker.cell + picker.gap) < picker.cell ? at : -1;
                }

                onClicked: mouse => picker.choose(picker.emojis.at(row.index, columnAt(mouse.x)))
                onPressAndHold: mouse => tones.openAt(row.index, columnAt(mouse.x))
            }
        }
    }

    ScrollIndicator {
        x: picker.width - width - 1
        y: list.y
        height: list.height - 6
        flickable: list
    }

    CBText {
        anchors.centerIn: list
        visible: list.count === 0
        text: picker.emojis.emptyText
        color: CBTheme.text2
    }

    // One emoji in every skin tone, above the others.
    Rectangle {
        id: tones

        property var choices: []
        property int current: 0

        function openAt(row: int, column: int) {
            list.positionViewAtIndex(row, ListView.Contain);
            const item = list.itemAtIndex(row);
            choices = item ? picker.emojis.tones(row, column) : [];
            visible = choices.length > 0;
            if (!visible)
                return;
            const at = item.mapToItem(picker, column * (picker.cell + picker.gap), 0);
            current = picker.emojis.tone();
            x = Math.max(8, Math.min(at.x - 4, picker.width - width - 8));
            y = at.y > list.y + height ? at.y - height - 2 : at.y + picker.cell + 2;
        }

        function take(tone: int) {
            picker.emojis.rememberTone(tone);
            picker.choose(choices[tone]);
        }

        function handleKey(key: int): bool {
            if (key === Qt.Key_Left || key === Qt.Key_Right)
                current = Math.max(0, Math.min(choices.length - 1, current + (key === Qt.Key_Right ? 1 : -1)));
            else if (key === Qt.Key_Return || key === Qt.Key_Enter)
                take(current);
            else
                visible = false;
            return key === Qt.Key_Left || key === Qt.Key_Right || key === Qt.Key_Return || key === Qt.Key_Enter || key === Qt.Key_Escape;
        }

        visible: false
        width: 6 * picker.cell + 8
        height: picker.cell + 8
        radius: 10
        color: CBTheme.popoverBG
        border.width: 1
        border.color: CBTheme.text3

        MouseArea {
            anchors.fill: parent
            hoverEnabled: true
            onPositionChanged: mouse => tones.current = Math.max(0, Math.min(5, Math.floor((mouse.x - 4) / picker.cell)))
            onClicked: tones.take(tones.current)
        }

        Repeater {
            model: tones.choices

            CBEmoji {
                required property int index
                required property string modelData

                function accessiblePressAction() {
                    tones.take(index);
                }

                x: 4 + index * picker.cell
                y: 4
                width: picker.cell
                height: picker.cell
                emoji: modelData
                radius: 7
                fill: tones.current === index ? CBTheme.hoverBG : "transparent"
                stroke: tones.current === index ? CBTheme.accent : "transparent"
                strokeWidth: 2
                Accessible.role: Accessible.Button
                Accessible.name: picker.emojis.name(modelData)
            }
        }
    }
}
