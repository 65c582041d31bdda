#pragma once

#include <QString>

class QPainter;

namespace cobblet {

/// Draws a text of so many pixels in height, usually one emoji, with its box in the middle of a square image of
/// `side` pixels, in the colour of the pen. Of a long text only the start is drawn. Any thread.
void drawCentredText(QPainter &painter, const QString &text, double pixels, int side);

} // namespace cobblet
