#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace cobblet {

/// An SVG document as a square of `side` pixels, in the middle and with its proportions kept; drawn by the program of
/// the room `svg`, which is found at `program`. Null when it is no such document, takes more than icons do, or there
/// is no program. Any thread but, for as long as the program takes to start, better not the main one.
QImage svgImage(const QString &program, const QByteArray &document, int side);

} // namespace cobblet
