#pragma once

#include "platform/PanelSurface.h"
#include "platform/Screens.h"

#include <optional>

/// Where the panel goes: pure functions on y-up rectangles in points.
namespace cobblet::placement {

/// The gap between the panel and the dock, in points.
inline constexpr double gap = 8;

/// Whether the point lies on the screen with this frame; a point on the border of two screens lies on one.
bool contains(const QRectF &frame, const QPointF &point);

/// The edge at which the dock narrows the screen; the bottom when none or in doubt.
DockEdge dockEdge(const Screen &screen);

/// The pointer, when it lies in the screen's dock strip; absent anywhere else.
std::optional<QPointF> dockClickPoint(const Screen &screen, const QPointF &pointer);

/// The largest panel that a screen holds: its visible frame with a gap on both sides.
QSizeF room(const Screen &screen);

/// Where a panel that asks for this size goes: beside the dock at the click point, or centred without one, and no
/// larger than the screen's room.
PanelPlace place(const Screen &screen, const QSizeF &desired, std::optional<QPointF> anchor);

} // namespace cobblet::placement
