#include "shell/PanelPlacement.h"

#include "support/FakeDesktop.h"
#include "support/Test.h"

namespace cobblet {
namespace {

/// A 1000 x 800 screen at (x, y) whose visible frame is inset by these amounts.
Screen screen(double left, double right, double bottom, double top = 0, QPointF at = {})
{
    const QRectF frame(at, QSizeF(1000, 800));
    return {QStringLiteral("s"), frame, frame.adjusted(left, bottom, -right, -top)};
}

const QPointF elsewhere(-1000, -300);

TEST(PanelPlacement, OnlyThePointerInTheStripOfTheDeepestInsetIsAClickPoint)
{
    const auto edge = [](double left, double right, double bottom) {
        return placement::dockEdge(screen(left, right, bottom, 24));
    };
    EXPECT_EQ(edge(50, 50, 50), DockEdge::Bottom) << "ties go to the bottom, then to the right";
    EXPECT_EQ(edge(50, 50, 10), DockEdge::Right);
    EXPECT_EQ(edge(60, 50, 10), DockEdge::Left);

    const std::tuple<Screen, QPointF, QPointF> rows[] = {// a point in the strip, and one that is not
                                                         {screen(0, 0, 50), {500, 20}, {500, 50}},
                                                         {screen(50, 0, 0), {49, 400}, {50, 400}},
                                                         {screen(0, 50, 0), {951, 400}, {1000, 400}},
                                                         {screen(0, 0, 50, 0, elsewhere), {-500, -290}, {500, 20}}};
    for (const auto &[screen, inside, outside] : rows) {
        EXPECT_EQ(placement::dockClickPoint(screen, inside), inside);
        EXPECT_FALSE(placement::dockClickPoint(screen, outside)) << outside.x();
    }
    EXPECT_FALSE(placement::dockClickPoint(screen(0, 0, 0), {500, 0})) << "no strip at all";
}

TEST(PanelPlacement, PutsThePanelBesideTheDockAndReducesItToTheVisibleFrame)
{
    constexpr QSizeF size(600, 340);
    const struct {
        const char *what;
        Screen screen;
        QSizeF size;
        std::optional<QPointF> click;
        QRectF frame;
    } rows[] = {
        {"centred on the full frame, not the visible one", screen(40, 0, 50), size, {}, {200, 58, 600, 340}},
        {"bottom, kept right of the left edge", screen(0, 0, 50), size, QPointF(20, 10), {0, 58, 600, 340}},
        {"bottom, kept left of the right edge", screen(0, 10, 50), size, QPointF(990, 10), {390, 58, 600, 340}},
        {"left, beside the click", screen(50, 0, 0), size, QPointF(10, 500), {58, 330, 600, 340}},
        {"left, no gap at the top", screen(50, 0, 0, 24), size, QPointF(10, 790), {58, 436, 600, 340}},
        {"left, no gap at the bottom", screen(50, 0, 0), size, QPointF(10, 5), {58, 0, 600, 340}},
        {"right, centred", screen(0, 50, 0), size, {}, {342, 230, 600, 340}},
        {"another screen", screen(0, 0, 50, 0, elsewhere), size, {}, {-800, -242, 600, 340}},
        {"too large", screen(0, 0, 50), {2000, 2000}, {}, {8, 58, 984, 734}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(placement::place(row.screen, row.size, row.click).frame, row.frame) << row.what;
}

} // namespace
} // namespace cobblet
