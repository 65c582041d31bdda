#include "shell/PanelPlacement.h"

#include <gtest/gtest.h>

inline void PrintTo(const QPointF &p, std::ostream *out)
{
    *out << '(' << p.x() << ", " << p.y() << ')';
}

namespace cobblet {
namespace {

/// A 1000 x 800 screen at (x, y) whose visible frame is inset by these amounts.
Screen screen(double left, double right, double bottom, double top = 0, QPointF at = {})
{
    const QRectF frame(at, QSizeF(1000, 800));
    return {QStringLiteral("s"), frame, frame.adjusted(left, bottom, -right, -top)};
}

TEST(PanelPlacement, FindsTheEdgeOfTheDock)
{
    struct Row {
        const char *what;
        double left, right, bottom;
        DockEdge edge;
    };
    const Row rows[] = {
        {"no dock", 0, 0, 0, DockEdge::Bottom},
        {"bottom", 0, 0, 50, DockEdge::Bottom},
        {"left", 50, 0, 0, DockEdge::Left},
        {"right", 0, 50, 0, DockEdge::Right},
        {"a tie goes to the bottom", 50, 50, 50, DockEdge::Bottom},
        {"as deep as the left only", 50, 60, 50, DockEdge::Right},
        {"left and right alike", 50, 50, 10, DockEdge::Right},
        {"left deeper than right", 60, 50, 10, DockEdge::Left},
    };
    for (const Row &row : rows)
        EXPECT_EQ(placement::dockEdge(screen(row.left, row.right, row.bottom, 24)), row.edge) << row.what;
}

TEST(PanelPlacement, OnlyThePointerInTheDockStripIsAClickPoint)
{
    struct Row {
        const char *what;
        Screen screen;
        QPointF pointer;
        bool isClick;
    };
    const Row rows[] = {
        {"in the strip below", screen(0, 0, 50), {500, 20}, true},
        {"on the strip's upper edge", screen(0, 0, 50), {500, 50}, false},
        {"above the strip", screen(0, 0, 50), {500, 400}, false},
        {"in the strip on the left", screen(50, 0, 0), {49, 400}, true},
        {"right of that strip", screen(50, 0, 0), {50, 400}, false},
        {"in the strip on the right", screen(0, 50, 0), {951, 400}, true},
        {"left of that strip", screen(0, 50, 0), {950, 400}, false},
        {"below another screen's strip", screen(0, 0, 50), {500, -20}, false},
        {"beyond the right edge", screen(0, 50, 0), {1000, 400}, false},
        {"no strip at all", screen(0, 0, 0), {500, 0}, false},
        {"a screen at negative coordinates", screen(0, 0, 50, 0, {-1000, -300}), {-500, -290}, true},
    };
    for (const Row &row : rows) {
        const auto expected = row.isClick ? std::optional(row.pointer) : std::nullopt;
        EXPECT_EQ(placement::dockClickPoint(row.screen, row.pointer), expected) << row.what;
    }
}

TEST(PanelPlacement, PutsThePanelBesideTheDock)
{
    using Click = std::optional<QPointF>;
    constexpr QSizeF size(600, 340);
    struct Row {
        const char *what;
        Screen screen;
        QSizeF size;
        Click click;
        QPointF origin;
    };
    const Row rows[] = {
        {"bottom, centred", screen(0, 0, 50), size, {}, {200, 58}},
        {"centred on the full frame, not the visible one", screen(40, 0, 50), size, {}, {200, 58}},
        {"bottom, above the click", screen(0, 0, 50), size, QPointF(600, 10), {300, 58}},
        {"bottom, kept right of the left edge", screen(0, 0, 50), size, QPointF(20, 10), {0, 58}},
        {"bottom, kept left of the right edge", screen(0, 10, 50), size, QPointF(990, 10), {390, 58}},
        {"left, centred", screen(50, 0, 0), size, {}, {58, 230}},
        {"left, beside the click", screen(50, 0, 0), size, QPointF(10, 500), {58, 330}},
        {"left, no gap at the top", screen(50, 0, 0, 24), size, QPointF(10, 790), {58, 436}},
        {"left, no gap at the bottom", screen(50, 0, 0), size, QPointF(10, 5), {58, 0}},
        {"right, centred", screen(0, 50, 0), size, {}, {342, 230}},
        {"another screen", screen(0, 0, 50, 0, {-1000, -300}), size, {}, {-800, -242}},
    };
    for (const Row &row : rows) {
        const PanelPlace place = placement::place(row.screen, row.size, row.click);
        EXPECT_EQ(place.frame, QRectF(row.origin, row.size)) << row.what;
        EXPECT_EQ(place.anchor, row.click);
    }
}

TEST(PanelPlacement, ReducesTheSizeToTheVisibleFrame)
{
    const Screen s = screen(0, 0, 50);
    EXPECT_EQ(placement::place(s, {600, 2000}, {}).frame, QRectF(200, 58, 600, 734));
    EXPECT_EQ(placement::place(s, {2000, 340}, {}).frame, QRectF(8, 58, 984, 340));
    EXPECT_FALSE(placement::place(screen(0, 0, 795), {600, 340}, {}).size.isEmpty());
}

} // namespace
} // namespace cobblet
