import QtQuick
import Cobblet.Panel

Pressable {
    id: button

    property alias symbol: picture.name

    width: 28
    height: 28
    label: tip
    activeFocusOnTab: true

    CBSymbol {
        id: picture
        anchors.centerIn: parent
        width: implicitWidth
        height: implicitHeight
        fontSize: 13
        color: CBTheme.text2
    }
}
