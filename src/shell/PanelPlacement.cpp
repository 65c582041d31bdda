#include "shell/PanelPlacement.h"

#include <algorithm>

namespace cobblet::placement {

namespace {

// In y-up rectangles the lower edge is top() and the upper edge is bottom(); these names say which is meant.
double minX(const QRectF &r)
{
    return r.left();
}
double maxX(const QRectF &r)
{
    return r.right();
}
double minY(const QRectF &r)
{
    return r.top();
}
double maxY(const QRectF &r)
{
    return r.bottom();
}

/// First not above `high`, then not below `low`: where both cannot hold, `low` wins.
double clamped(double value, double low, double high)
{
    return std::max(std::min(value, high), low);
}

} // namespace

bool contains(const QRectF &frame, const QPointF &point)
{
    return point.x() >= minX(frame) && point.x() < maxX(frame) && point.y() >= minY(frame) && point.y() < maxY(frame);
}

DockEdge dockEdge(const Screen &screen)
{
    const double bottom = minY(screen.visibleFrame) - minY(screen.frame);
    const double left = minX(screen.visibleFrame) - minX(screen.frame);
    const double right = maxX(screen.frame) - maxX(screen.visibleFrame);
    if (bottom >= left && bottom >= right)
        return DockEdge::Bottom;
    return right < left ? DockEdge::Left : DockEdge::Right;
}

std::optional<QPointF> dockClickPoint(const Screen &screen, const QPointF &pointer)
{
    if (!contains(screen.frame, pointer))
        return std::nullopt;
    const QRectF &visible = screen.visibleFrame;
    const DockEdge edge = dockEdge(screen);
    const bool inStrip = edge == DockEdge::Bottom ? pointer.y() < minY(visible)
                         : edge == DockEdge::Left ? pointer.x() < minX(visible)
                                                  : pointer.x() > maxX(visible);
    return inStrip ? std::optional(pointer) : std::nullopt;
}

PanelPlace place(const Screen &screen, const QSizeF &desired, std::optional<QPointF> anchor)
{
    const QRectF &visible = screen.visibleFrame;
    // A frame smaller than both gaps still gets a window that can exist.
    const QSizeF room(visible.width() - 2 * gap, visible.height() - 2 * gap);
    const QSizeF size = desired.boundedTo(room).expandedTo({1, 1});
    const DockEdge edge = dockEdge(screen);
    const QPointF middle = anchor.value_or(screen.frame.center());
    QPointF origin;
    if (edge == DockEdge::Bottom)
        origin = {clamped(middle.x() - size.width() / 2, minX(visible), maxX(visible) - size.width()),
                  clamped(minY(visible) + gap, minY(visible), maxY(visible) - size.height() - gap)};
    else // beside a dock on the left or right the top edge keeps no gap and x is not clamped
        origin = {edge == DockEdge::Left ? minX(visible) + gap : maxX(visible) - size.width() - gap,
                  clamped(middle.y() - size.height() / 2, minY(visible), maxY(visible) - size.height())};
    return {screen.name, edge, anchor, size, QRectF(origin, size)};
}

} // namespace cobblet::placement
