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
        view.forceActiveFocus();
    }

    GridView {
        id: view
        x: Math.max(PanelMetrics.gridPadding, Math.round((page.width - width + PanelMetrics.columnSpacing) / 2))
        width: page.columns * page.pitch
        height: page.height - (tools.visible ? tools.height : 0)
        // A header, because positioning a view does not count its margin. The last row brings its spacing along.
        header: Item {
            width: 1
            height: PanelMetrics.gridPadding
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
        Accessible.name: "Apps"
        onCurrentIndexChanged: {
            if (activeFocus)
                positionViewAtIndex(currentIndex, GridView.Contain);
        }

        // From the first column the way leads back to the sidebar.
        Keys.onLeftPressed: {
            if (currentIndex % page.columns > 0)
                moveCurrentIndexLeft();
            else
                page.leftEdgePassed();
        }

        delegate: CBAppCell {
            width: (GridView.view as GridView).cellWidth - PanelMetrics.columnSpacing
            height: (GridView.view as GridView).cellHeight - PanelMetrics.rowSpacing
            showsTitle: Panel.showsTitles
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
