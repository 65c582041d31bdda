import QtQuick
import Cobblet.Controls
import Cobblet.Panel

// The applications of the selected tab, with the tool row beneath them.
Item {
    id: page

    required property real hair
    readonly property int columns: PanelMetrics.columnCount(Panel.columns, width, Panel.roomWidth - x)
    // A panel that is still growing shows the last columns as it gets to them.
    readonly property int pitch: Math.max(PanelMetrics.columnPitch,
                                          Math.floor((width - 2 * PanelMetrics.gridPadding + PanelMetrics.columnSpacing) / columns))
    readonly property string contentID: Panel.contentID

    signal leftEdgePassed

    onContentIDChanged: {
        view.currentIndex = 0;
        view.positionViewAtBeginning();
    }

    function focusGrid() {
        if (view.currentItem)
            view.currentItem.forceActiveFocus();
        else
            addCell.forceActiveFocus();
    }

    GridView {
        id: view

        // In an empty group the cell that adds applications is all there is.
        readonly property bool leadsToAdding: activeFocus && count === 0 && Panel.isEditable

        x: Math.max(PanelMetrics.gridPadding, Math.round((page.width - width + PanelMetrics.columnSpacing) / 2))
        width: page.columns * page.pitch
        height: page.height - (tools.visible ? tools.height : 0)
        // A header, because positioning a view does not count its margin. The last row brings its spacing along.
        header: Item {
            width: 1
            height: PanelMetrics.gridPadding
        }
        // The row of the cell that adds applications, where it has one of its own.
        footer: Item {
            width: 1
            height: addCell.visible && addCell.column === 0 ? view.cellHeight : 0
        }
        bottomMargin: PanelMetrics.gridPadding - PanelMetrics.rowSpacing
        cellWidth: page.pitch
        cellHeight: (Panel.showsTitles ? PanelMetrics.titledCellHeight : PanelMetrics.cellHeight) + PanelMetrics.rowSpacing
        cacheBuffer: 0
        clip: contentHeight + bottomMargin > height
        interactive: clip
        keyNavigationEnabled: true
        boundsBehavior: Flickable.StopAtBounds
        focus: true
        activeFocusOnTab: true
        highlightFollowsCurrentItem: false
        model: Panel.grid
        Accessible.role: Accessible.List
        Accessible.name: Panel.contentName
        onLeadsToAddingChanged: {
            if (leadsToAdding)
                addCell.forceActiveFocus();
        }
        onCurrentIndexChanged: {
            if (activeFocus)
                positionViewAtIndex(currentIndex, GridView.Contain);
        }

        function goTo(index) {
            if (index < 0)
                return;
            currentIndex = index;
            currentItem.forceActiveFocus();
            positionViewAtIndex(index, GridView.Contain);
        }

        // From the first column the way leads back to the sidebar, from the last application to the cell that adds some.
        Keys.onLeftPressed: {
            if (currentIndex % page.columns > 0)
                moveCurrentIndexLeft();
            else
                page.leftEdgePassed();
        }
        Keys.onRightPressed: event => addCell.takeFrom(currentIndex + 1, event)
        Keys.onDownPressed: event => addCell.takeFrom(currentIndex + page.columns, event)

        delegate: CBAppCell {
            width: (GridView.view as GridView).cellWidth - PanelMetrics.columnSpacing
            height: (GridView.view as GridView).cellHeight - PanelMetrics.rowSpacing
            showsTitle: Panel.showsTitles
        }

        CBAddAppCell {
            id: addCell

            readonly property int column: view.count % page.columns
            readonly property int row: (view.count - column) / page.columns

            parent: view.contentItem
            x: column * view.cellWidth
            y: row * view.cellHeight
            width: view.cellWidth - PanelMetrics.columnSpacing
            height: view.cellHeight - PanelMetrics.rowSpacing
            visible: Panel.isEditable
            showsTitle: Panel.showsTitles

            // Takes the focus where it is the cell at this place.
            function takeFrom(place, event) {
                event.accepted = visible && place === view.count;
                if (!event.accepted)
                    return;
                forceActiveFocus();
                view.positionViewAtEnd();
            }

            // A hidden item keeps the focus otherwise, and the keys with it.
            onVisibleChanged: {
                if (!visible)
                    focus = false;
            }
            Keys.onLeftPressed: {
                if (column > 0)
                    view.goTo(view.count - 1);
                else
                    page.leftEdgePassed();
            }
            Keys.onUpPressed: view.goTo(view.count - page.columns)
            Keys.onRightPressed: event => event.accepted = true
            Keys.onDownPressed: event => event.accepted = true
        }
    }

    // Where the grid is, while it scrolls.
    Rectangle {
        x: page.width - 7
        y: 4 + view.visibleArea.yPosition * (view.height - 8)
        width: 4
        height: Math.max(24, view.visibleArea.heightRatio * (view.height - 8))
        radius: 2
        visible: view.moving
        color: CBTheme.text3
    }

    CBToolRow {
        id: tools
        y: page.height - height
        width: page.width
        hair: page.hair
        visible: Panel.showsToolRow
    }
}
