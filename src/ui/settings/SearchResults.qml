import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// What the search has found, the best first.
ListView {
    id: list

    required property int current

    currentIndex: current
    highlightFollowsCurrentItem: false
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height
    clip: true
    model: Settings.hits
    bottomMargin: 12
    Accessible.role: Accessible.List
    Accessible.name: "Search results"
    onCurrentIndexChanged: positionViewAtIndex(currentIndex, ListView.Contain)

    CBText {
        visible: list.count === 0
        width: list.width
        height: 60
        horizontalAlignment: Text.AlignHCenter
        text: "No Results"
        color: CBTheme.text2
    }

    delegate: Pressable {
        id: row

        required property int index
        required property var modelData
        readonly property bool isCurrent: ListView.isCurrentItem

        width: ListView.view.width
        height: modelData.place ? 44 : Units.rowHeight
        corner: 8
        label: modelData.title
        fill: Qt.alpha(CBTheme.text, 0.08)
        fills: !isCurrent
        Accessible.role: Accessible.ListItem
        Accessible.description: modelData.place
        Accessible.selected: isCurrent
        Accessible.onPressAction: triggered()
        onTriggered: Settings.openHit(index)

        Rectangle {
            anchors.fill: parent
            visible: row.isCurrent
            radius: 8
            color: row.fill
        }

        CBText {
            x: 6
            width: 22
            height: row.height
            horizontalAlignment: Text.AlignHCenter
            text: row.modelData.emoji
            font: Units.emojiFont
        }

        CBSymbol {
            x: 8
            anchors.verticalCenter: parent.verticalCenter
            visible: name
            width: 18
            height: 18
            name: row.modelData.symbol
            fontSize: 13
            color: CBTheme.text2
        }

        Column {
            x: 34
            anchors.verticalCenter: parent.verticalCenter
            width: row.width - x - 8
            spacing: 1

            CBText {
                width: parent.width
                text: row.modelData.title
            }

            CBText {
                width: parent.width
                visible: text
                text: row.modelData.place
                color: CBTheme.text2
                font.pixelSize: 11
            }
        }
    }
}
