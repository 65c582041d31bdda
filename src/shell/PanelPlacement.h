#pragma once

#include "platform/Screens.h"

#include <QSizeF>

#include <optional>

/// Where the panel goes: pure functions on y-up rectangles in points.
namespace cobblet::placement {

enum class DockSide { Bottom, Left, Right };

/// The gap between the panel and the dock, in points.
inline constexpr double gap = 8;

/// Whether the point lies on the screen with this frame; a point on the border of two screens lies on one.
bool contains(const QRectF &frame, const QPointF &point);

/// The side on which the dock narrows the screen; the bottom when none or in doubt.
DockSide dockSide(const Screen &screen);

/// The pointer, when it lies in the screen's dock strip; absent anywhere else.
std::optional<QPointF> dockClickPoint(const Screen &screen, const QPointF &pointer);

/// The size reduced to what the visible frame holds with a gap on both sides.
QSizeF fittedSize(const Screen &screen, const QSizeF &desired);

/// The panel's lower left corner: beside the dock at the click point, or centred without one.
QPointF panelOrigin(const Screen &screen, const QSizeF &size, std::optional<QPointF> clickPoint);

} // namespace cobblet::placement
