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

DockSide dockSide(const Screen &screen)
{
    const double bottom = minY(screen.visibleFrame) - minY(screen.frame);
    const double left = minX(screen.visibleFrame) - minX(screen.frame);
    const double right = maxX(screen.frame) - maxX(screen.visibleFrame);
    if (bottom >= left && bottom >= right)
        return DockSide::Bottom;
    return right < left ? DockSide::Left : DockSide::Right;
}

std::optional<QPointF> dockClickPoint(const Screen &screen, const QPointF &pointer)
{
    if (!contains(screen.frame, pointer))
        return std::nullopt;
    const QRectF &visible = screen.visibleFrame;
    bool inStrip = false;
    switch (dockSide(screen)) {
    case DockSide::Bottom:
        inStrip = pointer.y() < minY(visible);
        break;
    case DockSide::Left:
        inStrip = pointer.x() < minX(visible);
        break;
    case DockSide::Right:
        inStrip = pointer.x() > maxX(visible);
        break;
    }
    return inStrip ? std::optional(pointer) : std::nullopt;
}

QSizeF fittedSize(const Screen &screen, const QSizeF &desired)
{
    // A frame smaller than both gaps still gets a window that can exist.
    const QSizeF room(screen.visibleFrame.width() - 2 * gap, screen.visibleFrame.height() - 2 * gap);
    return desired.boundedTo(room).expandedTo({1, 1});
}

QPointF panelOrigin(const Screen &screen, const QSizeF &size, std::optional<QPointF> clickPoint)
{
    const QRectF &visible = screen.visibleFrame;
    const QPointF anchor = clickPoint.value_or(screen.frame.center());
    const DockSide side = dockSide(screen);
    if (side == DockSide::Bottom) {
        return {clamped(anchor.x() - size.width() / 2, minX(visible), maxX(visible) - size.width()),
                clamped(minY(visible) + gap, minY(visible), maxY(visible) - size.height() - gap)};
    }
    // Beside a dock on the left or right the top edge keeps no gap and x is not clamped.
    const double x = side == DockSide::Left ? minX(visible) + gap : maxX(visible) - size.width() - gap;
    return {x, clamped(anchor.y() - size.height() / 2, minY(visible), maxY(visible) - size.height())};
}

} // namespace cobblet::placement
