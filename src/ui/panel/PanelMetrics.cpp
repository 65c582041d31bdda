#include "ui/panel/PanelMetrics.h"

#include "model/AppGroup.h"
#include "model/PopupSettings.h"

#include <algorithm>

namespace cobblet {

QSizeF PanelMetrics::desiredPanelSize(const AppGroup *group, const EffectivePopupLayout &layout)
{
    if (!group || layout.columns < 1)
        return standardPanel;
    // Preferences are outside data: bounded so that no product below leaves the range of int.
    const int columns = std::min(layout.columns, 1000);
    const int addCell = 1;
    const qint64 itemCount = group->apps.size() + addCell;
    qint64 rows = (itemCount + columns - 1) / columns;
    if (layout.maxRows > 0)
        rows = std::min<qint64>(rows, layout.maxRows);
    const double gridWidth = columns * cellWidth + (columns - 1) * columnSpacing + 2 * gridPadding;
    const double gridHeight = double(rows) * (layout.showsTitles ? titledCellHeight : cellHeight) +
                              double(rows - 1) * rowSpacing + 2 * gridPadding;
    const double toolRow = group->apps.isEmpty() ? 0 : toolRowHeight + hairline;
    return {std::max(gridWidth + expandedWidth + hairline, minimumPanel.width()),
            std::max(gridHeight + toolRow, minimumPanel.height())};
}

int PanelMetrics::columnCount(int fixedColumns, double gridWidth, double gridRoom)
{
    const auto fitting = [](double width) {
        return std::max(1, int((width - 2 * gridPadding + columnSpacing) / (cellWidth + columnSpacing)));
    };
    if (fixedColumns < 1)
        return fitting(gridWidth);
    // Windows measure whole pixels: the point or two that rounding takes must not cost a column.
    constexpr double rounding = 4;
    return std::min(fixedColumns, fitting(gridRoom + rounding));
}

} // namespace cobblet
