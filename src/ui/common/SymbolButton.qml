import QtQuick
import Cobblet.Controls

// A button with nothing but a symbol, and a tip that says what it does.
Pressable {
    property alias symbol: picture.name
    property alias fontSize: picture.fontSize

    width: 28
    height: 28
    label: tip
    activeFocusOnTab: true

    CBSymbol {
        id: picture
        anchors.centerIn: parent
        fontSize: 13
        color: CBTheme.text2
    }
}
