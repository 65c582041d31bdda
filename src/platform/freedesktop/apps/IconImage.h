#pragma once

#include <QImage>
#include <QString>

namespace cobblet {

/// A picture file (PNG, SVG or XPM) as a square of `points` logical pixels at `devicePixelRatio`, centred and
/// with its proportions kept. Null when the file cannot be read, is larger than an icon ever is, or is none.
/// SVG is drawn by the program at `svgProgram`, see svgImage(). Any thread.
QImage iconImage(const QString &path, int points, qreal devicePixelRatio, const QString &svgProgram);

/// A neutral tile of our own that stands for an application where the desktop has no such picture. Any thread.
QImage applicationTile(int points, qreal devicePixelRatio);

} // namespace cobblet
