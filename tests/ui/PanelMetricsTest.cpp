#include "ui/panel/PanelMetrics.h"
#include "ui/PanelFixture.h"
#include "ui/common/DisplayText.h"
#include "ui/common/Symbols.h"

#include <gtest/gtest.h>

#include <limits>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

TEST(Metrics, DesiredSizeFollowsTheGroupAndItsLayout)
{
    constexpr int huge = std::numeric_limits<int>::max();
    struct Case {
        const char *name;
        int apps;
        EffectivePopupLayout layout;
        QSizeF size;
    };
    const Case cases[] = {
        {"empty group, only the add cell", 0, {4, 0, true}, {592.5, 300}},
        {"rows capped, minimum height", 11, {3, 2, false}, {500.5, 300}},
        {"automatic columns", 60, {-2, 5, true}, {600, 340}},
        {"one column, minimum width", 1, {1, 0, true}, {380, 302.5}},
        {"exactly full rows get one more for the add cell", 8, {4, 0, true}, {592.5, 423.5}},
        {"one short of full", 7, {4, 0, true}, {592.5, 302.5}},
        {"more columns than any screen has room for", 3, {huge, huge, true}, {92224.5, 300}},
    };
    for (const Case &c : cases) {
        AppGroup group;
        group.apps.resize(c.apps);
        EXPECT_EQ(PanelMetrics::desiredPanelSize(&group, c.layout), c.size) << c.name;
    }
    EXPECT_EQ(PanelMetrics::desiredPanelSize(nullptr, {4, 0, true}), QSizeF(600, 340));
}

TEST(Metrics, ColumnsFollowTheWidthOrTheFixedNumber)
{
    for (const double width : {80.0, 399.5, 492.0})
        EXPECT_EQ(PanelMetrics::columnCount(0, width), width < 100 ? 1 : width < 400 ? 4 : 5) << width;
    EXPECT_EQ(PanelMetrics::columnCount(4, 391), 4) << "a window rounded down keeps its columns";
    EXPECT_EQ(PanelMetrics::columnCount(2, 399.5), 2) << "fewer than would fit";
    EXPECT_EQ(PanelMetrics::columnCount(20, 399.5), 4) << "more than there is room for";
}

TEST(DisplayText, IsOneLineOfBoundedLength)
{
    EXPECT_EQ(displayText(u"a\nb\tc\u2028d"_s), u"a b c d"_s);
    EXPECT_EQ(displayText(QString(100000, u'x')).size(), 200);
    EXPECT_EQ(displayText(QString(199, u'x') + u"😀"_s).size(), 199) << "no half of a surrogate pair is left";
}

TEST(Symbols, EveryNameTheViewsUseIsDrawnInTheColourAskedFor)
{
    for (const char *name :
         {"plus", "sidebar.left", "gearshape", "tray", "clock.badge.questionmark", "app.fill", "play.fill",
          "exclamationmark.octagon", "xmark", "eye.slash", "info.circle", "pin", "pin.slash",
          "arrow.up.forward.square", "trash", "macwindow", "gear", "square.grid.2x2", "folder"}) {
        const QImage image = symbolImage(QLatin1String(name), Qt::red, 16, 2);
        ASSERT_EQ(image.size(), QSize(32, 32)) << name;
        const QColor mean = image.scaled(1, 1, {}, Qt::SmoothTransformation).pixelColor(0, 0);
        EXPECT_TRUE(mean.alpha() > 5 && mean.red() > 200 && mean.green() == 0) << name << ' ' << mean.alpha();
    }
    EXPECT_TRUE(symbolImage(u"no.such.symbol"_s, Qt::red, 16, 1).isNull());
}

} // namespace
} // namespace cobblet
