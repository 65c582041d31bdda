#include "ui/panel/PanelMetrics.h"
#include "ui/PanelFixture.h"
#include "ui/common/DisplayText.h"
#include "ui/common/Units.h"

#include <gtest/gtest.h>

#include <limits>

namespace cobblet {
namespace {

AppGroup groupOf(int apps)
{
    AppGroup group;
    for (int i = 0; i < apps; ++i)
        group.apps.append({QString(), QString::number(i)});
    return group;
}

TEST(Metrics, DesiredSizeFollowsTheGroupAndItsLayout)
{
    struct Case {
        const char *name;
        int apps;
        EffectivePopupLayout layout;
        QSizeF size;
    };
    const Case cases[] = {
        {"empty group, only the add cell", 0, {4, 0, true}, {592.5, 300}},
        {"rows capped, minimum height", 11, {3, 2, false}, {500.5, 300}},
        {"automatic columns", 60, {0, 5, true}, {600, 340}},
        {"negative columns are automatic", 3, {-2, 0, true}, {600, 340}},
        {"one column, minimum width", 1, {1, 0, true}, {380, 2 * 103 + 18 + 32 + 46.5}},
        {"exactly full rows get one more for the add cell", 8, {4, 0, true}, {592.5, 3 * 103 + 2 * 18 + 32 + 46.5}},
        {"one short of full", 7, {4, 0, true}, {592.5, 2 * 103 + 18 + 32 + 46.5}},
        {"cap not reached", 7, {4, 3, false}, {592.5, 300}},
        {"many applications", 60, {6, 0, true}, {776.5, 11 * 103 + 10 * 18 + 32 + 46.5}},
    };
    for (const Case &c : cases) {
        const AppGroup group = groupOf(c.apps);
        EXPECT_EQ(PanelMetrics::desiredPanelSize(&group, c.layout), c.size) << c.name;
    }
    EXPECT_EQ(PanelMetrics::desiredPanelSize(nullptr, {4, 0, true}), QSizeF(600, 340));
    const AppGroup few = groupOf(3);
    constexpr int huge = std::numeric_limits<int>::max();
    EXPECT_LT(PanelMetrics::desiredPanelSize(&few, {huge, huge, true}).width(), 1e6);
}

TEST(Metrics, ColumnsFollowTheWidthOrTheFixedNumber)
{
    struct Case {
        int fixed;
        double width;
        int columns;
    };
    const Case cases[] = {
        {0, 399.5, 4},  {0, 408, 4}, {0, 492, 5}, {0, 80, 1}, // automatic
        {4, 392, 4},    {4, 391, 4},                          // a window rounded down keeps its columns
        {2, 399.5, 2},                                        // fewer than would fit
        {20, 399.5, 4},                                       // more than the screen has room for
    };
    for (const Case &c : cases)
        EXPECT_EQ(PanelMetrics::columnCount(c.fixed, c.width), c.columns) << c.fixed << " in " << c.width;
}

TEST(DisplayText, IsOneLineOfBoundedLength)
{
    EXPECT_EQ(displayText(QStringLiteral("a\nb\tc\u2028d")), QStringLiteral("a b c d"));
    EXPECT_EQ(displayText(QStringLiteral("<b>محرر</b>")), QStringLiteral("<b>محرر</b>"));
    EXPECT_EQ(displayText(QString(100000, QLatin1Char('x'))).size(), 200);
    const QString cutInsidePair = displayText(QString(199, QLatin1Char('x')) + QStringLiteral("😀"));
    EXPECT_EQ(cutInsidePair.size(), 199) << "no half of a surrogate pair is left";
}

TEST(Units, HoverSpringOvershootsOnceAndSettles)
{
    EXPECT_EQ(Units::springProgress(0), 0);
    double peak = 0;
    for (double t = 0; t < 0.45; t += 0.002)
        peak = std::max(peak, Units::springProgress(t));
    EXPECT_NEAR(peak, 1.126, 0.003) << "a damping fraction of 0.55 overshoots by an eighth";
    EXPECT_NEAR(Units::springProgress(0.45), 1, 0.002);
    EXPECT_EQ(Units::spring().valueForProgress(1), 1);
}

} // namespace
} // namespace cobblet
