#pragma once

#include "model/AppGroup.h"
#include "model/PopupSettings.h"

#include <QSizeF>

#include <algorithm>

/// The panel's measures in points and the size it wants to have: pure arithmetic.
namespace cobblet::metrics {

inline constexpr QSizeF standardPanel{600, 340};
inline constexpr QSizeF minimumPanel{380, 300};
inline constexpr double panelRadius = 16;

inline constexpr double sidebarExpanded = 200;
inline constexpr double sidebarCollapsed = 44;
inline constexpr double hairline = 0.5;

inline constexpr int cellWidth = 84; ///< at least; columns share what is left over
inline constexpr int cellHeight = 81;
inline constexpr int titledCellHeight = 103;
inline constexpr int columnSpacing = 8;
inline constexpr int rowSpacing = 18;
inline constexpr int gridPadding = 16;
inline constexpr double toolRowHeight = 46;

/// What a group wants the panel to measure; no group, or as many columns as fit, gives the standard size. The
/// expanded sidebar counts even while it is collapsed, so that collapsing never resizes the panel.
inline QSizeF desiredPanelSize(const AppGroup *group, const EffectivePopupLayout &layout)
{
    if (!group || layout.columns < 1)
        return standardPanel;
    // Preferences are outside data: bounded so that no product below leaves the range of int.
    const int columns = std::min(layout.columns, 1000);
    const int addCell = 1;
    const qint64 itemCount = group->apps.size() + addCell;
    qint64 rows = (std::max<qint64>(itemCount, 1) + columns - 1) / columns;
    if (layout.maxRows > 0)
        rows = std::min<qint64>(rows, layout.maxRows);
    const double gridWidth = columns * cellWidth + (columns - 1) * columnSpacing + 2 * gridPadding;
    const double gridHeight = double(rows) * (layout.showsTitles ? titledCellHeight : cellHeight) +
                              double(rows - 1) * rowSpacing + 2 * gridPadding;
    const double toolRow = group->apps.isEmpty() ? 0 : toolRowHeight + hairline;
    return {std::max(gridWidth + sidebarExpanded + hairline, minimumPanel.width()),
            std::max(gridHeight + toolRow, minimumPanel.height())};
}

/// How many columns a grid of this width has: the fixed number as far as it fits, or as many as fit.
inline int columnCount(int fixedColumns, double gridWidth)
{
    const auto fitting = [](double width) {
        return std::max(1, int((width - 2 * gridPadding + columnSpacing) / (cellWidth + columnSpacing)));
    };
    if (fixedColumns < 1)
        return fitting(gridWidth);
    // Windows measure whole pixels: the point or two that rounding takes must not cost a column.
    constexpr double rounding = 4;
    return std::min(fixedColumns, fitting(gridWidth + rounding));
}

} // namespace cobblet::metrics
