import QtQuick
import Cobblet.Controls

// An application's icon, and a symbol until it is there.
Item {
    id: thumbnail

    required property string bundleID
    readonly property alias icon: icon

    Image {
        id: icon
        anchors.fill: parent
        anchors.margins: 4
        sourceSize.width: width
        sourceSize.height: height
        asynchronous: true
        cache: false
        source: "image://applications/" + encodeURIComponent(thumbnail.bundleID)
    }

    CBSymbol {
        anchors.centerIn: parent
        visible: icon.status !== Image.Ready
        name: "app"
        fontSize: 24
        color: CBTheme.text3
    }
}
