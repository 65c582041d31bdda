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

TEST(PanelPlacement, TheDeepestInsetIsTheDocksAndTiesGoToTheBottomThenTheRight)
{
    const auto edge = [](double left, double right, double bottom) {
        return placement::dockEdge(screen(left, right, bottom, 24));
    };
    EXPECT_EQ(edge(50, 50, 50), DockEdge::Bottom);
    EXPECT_EQ(edge(50, 60, 50), DockEdge::Right);
    EXPECT_EQ(edge(50, 50, 10), DockEdge::Right);
    EXPECT_EQ(edge(60, 50, 10), DockEdge::Left);
}

TEST(PanelPlacement, OnlyThePointerInTheDockStripIsAClickPoint)
{
    struct Row {
        Screen screen;
        QPointF inside;
        QList<QPointF> outside;
    };
    for (const Row &row :
         {Row{screen(0, 0, 50), {500, 20}, {{500, 50}, {500, 400}, {500, -20}}},
          Row{screen(50, 0, 0), {49, 400}, {{50, 400}}}, Row{screen(0, 50, 0), {951, 400}, {{950, 400}, {1000, 400}}},
          Row{screen(0, 0, 50, 0, elsewhere), {-500, -290}, {{500, 20}}}}) {
        EXPECT_EQ(placement::dockClickPoint(row.screen, row.inside), row.inside);
        for (const QPointF &point : row.outside)
            EXPECT_FALSE(placement::dockClickPoint(row.screen, point)) << point.x() << ' ' << point.y();
    }
    EXPECT_FALSE(placement::dockClickPoint(screen(0, 0, 0), {500, 0})) << "no strip at all";
}

TEST(PanelPlacement, PutsThePanelBesideTheDockAndReducesItToTheVisibleFrame)
{
    constexpr QSizeF size(600, 340);
    struct Row {
        const char *what;
        Screen screen;
        QSizeF size;
        std::optional<QPointF> click;
        QRectF frame;
    };
    const Row rows[] = {
        {"centred on the full frame, not the visible one", screen(40, 0, 50), size, {}, {200, 58, 600, 340}},
        {"bottom, above the click", screen(0, 0, 50), size, QPointF(600, 10), {300, 58, 600, 340}},
        {"bottom, kept right of the left edge", screen(0, 0, 50), size, QPointF(20, 10), {0, 58, 600, 340}},
        {"bottom, kept left of the right edge", screen(0, 10, 50), size, QPointF(990, 10), {390, 58, 600, 340}},
        {"left, beside the click", screen(50, 0, 0), size, QPointF(10, 500), {58, 330, 600, 340}},
        {"left, no gap at the top", screen(50, 0, 0, 24), size, QPointF(10, 790), {58, 436, 600, 340}},
        {"left, no gap at the bottom", screen(50, 0, 0), size, QPointF(10, 5), {58, 0, 600, 340}},
        {"right, centred", screen(0, 50, 0), size, {}, {342, 230, 600, 340}},
        {"another screen", screen(0, 0, 50, 0, elsewhere), size, {}, {-800, -242, 600, 340}},
        {"too high", screen(0, 0, 50), {600, 2000}, {}, {200, 58, 600, 734}},
        {"too wide", screen(0, 0, 50), {2000, 340}, {}, {8, 58, 984, 340}},
    };
    for (const Row &row : rows) {
        const PanelPlace place = placement::place(row.screen, row.size, row.click);
        EXPECT_EQ(place.frame, row.frame) << row.what;
        EXPECT_EQ(place.anchor, row.click);
    }
}

} // namespace
} // namespace cobblet
