#pragma once

#include <QColor>
#include <QIcon>
#include <QImage>
#include <QString>

namespace cobblet {

/// The symbol drawn in one colour into a square of `points` logical pixels at `ratio` device pixels per point;
/// a null image for a name that has no drawing. Main thread or a scene graph's render thread.
QImage symbolImage(const QString &name, const QColor &color, double points, qreal ratio);

/// The symbol for a menu entry, in the sizes and at the ratios that menus ask for; a null icon for a name that
/// has no drawing.
QIcon symbolIcon(const QString &name, const QColor &color);

/// The box, in points, of a symbol set in the system font of this size: the optical size of its capitals.
constexpr double symbolBox(double fontSize)
{
    return int(fontSize * 1.24 + 0.5);
}

} // namespace cobblet
