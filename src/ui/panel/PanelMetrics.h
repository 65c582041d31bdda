#pragma once

#include <QObject>
#include <QSizeF>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

struct AppGroup;
struct EffectivePopupLayout;

/// The panel's measures in points, its times in milliseconds, and the size it wants to have.
class PanelMetrics : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(double panelRadius MEMBER panelRadius CONSTANT)
    Q_PROPERTY(int expandedWidth MEMBER expandedWidth CONSTANT)
    Q_PROPERTY(int collapsedWidth MEMBER collapsedWidth CONSTANT)
    Q_PROPERTY(int sidebarToggle MEMBER sidebarToggle CONSTANT)
    Q_PROPERTY(int cellHeight MEMBER cellHeight CONSTANT)
    Q_PROPERTY(int titledCellHeight MEMBER titledCellHeight CONSTANT)
    Q_PROPERTY(int columnPitch MEMBER columnPitch CONSTANT)
    Q_PROPERTY(int columnSpacing MEMBER columnSpacing CONSTANT)
    Q_PROPERTY(int rowSpacing MEMBER rowSpacing CONSTANT)
    Q_PROPERTY(int gridPadding MEMBER gridPadding CONSTANT)
    Q_PROPERTY(int toolRowHeight MEMBER toolRowHeight CONSTANT)
    Q_PROPERTY(int iconSide MEMBER iconSide CONSTANT)
public:
    static constexpr QSizeF standardPanel{600, 340};
    static constexpr QSizeF minimumPanel{380, 300};
    static constexpr double panelRadius = 16;
    static constexpr int expandedWidth = 200; ///< of the sidebar
    static constexpr int collapsedWidth = 44;
    static constexpr int sidebarToggle = 200; ///< how long that takes
    static constexpr double hairline = 0.5;
    static constexpr int cellWidth = 84; ///< at least; columns share what is left over
    static constexpr int cellHeight = 81;
    static constexpr int titledCellHeight = 103;
    static constexpr int columnSpacing = 8;
    /// The least distance between columns: a point less where the window was rounded down.
    static constexpr int columnPitch = cellWidth + columnSpacing - 1;
    static constexpr int rowSpacing = 18;
    static constexpr int gridPadding = 16;
    static constexpr int toolRowHeight = 46;
    static constexpr int iconSide = 48;

    /// What a group wants the panel to measure; no group, or as many columns as fit, gives the standard size. The
    /// expanded sidebar counts even while it is collapsed, so that collapsing never resizes the panel.
    static QSizeF desiredPanelSize(const AppGroup *group, const EffectivePopupLayout &layout);

    /// How many columns a grid of this width has: the fixed number, which the panel is perhaps still on its way to,
    /// as far as the screen has room for the grid; or as many as fit.
    Q_INVOKABLE static int columnCount(int fixedColumns, double gridWidth, double gridRoom);
};

} // namespace cobblet
