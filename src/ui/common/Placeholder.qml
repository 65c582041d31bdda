import QtQuick
import Cobblet.Controls

// What a view says that has nothing to list.
Item {
    property alias symbol: picture.name
    property alias headline: headlineText.text
    property alias caption: captionText.text
    property alias headlineColor: headlineText.color
    property alias captionColor: captionText.color

    Column {
        anchors.verticalCenter: parent.verticalCenter
        x: 24
        width: parent.width - 48
        spacing: 8

        CBSymbol {
            id: picture
            anchors.horizontalCenter: parent.horizontalCenter
            fontSize: 36
            color: CBTheme.text2
        }

        CBText {
            id: headlineText
            width: parent.width
            topPadding: 4
            horizontalAlignment: Text.AlignHCenter
            font.weight: Font.DemiBold
        }

        CBText {
            id: captionText
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            maximumLineCount: 3
            font.pixelSize: 11
        }
    }
}
