import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The page of a group: who it is and how it looks, and its applications below.
FocusScope {
    id: page

    readonly property GroupEditor editor: Settings.editor

    function focusName() {
        header.focusName();
    }

    GroupIdentityHeader {
        id: header
        width: page.width
        editor: page.editor
    }

    Rectangle {
        y: header.height
        width: page.width
        height: Math.max(0.5, 1 / Screen.devicePixelRatio)
        color: CBTheme.hairline
    }

    AppList {
        id: list
        x: 12
        y: header.height + 1
        width: page.width - 24
        height: page.height - y
        editor: page.editor
        topMargin: 8
        bottomMargin: 8
    }

    ScrollIndicator {
        anchors.right: parent.right
        y: list.y
        height: list.height
        flickable: list
    }

    Placeholder {
        anchors.fill: list
        visible: list.count === 0
        symbol: "square.grid.2x2"
        headline: "No Apps"
        caption: "Drag apps from the /Applications folder in Finder, or from the Dock. Or tap + to pick one."
        captionColor: CBTheme.text2
    }

    Connections {
        target: page.editor

        function onOpened() {
            header.popupExpanded = false;
            list.currentIndex = 0;
            list.positionViewAtBeginning();
        }
    }
}
