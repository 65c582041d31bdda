#include "shell/PanelPlacement.h"

#include <algorithm>

// In y-up rectangles top() is the lower edge and bottom() the upper one.
namespace cobblet::placement {

namespace {

/// First not above `high`, then not below `low`: where both cannot hold, `low` wins.
double clamped(double value, double low, double high)
{
    return std::max(std::min(value, high), low);
}

} // namespace

bool contains(const QRectF &frame, const QPointF &point)
{
    return point.x() >= frame.left() && point.x() < frame.right() && point.y() >= frame.top() &&
           point.y() < frame.bottom();
}

DockEdge dockEdge(const Screen &screen)
{
    const double bottom = screen.visibleFrame.top() - screen.frame.top();
    const double left = screen.visibleFrame.left() - screen.frame.left();
    const double right = screen.frame.right() - screen.visibleFrame.right();
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
    const bool inStrip = edge == DockEdge::Bottom ? pointer.y() < visible.top()
                         : edge == DockEdge::Left ? pointer.x() < visible.left()
                                                  : pointer.x() > visible.right();
    return inStrip ? std::optional(pointer) : std::nullopt;
}

QSizeF room(const Screen &screen)
{
    // A frame smaller than both gaps still gets a window that can exist.
    return (screen.visibleFrame.size() - QSizeF(2 * gap, 2 * gap)).expandedTo({1, 1});
}

PanelPlace place(const Screen &screen, const QSizeF &desired, std::optional<QPointF> anchor)
{
    const QRectF &visible = screen.visibleFrame;
    const QSizeF size = desired.boundedTo(room(screen));
    const DockEdge edge = dockEdge(screen);
    const QPointF middle = anchor.value_or(screen.frame.center());
    QPointF origin;
    if (edge == DockEdge::Bottom)
        origin = {clamped(middle.x() - size.width() / 2, visible.left(), visible.right() - size.width()),
                  clamped(visible.top() + gap, visible.top(), visible.bottom() - size.height() - gap)};
    else // beside a dock on the left or right the top edge keeps no gap and x is not clamped
        origin = {edge == DockEdge::Left ? visible.left() + gap : visible.right() - size.width() - gap,
                  clamped(middle.y() - size.height() / 2, visible.top(), visible.bottom() - size.height())};
    return {screen.name, edge, anchor, size, QRectF(origin, size)};
}

} // namespace cobblet::placement
