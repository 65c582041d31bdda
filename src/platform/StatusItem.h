#pragma once

#include "platform/Availability.h"
#include "platform/Menus.h"

#include <QColor>
#include <QImage>

namespace cobblet {

/// The program's item in the desktop's status bar or tray, as wide as its picture. Main thread only.
class StatusItem {
public:
    /// A picture of which only the coverage counts: drawn in `color` into a square of `points` at `ratio` device
    /// pixels per point. A null image when it can't be made; the item then has no picture.
    using Template = std::function<QImage(const QColor &color, double points, qreal ratio)>;

    /// The side of the picture in points; trays with smaller places get it in their size.
    static constexpr double imagePoints = 24;

    /// A colour that is read on the bar: light on a dark one, dark on a light one.
    static QColor tint(bool darkBar) { return darkBar ? QColor(242, 242, 242) : QColor(34, 34, 34); }

    virtual ~StatusItem() = default;

    /// Whether the item can be seen.
    virtual Availability availability() const = 0;

    /// The picture is drawn so that it is read on the bar it stands in. The description is what assistive tools read.
    virtual void setImage(Template image, const QString &accessibilityDescription) = 0;
    /// A click on the item opens this menu.
    virtual void setMenu(const QList<MenuItem> &items) = 0;
    /// Puts the item, whose picture and menu are set, into the bar, now or when there is one, until it is destroyed.
    /// Before this call it costs nothing.
    virtual void show() = 0;
};

} // namespace cobblet
