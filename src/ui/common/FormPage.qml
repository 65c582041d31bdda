import QtQuick
import Cobblet.Controls

// A page of settings: its title over the sections, which scroll when there is no room for them.
FocusScope {
    id: page

    property string title
    default property alias sections: column.data
    readonly property alias flickable: flickable

    function scrollTo(y: real) {
        flickable.contentY = Math.max(0, Math.min(flickable.contentHeight - flickable.height, y));
    }

    Keys.onPressed: event => {
        const pageful = flickable.height * 0.9;
        event.accepted = true;
        if (event.key === Input.KeyPageUp)
            scrollTo(flickable.contentY - pageful);
        else if (event.key === Input.KeyPageDown)
            scrollTo(flickable.contentY + pageful);
        else if (event.key === Input.KeyHome)
            scrollTo(0);
        else if (event.key === Input.KeyEnd)
            scrollTo(flickable.contentHeight);
        else
            event.accepted = false;
    }

    Flickable {
        id: flickable
        anchors.fill: parent
        contentWidth: width
        contentHeight: column.y + column.implicitHeight + 24
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height
        clip: true

        CBText {
            x: column.x
            y: 20
            width: column.width
            text: page.title
            font.pixelSize: 17
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        Column {
            id: column
            x: Math.round((flickable.width - width) / 2)
            y: 58
            width: Math.min(flickable.width - 40, 620)
            spacing: 22
        }
    }

    // Brings what has the focus into view.
    function reveal(item: Item) {
        if (!item)
            return;
        const top = item.mapToItem(flickable.contentItem, 0, 0).y;
        const lowest = Math.max(0, flickable.contentHeight - flickable.height);
        if (top - 12 < flickable.contentY)
            flickable.contentY = Math.max(0, top - 12);
        else if (top + item.height + 12 > flickable.contentY + flickable.height)
            flickable.contentY = Math.min(lowest, top + item.height + 12 - flickable.height);
    }

    Connections {
        target: page.Window.window
        function onActiveFocusItemChanged() {
            const item = page.Window.activeFocusItem;
            if (page.activeFocus && Decorations.keyboardFocus)
                page.reveal(item);
        }
    }

    ScrollIndicator {
        anchors.right: parent.right
        height: parent.height
        flickable: flickable
    }
}
