import QtQuick
import Cobblet.Controls
import Cobblet.Settings

// A group's tile, name and looks, and what applies the changes to them.
Item {
    id: header

    required property GroupEditor editor
    property bool popupExpanded: false
    // Where the fields stand, right of the tile.
    readonly property int column: 118

    height: content.height + 28

    function focusName() {
        name.forceActiveFocus(Qt.ShortcutFocusReason);
        name.selectAll();
    }

    component FieldLabel: CBText {
        x: header.column
        width: 66
        color: CBTheme.text2
        font.pixelSize: 12
    }

    Column {
        id: content
        x: 20
        y: 14
        width: header.width - 40
        spacing: 12

        Item {
            width: content.width
            height: 102

            Pressable {
                id: icon
                width: 102
                height: 102
                corner: 22
                fills: false
                label: "Change group icon"
                tip: header.editor.isGrid ? "Switch the Dock icon to Emoji to change the emoji" : "Change the emoji"
                activeFocusOnTab: !header.editor.isGrid
                Accessible.focusable: !header.editor.isGrid
                Accessible.description: header.editor.isGrid ? "" : header.editor.emoji
                onTriggered: {
                    if (!header.editor.isGrid)
                        Popovers.toggle(picker, icon);
                }

                Component {
                    id: picker

                    EmojiPickerView {
                        selection: header.editor.emoji
                        onPick: emoji => {
                            header.editor.emoji = emoji;
                            dismissed();
                        }
                    }
                }

                // The square takes 102 of the 128 points of the picture.
                CBAppIconTile {
                    x: -13
                    y: -13
                    width: 128
                    height: 128
                    image: header.editor.preview.image
                }
            }

            // Without a frame until it is pointed at or typed in.
            Rectangle {
                x: header.column - 7
                width: parent.width - x - addButton.width - 8
                height: 32
                radius: 6
                color: name.activeFocus || hover.hovered ? CBTheme.fieldBG : "transparent"
                border.width: name.activeFocus ? 2 : hover.hovered ? 1 : 0
                border.color: name.activeFocus ? CBTheme.accent : CBTheme.border

                HoverHandler {
                    id: hover
                    cursorShape: Qt.IBeamCursor
                }

                TextInput {
                    id: name
                    x: 7
                    width: parent.width - 14
                    height: parent.height
                    verticalAlignment: TextInput.AlignVCenter
                    clip: true
                    activeFocusOnTab: true
                    selectByMouse: true
                    text: header.editor.name
                    color: CBTheme.text
                    selectionColor: CBTheme.accent
                    selectedTextColor: "white"
                    font.pixelSize: 20
                    font.weight: Font.DemiBold
                    Accessible.role: Accessible.EditableText
                    Accessible.name: "Group name"
                    onTextEdited: header.editor.name = text
                    onAccepted: header.editor.apply()
                }

                CBText {
                    x: 7
                    width: name.width
                    height: parent.height
                    visible: name.text === "" && name.preeditText === ""
                    text: "Group name"
                    color: CBTheme.text3
                    font: name.font
                }
            }

            SymbolButton {
                id: addButton
                x: parent.width - width
                y: 2
                symbol: "plus.square.on.square"
                fontSize: 18
                tip: "Add apps to group"
                onTriggered: Popovers.toggle(Qt.createComponent("ChooseAppsPopover.qml"), addButton)
            }

            FieldLabel {
                y: 38
                height: 26
                text: "Dock icon"
            }

            SegmentedPicker {
                x: header.column + 66
                y: 38
                label: "Dock icon"
                tip: "How this group appears in the Dock: a single emoji, or a grid of its app icons"
                choices: ["Emoji", "App Grid"]
                current: header.editor.isGrid ? 1 : 0
                onChosen: index => header.editor.isGrid = index === 1
            }

            FieldLabel {
                y: 74
                height: 26
                text: "Tile color"
            }

            Pressable {
                id: well
                x: header.column + 66
                y: 74
                width: 44
                height: 26
                corner: 6
                fills: false
                activeFocusOnTab: true
                label: "Tile color"
                tip: "Background color of this group's Dock tile"
                Accessible.description: header.editor.iconColor
                onTriggered: header.editor.chooseIconColor()

                Rectangle {
                    anchors.fill: parent
                    radius: 6
                    color: CBTheme.fieldBG
                    border.width: 1
                    border.color: CBTheme.border

                    Rectangle {
                        anchors.fill: parent
                        anchors.margins: 4
                        radius: 3
                        color: header.editor.iconColor
                        border.width: 1
                        border.color: Qt.rgba(0, 0, 0, 0.15)
                    }
                }
            }

            SheetField {
                id: hex
                x: well.x + well.width + 8
                y: 74
                width: 82
                height: 26
                label: "Tile color as text"
                input.maximumLength: 40
                input.font.family: Units.fixedFont
                input.font.pixelSize: 12
                input.onTextEdited: header.editor.setIconColor(text, true)
                input.onEditingFinished: commit()

                function commit() {
                    if (input.text !== header.editor.iconColor)
                        header.editor.setIconColor(input.text);
                    follow();
                }

                // What was refused stands until it is mended.
                function follow() {
                    if (!header.editor.colorFailure)
                        input.text = header.editor.iconColor;
                }

                Component.onCompleted: follow()

                Connections {
                    target: header.editor

                    function onChanged() {
                        if (!hex.input.activeFocus)
                            hex.follow();
                    }

                    function onOpened() {
                        hex.follow();
                    }
                }
            }

            Pressable {
                x: hex.x + hex.width + 8
                y: 74
                width: reset.implicitWidth + 8
                height: 26
                fills: false
                enabled: header.editor.hasIconColor
                activeFocusOnTab: enabled
                label: "Reset"
                tip: "Back to the standard light tile"
                onTriggered: header.editor.resetIconColor()

                CBText {
                    id: reset
                    anchors.centerIn: parent
                    text: "Reset"
                    color: parent.enabled ? CBTheme.accent : CBTheme.text3
                    font.pixelSize: 12
                    font.underline: parent.isHovered
                }
            }
        }

        CBText {
            x: header.column
            width: content.width - x
            visible: text
            text: header.editor.colorFailure
            color: CBTheme.text2
            wrapMode: Text.WordWrap
            maximumLineCount: 3
            font.pixelSize: 11
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        SheetButton {
            x: header.column
            isDefault: true
            enabled: header.editor.hasChanges && !header.editor.refusal
            label: header.editor.isStandalone ? "Apply to Dock" : "Apply"
            symbol: header.editor.isStandalone ? "checkmark.circle" : ""
            tip: header.editor.isStandalone ? "Save these changes and update this group's Dock tile" : "Save these changes"
            onTriggered: header.editor.apply()
        }

        Item {
            x: header.column
            width: content.width - x
            height: notice.text ? notice.implicitHeight : 0
            visible: height > 0
            clip: true

            Behavior on height {
                NumberAnimation {
                    duration: Units.selection
                    easing.type: Easing.InOutQuad
                }
            }

            CBText {
                id: notice
                width: parent.width
                text: header.editor.refusal || header.editor.appliedNotice
                color: CBTheme.text2
                wrapMode: Text.WordWrap
                maximumLineCount: 6
                font.pixelSize: 11
                Accessible.role: Accessible.StaticText
                Accessible.name: text
            }
        }

        Pressable {
            id: disclosure
            x: -6
            width: 70
            height: 24
            activeFocusOnTab: true
            label: "Popup"
            tip: "Popup settings for this group"
            Accessible.description: header.popupExpanded ? "unfolded" : "folded"
            onTriggered: header.popupExpanded = !header.popupExpanded

            CBSymbol {
                x: 6
                anchors.verticalCenter: parent.verticalCenter
                name: "chevron.right"
                fontSize: 9
                color: CBTheme.text2
                rotation: header.popupExpanded ? 90 : 0
                Behavior on rotation {
                    NumberAnimation {
                        duration: Units.selection
                        easing.type: Easing.InOutQuad
                    }
                }
            }

            CBText {
                x: 22
                height: parent.height
                text: "Popup"
                font.weight: Font.DemiBold
            }
        }

        Loader {
            width: content.width
            active: header.popupExpanded
            visible: active
            sourceComponent: PopupOverrides {
                editor: header.editor
                column: header.column
            }
        }
    }
}
