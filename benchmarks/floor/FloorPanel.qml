import QtQuick

// The shape of a launcher panel with nothing behind it: group names at the left, a grid of applications at the right.
Rectangle {
    id: root

    required property int tileCount

    width: 600
    height: 340
    radius: 16
    color: "#f2f1f4"
    border.color: "#30000000"
    border.width: 1

    Repeater {
        model: ["💼", "🎨", "🔧", "🎵"]

        Text {
            required property string modelData
            required property int index

            x: 18
            y: 44 + index * 31
            font.pixelSize: 16
            text: modelData
        }
    }

    Repeater {
        model: ["Work", "Creative", "Utilities", "Music"]

        Text {
            required property string modelData
            required property int index

            x: 46
            y: 46 + index * 31
            font.pixelSize: 13
            text: modelData
        }
    }

    Rectangle {
        x: 200
        width: 1
        height: root.height
        color: "#20000000"
    }

    GridView {
        id: grid

        x: 212
        y: 16
        width: root.width - x - 8
        height: root.height - 2 * y
        cellWidth: 94
        cellHeight: 104
        clip: true
        model: root.tileCount

        delegate: Item {
            id: cell

            required property int index

            width: grid.cellWidth
            height: grid.cellHeight

            Image {
                x: 19
                width: 56
                height: 56
                source: "image://tiles/" + cell.index
                sourceSize.width: 56
                sourceSize.height: 56
            }

            Text {
                y: 62
                width: cell.width - 8
                elide: Text.ElideRight
                font.pixelSize: 12
                horizontalAlignment: Text.AlignHCenter
                text: "Program " + (cell.index + 1)
            }
        }
    }
}
