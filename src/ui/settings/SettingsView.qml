import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// The whole content of the settings window.
FocusScope {
    id: root

    focus: true

    SettingsSidebar {
        id: sidebar
        width: edge.x
        height: root.height
        focus: true
    }

    Loader {
        id: page

        readonly property var content: item

        x: gone.x
        y: gone.height
        width: root.width - x
        height: root.height - y
        source: Settings.pageSource
    }

    Rectangle {
        x: sidebar.width
        width: Math.max(0.5, 1 / Screen.devicePixelRatio)
        height: root.height
        color: CBTheme.hairline
    }

    Rectangle {
        id: gone
        x: sidebar.width + 1
        width: root.width - x
        height: visible ? goneText.implicitHeight + 16 : 0
        visible: Settings.goneNotice
        color: Qt.alpha(CBTheme.accent, 0.14)

        CBText {
            id: goneText
            x: 20
            y: 8
            width: gone.width - 40
            text: Settings.goneNotice
            wrapMode: Text.WordWrap
            maximumLineCount: 3
            font.pixelSize: 12
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }
    }

    SidebarEdge {
        id: edge
        height: root.height
    }

    Connections {
        target: Settings

        function onSettingFound(id) {
            const row = root.find(page.content, item => item.setting === id);
            if (!row)
                return;
            row.lit = true;
            const control = root.find(row, item => item.visible && item.enabled && item.activeFocusOnTab && item.Accessible.role !== Accessible.Graphic);
            if (control)
                control.forceActiveFocus(Qt.TabFocusReason);
            if (page.content.reveal)
                page.content.reveal(row);
        }

        function onGoneNoticeChanged() {
            Popovers.close();
        }

        function onNameRequested() {
            if (page.content && page.content.focusName)
                page.content.focusName();
        }
    }

    // The first item within `item` that is meant, going down from the top.
    function find(item: Item, isMeant: var): Item {
        if (!item || isMeant(item))
            return item;
        for (let i = 0; i < item.children.length; ++i) {
            const found = find(item.children[i], isMeant);
            if (found)
                return found;
        }
        return null;
    }
}
