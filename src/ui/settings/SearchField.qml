import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// Searches for groups and settings; the arrows choose among what was found, Return goes there.
SheetField {
    id: field

    // The hit that Return opens.
    property int current: 0
    signal escaped

    inset: 28
    label: "Search"
    placeholder: "Search"
    input.onTextChanged: Settings.query = input.text
    onAccepted: Settings.openHit(current)
    Keys.onUpPressed: current = Math.max(0, current - 1)
    Keys.onDownPressed: {
        if (!text)
            escaped();
        current = Math.min(current + 1, Math.max(0, Settings.hits.length - 1));
    }
    Keys.onEscapePressed: {
        text = "";
        escaped();
    }

    Connections {
        target: Settings
        function onQueryChanged() {
            field.current = 0;
            if (field.text !== Settings.query)
                field.text = Settings.query;
        }
        function onSearchRequested() {
            field.input.forceActiveFocus(Qt.ShortcutFocusReason);
            field.input.selectAll();
        }
    }

    CBSymbol {
        x: 8
        anchors.verticalCenter: parent.verticalCenter
        name: "magnifyingglass"
        fontSize: 12
        color: CBTheme.text2
    }
}
