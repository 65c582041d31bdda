import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// Opens and closes the popover that explains the close-all button.
Pressable {
    id: button

    readonly property bool showingHint: Popovers.anchor === button

    width: picture.width + 24
    height: PanelMetrics.toolRowHeight
    fills: false
    corner: 8
    label: "Close All Button Shortcuts"
    activeFocusOnTab: true
    onTriggered: Popovers.toggle(Qt.createComponent("HintPopover.qml"), button)

    CBSymbol {
        id: picture
        anchors.centerIn: parent
        name: "info.circle"
        fontSize: 13
        color: button.isHovered || button.showingHint ? CBTheme.text : CBTheme.text2
    }
}
