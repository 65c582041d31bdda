#include "platform/freedesktop/ScreenGeometry.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace cobblet::geometry {

namespace {

constexpr int farAway = std::numeric_limits<int>::max() / 4;

int bounded(uint32_t number)
{
    return int(std::min<uint32_t>(number, farAway));
}

} // namespace

std::optional<Strut> strutFrom(const std::vector<uint32_t> &numbers)
{
    if (numbers.size() != 12 && numbers.size() != 4)
        return std::nullopt;
    Strut strut;
    bool reserves = false;
    for (size_t i = 0; i < strut.size(); ++i) {
        strut[i] = {bounded(numbers[i]), 0, farAway};
        // Some docks fill in the depth alone.
        if (numbers.size() == 12 && (numbers[4 + i * 2] != 0 || numbers[5 + i * 2] != 0))
            strut[i] = {strut[i].depth, bounded(numbers[4 + i * 2]), bounded(numbers[5 + i * 2])};
        reserves = reserves || strut[i].depth > 0;
    }
    return reserves ? std::optional(strut) : std::nullopt;
}

QRectF visibleFrame(const ToolkitScreen &screen, const QList<Strut> &struts, const QSize &desktop)
{
    const int left = qRound(screen.frame.x());
    const int top = qRound(screen.frame.y());
    const int width = qRound(screen.frame.width() * screen.scale);
    const int height = qRound(screen.frame.height() * screen.scale);
    // What lies between each edge of the desktop and the screen.
    const int outside[] = {left, desktop.width() - left - width, top, desktop.height() - top - height};
    int insets[4] = {};
    for (const Strut &strut : struts)
        for (size_t i = 0; i < strut.size(); ++i) {
            const bool isUpright = i < 2;
            const auto [start, length, depth] =
                isUpright ? std::tuple(top, height, width) : std::tuple(left, width, height);
            const int inset = strut[i].depth - outside[i];
            // One that reaches through this screen to its far side and beyond belongs to a dock on the next screen.
            if (strut[i].depth > 0 && strut[i].from < start + length && strut[i].to >= start && inset < depth)
                insets[i] = std::max(insets[i], inset);
        }
    if (insets[0] + insets[1] >= width || insets[2] + insets[3] >= height)
        return screen.frame;
    return screen.frame.adjusted(insets[0] / screen.scale, insets[2] / screen.scale, -insets[1] / screen.scale,
                                 -insets[3] / screen.scale);
}

QRectF inWorkArea(const QRectF &visible, const QRectF &workArea)
{
    const QRectF common = visible & workArea;
    if (common.isEmpty())
        return visible;
    const auto edge = [](double own, double other) { return std::abs(other - own) > 1 ? other : own; };
    return {QPointF(edge(visible.left(), common.left()), edge(visible.top(), common.top())),
            QPointF(edge(visible.right(), common.right()), edge(visible.bottom(), common.bottom()))};
}

QString reservedEdges(const QRectF &frame, const QRectF &visible)
{
    QStringList edges;
    for (const auto &[name, depth] : {std::pair("left", visible.left() - frame.left()),
                                      {"right", frame.right() - visible.right()},
                                      {"top", frame.bottom() - visible.bottom()},
                                      {"bottom", visible.top() - frame.top()}})
        if (qRound(depth) > 0)
            edges.append(QStringLiteral("%1 points at the %2").arg(qRound(depth)).arg(QLatin1String(name)));
    return edges.join(QStringLiteral(", "));
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
