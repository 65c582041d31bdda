#include "platform/freedesktop/ScreenGeometry.h"

#include <algorithm>
#include <limits>

namespace cobblet::geometry {

namespace {

constexpr int farAway = std::numeric_limits<int>::max() / 4;

int bounded(uint32_t number)
{
    return int(std::min<uint32_t>(number, farAway));
}

bool meets(const Strut::Edge &edge, int from, int to)
{
    return edge.depth > 0 && edge.from < to && edge.to >= from;
}

} // namespace

std::optional<Strut> strutFrom(const std::vector<uint32_t> &numbers)
{
    if (numbers.size() != 12 && numbers.size() != 4)
        return std::nullopt;
    const auto edge = [&](size_t index) {
        Strut::Edge result{bounded(numbers[index]), 0, farAway};
        if (numbers.size() == 12) {
            result.from = bounded(numbers[4 + index * 2]);
            result.to = bounded(numbers[5 + index * 2]);
        }
        // Some docks fill in the depth alone.
        return result.from == 0 && result.to == 0 ? Strut::Edge{result.depth, 0, farAway} : result;
    };
    const Strut strut{edge(0), edge(1), edge(2), edge(3)};
    if (strut.left.depth + strut.right.depth == 0 && strut.top.depth + strut.bottom.depth == 0)
        return std::nullopt;
    return strut;
}

QRectF visibleFrame(const ToolkitScreen &screen, const QList<Strut> &struts, const QSize &desktop)
{
    const int left = qRound(screen.frame.x());
    const int top = qRound(screen.frame.y());
    const int right = left + qRound(screen.frame.width() * screen.scale);
    const int bottom = top + qRound(screen.frame.height() * screen.scale);

    int insetLeft = 0, insetRight = 0, insetTop = 0, insetBottom = 0;
    // A reservation is counted from the edge of the whole desktop. One that reaches through this screen to its
    // far side and beyond belongs to a dock on the next screen.
    const auto inset = [](int &current, int wanted, int extent) {
        if (wanted > current && wanted < extent)
            current = wanted;
    };
    for (const Strut &strut : struts) {
        if (meets(strut.left, top, bottom))
            inset(insetLeft, strut.left.depth - left, right - left);
        if (meets(strut.right, top, bottom))
            inset(insetRight, strut.right.depth - (desktop.width() - right), right - left);
        if (meets(strut.top, left, right))
            inset(insetTop, strut.top.depth - top, bottom - top);
        if (meets(strut.bottom, left, right))
            inset(insetBottom, strut.bottom.depth - (desktop.height() - bottom), bottom - top);
    }
    if (insetLeft + insetRight >= right - left || insetTop + insetBottom >= bottom - top)
        return screen.frame;
    return screen.frame.adjusted(insetLeft / screen.scale, insetTop / screen.scale, -insetRight / screen.scale,
                                 -insetBottom / screen.scale);
}

QRectF toYUp(const QRectF &yDown, const QRectF &mainFrame)
{
    return {yDown.x() - mainFrame.x(), mainFrame.bottom() - yDown.bottom(), yDown.width(), yDown.height()};
}

QRectF toYDown(const QRectF &yUp, const QRectF &mainFrame)
{
    return {yUp.x() + mainFrame.x(), mainFrame.bottom() - yUp.bottom(), yUp.width(), yUp.height()};
}

QPointF toYUp(const QPointF &yDown, const QRectF &mainFrame)
{
    return {yDown.x() - mainFrame.x(), mainFrame.bottom() - yDown.y()};
}

} // namespace cobblet::geometry
