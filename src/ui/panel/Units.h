#pragma once

#include "ui/common/Symbols.h"
#include "ui/panel/PanelMetrics.h"

#include <QEasingCurve>
#include <QFont>
#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// Sizes in points and durations in milliseconds that the views share.
class Units : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(int hover MEMBER hover CONSTANT)
    Q_PROPERTY(int selection MEMBER selection CONSTANT)
    Q_PROPERTY(int sidebarToggle MEMBER sidebarToggle CONSTANT)
    Q_PROPERTY(int springDuration MEMBER springDuration CONSTANT)
    Q_PROPERTY(QEasingCurve spring READ spring CONSTANT)
    Q_PROPERTY(double hoverScale MEMBER hoverScale CONSTANT)
    Q_PROPERTY(double panelRadius MEMBER panelRadius CONSTANT)
    Q_PROPERTY(int rowHeight MEMBER rowHeight CONSTANT)
    Q_PROPERTY(int rowRadius MEMBER rowRadius CONSTANT)
    Q_PROPERTY(int sidebarExpanded MEMBER sidebarExpanded CONSTANT)
    Q_PROPERTY(int sidebarCollapsed MEMBER sidebarCollapsed CONSTANT)
    Q_PROPERTY(int cellHeight MEMBER cellHeight CONSTANT)
    Q_PROPERTY(int titledCellHeight MEMBER titledCellHeight CONSTANT)
    Q_PROPERTY(int columnSpacing MEMBER columnSpacing CONSTANT)
    Q_PROPERTY(int rowSpacing MEMBER rowSpacing CONSTANT)
    Q_PROPERTY(int gridPadding MEMBER gridPadding CONSTANT)
    Q_PROPERTY(int toolRowHeight MEMBER toolRowHeight CONSTANT)
    Q_PROPERTY(int iconSide MEMBER iconSide CONSTANT)
    Q_PROPERTY(QString fixedFont READ fixedFont CONSTANT)
    Q_PROPERTY(QFont emojiFont READ emojiFont CONSTANT)
    Q_PROPERTY(double titlePointSize READ titlePointSize CONSTANT)
public:
    using QObject::QObject;

    /// A spring with a response of 0.22 s and a damping fraction of 0.55, released at rest.
    static double springProgress(double seconds);
    static QEasingCurve spring();
    /// The desktop's fixed-width family.
    static QString fixedFont();

    /// The emoji of a tab. Other fonts have drawings of some emoji, too: the coloured ones come first.
    static QFont emojiFont();
    /// Whether an installed font draws emoji; without one groups show an empty box or nothing before their names.
    static bool hasEmojiFont();
    /// What a cell's title of 11.5 points measures in the toolkit's own points, which depend on the screen.
    static double titlePointSize();

    Q_INVOKABLE int columnCount(int fixedColumns, double gridWidth) const
    {
        return metrics::columnCount(fixedColumns, gridWidth);
    }
    /// The side of a symbol's box when it is set in the system font of this size.
    Q_INVOKABLE double symbolBox(double fontSize) const { return cobblet::symbolBox(fontSize); }

private:
    static constexpr int springMilliseconds = 450;

    const int hover = 120;
    const int selection = 150;
    const int sidebarToggle = 200;
    const int springDuration = springMilliseconds;
    const double hoverScale = 1.06;
    const double panelRadius = metrics::panelRadius;
    const int rowHeight = 31;
    const int rowRadius = 8;
    const int sidebarExpanded = int(metrics::sidebarExpanded);
    const int sidebarCollapsed = int(metrics::sidebarCollapsed);
    const int cellHeight = metrics::cellHeight;
    const int titledCellHeight = metrics::titledCellHeight;
    const int columnSpacing = metrics::columnSpacing;
    const int rowSpacing = metrics::rowSpacing;
    const int gridPadding = metrics::gridPadding;
    const int toolRowHeight = int(metrics::toolRowHeight);
    const int iconSide = 48;
};

} // namespace cobblet
