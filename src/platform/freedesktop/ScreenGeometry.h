#pragma once

#include <QList>
#include <QRect>
#include <QRectF>
#include <QSize>
#include <QString>

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

/// From docks' reservations in pixels to visible frames in points, and between y-down and y-up: pure functions.
namespace cobblet::geometry {

/// What a dock reserves along an edge of the whole desktop, in pixels. The range is inclusive and runs along the
/// edge.
struct Reservation {
    int depth = 0;
    int from = 0;
    int to = 0;
};
/// Of one dock: at the left, right, top and bottom edge.
using Strut = std::array<Reservation, 4>;

/// Reads _NET_WM_STRUT_PARTIAL (12 numbers) or the older _NET_WM_STRUT (4); absent when it reserves nothing.
std::optional<Strut> strutFrom(const std::vector<uint32_t> &numbers);

/// One screen as the toolkit has it: its frame in y-down points begins where its pixels begin.
struct ToolkitScreen {
    QRectF frame;
    double scale = 1; ///< pixels in a point
};

/// The part of the screen's frame (y-down points) that no dock on a desktop of `desktop` pixels has reserved.
QRectF visibleFrame(const ToolkitScreen &screen, const QList<Strut> &struts, const QSize &desktop);

/// What the window manager leaves free too: some keep a bar of their own, which reserves nothing, out of the work
/// area. Both are in y-down points and may be rounded apart by up to one.
QRectF inWorkArea(const QRectF &visible, const QRectF &workArea);

/// Which edges are kept free, as a person is told: "48 points at the bottom". Of y-up frames; empty when none is.
QString reservedEdges(const QRectF &frame, const QRectF &visible);

/// `mainFrame` is the main screen's in y-down points. The two are each other's inverse.
QRectF toYUp(const QRectF &yDown, const QRectF &mainFrame);
QRectF toYDown(const QRectF &yUp, const QRectF &mainFrame);
QPointF toYUp(const QPointF &yDown, const QRectF &mainFrame);

} // namespace cobblet::geometry
