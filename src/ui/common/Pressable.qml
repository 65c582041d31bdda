import QtQuick
import Cobblet.Controls

// A button without chrome: hover fill, focus ring, tip, and the keyboard.
MouseArea {
    id: area

    property string label
    property string tip
    property color fill: CBTheme.hoverBG
    property real corner: 6
    property bool fills: true
    property Item springs: null
    // Whether letting go of the button is a click, and not the end of a drag.
    property bool clicks: true

    property HoverFill decoration: null
    property FocusRing ring: null
    readonly property bool isHovered: containsMouse
    readonly property bool ringed: activeFocus && Decorations.keyboardFocus

    signal triggered
    // In points of the window.
    signal menuRequested(point position)

    hoverEnabled: true
    acceptedButtons: Input.LeftButton | Input.RightButton
    preventStealing: true

    function updateFill() {
        const lit = isHovered && fills;
        if (lit && (!decoration || decoration.dying))
            decoration = Decorations.make(Decorations.HoverFill, area, { radius: area.corner, color: area.fill, springs: area.springs }) as HoverFill;
        if (decoration)
            decoration.shown = lit;
    }

    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.focusable: true

    onIsHoveredChanged: updateFill()
    onFillsChanged: updateFill()
    onRingedChanged: {
        if (ringed)
            ring = Decorations.make(Decorations.FocusRing, area, { radius: area.corner }) as FocusRing;
        else
            Decorations.dismiss(ring);
    }
    onFillChanged: {
        if (decoration)
            decoration.color = fill;
    }

    onEntered: {
        if (tip)
            Decorations.expectTip(area, tip);
    }
    onExited: {
        if (tip)
            Decorations.closeTip();
    }
    onPressed: mouse => {
        if (tip)
            Decorations.closeTip();
        if (mouse.button === Input.RightButton)
            menuRequested(mapToItem(null, mouse.x, mouse.y));
    }
    onClicked: mouse => {
        if (mouse.button === Input.LeftButton && clicks)
            triggered();
    }

    // What assistive tools call: a button offers "Press" already, and a handler of its own would offer it again.
    function accessiblePressAction() {
        triggered();
    }

    function openMenu() {
        menuRequested(mapToItem(null, width / 2, height / 2));
    }

    Keys.onReturnPressed: triggered()
    Keys.onEnterPressed: triggered()
    Keys.onSpacePressed: triggered()
    Keys.onMenuPressed: openMenu()
    Keys.onPressed: event => {
        event.accepted = event.key === Input.KeyF10 && event.modifiers & Input.ShiftModifier;
        if (event.accepted)
            openMenu();
    }
}
