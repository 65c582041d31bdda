import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// A group that is suggested: "Add" makes it one, the cross takes it off the list. Return and Delete do the same.
Pressable {
    id: row

    required property int index
    required property var modelData

    height: 44
    corner: 8
    label: modelData.name
    tip: modelData.reason
    clicks: false
    fill: Qt.alpha(CBTheme.text, 0.08)
    Accessible.role: Accessible.ListItem
    Accessible.description: [modelData.number, modelData.names, modelData.reason].join(", ")
    onTriggered: Settings.addSuggestion(index)
    Keys.onDeletePressed: Settings.dismissSuggestion(index)

    CBText {
        x: 6
        width: 22
        height: row.height
        horizontalAlignment: Text.AlignHCenter
        text: row.modelData.emoji
        font: Units.emojiFont
    }

    Column {
        x: 34
        anchors.verticalCenter: parent.verticalCenter
        width: add.x - x - 6
        spacing: 1

        CBText {
            width: parent.width
            text: row.modelData.name
        }

        Row {
            width: parent.width
            spacing: 6

            CBText {
                id: number
                text: row.modelData.number
                color: CBTheme.text2
                font.pixelSize: 11
            }

            CBText {
                width: parent.width - x
                text: row.modelData.names
                color: CBTheme.text2
                font.pixelSize: 11
            }
        }
    }

    Pressable {
        id: add
        x: dismiss.x - width - 2
        anchors.verticalCenter: parent.verticalCenter
        width: caption.implicitWidth + 14
        height: 24
        label: "Add"
        Accessible.description: row.modelData.name
        onTriggered: Settings.addSuggestion(row.index)

        CBText {
            id: caption
            anchors.centerIn: parent
            text: add.label
            color: CBTheme.accent
            font.weight: Font.DemiBold
        }
    }

    SymbolButton {
        id: dismiss
        x: row.width - width - 4
        anchors.verticalCenter: parent.verticalCenter
        width: 24
        height: 24
        activeFocusOnTab: false // the row's Delete key does the same
        symbol: "xmark.circle.fill"
        tip: "Dismiss suggestion"
        Accessible.description: row.modelData.name
        onTriggered: Settings.dismissSuggestion(row.index)
    }
}
