#include "ui/panel/PanelMetrics.h"
#include "ui/PanelFixture.h"
#include "ui/common/DisplayText.h"
#include "ui/common/Symbols.h"
#include "ui/common/ThemeColors.h"

#include <cmath>
#include <limits>

namespace cobblet {
namespace {

TEST(Metrics, DesiredSizeFollowsTheGroupAndItsLayout)
{
    constexpr int huge = std::numeric_limits<int>::max();
    const struct {
        int apps;
        EffectivePopupLayout layout;
        QSizeF size;
    } cases[] = {
        {60, {-2, 5, true}, {600, 340}},      // automatic columns
        {8, {4, 0, true}, {592.5, 423.5}},    // exactly full rows get one more for the add cell
        {11, {3, 2, false}, {500.5, 300}},    // rows capped, minimum height
        {3, {1, huge, true}, {380, 544.5}},   // minimum width
        {3, {huge, 0, true}, {92224.5, 300}}, // more columns than any screen has room for
    };
    for (const auto &[apps, layout, size] : cases) {
        AppGroup group;
        group.apps.resize(apps);
        EXPECT_EQ(PanelMetrics::desiredPanelSize(&group, layout), size) << apps;
    }
    EXPECT_EQ(PanelMetrics::desiredPanelSize(nullptr, {4, 0, true}), QSizeF(600, 340));
}

TEST(Metrics, ColumnsFollowTheWidthOrTheFixedNumber)
{
    for (const auto &[width, columns] : {std::pair(80.0, 1), {399.5, 4}, {492.0, 5}})
        EXPECT_EQ(PanelMetrics::columnCount(0, width, 1000), columns) << width;
    EXPECT_EQ(PanelMetrics::columnCount(8, 150, 1000), 8) << "the panel is on its way to its size";
    EXPECT_EQ(PanelMetrics::columnCount(4, 391, 391), 4) << "a screen rounded down keeps its columns";
    EXPECT_EQ(PanelMetrics::columnCount(20, 399.5, 399.5), 4) << "more than the screen has room for";
}

double luminance(const QColor &color)
{
    const auto linear = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &one, const QColor &other)
{
    const double ratio = (luminance(one) + 0.05) / (luminance(other) + 0.05);
    return std::max(ratio, 1 / ratio);
}

TEST(ThemeColors, TextIsReadOverAnythingThatIsNotBlurredAndTheOutlineStandsOffWithoutAShadow)
{
    test::PanelFixture f;
    ThemeColors colors(f.theme, f.appearance);
    for (const bool dark : {false, true}) {
        f.appearance.setDark(dark);
        const auto read = [&](const QColor &text, const QColor &behind) {
            const QColor panel = over(colors.palette().panelBG, behind);
            return contrast(over(text, panel), panel);
        };
        f.setPreference(u"glassyStyle"_s, false);
        const double solid = read(colors.palette().text2, Qt::black);
        f.setPreference(u"glassyStyle"_s, true);
        for (const QColor behind : {Qt::black, Qt::white}) {
            EXPECT_GE(read(colors.palette().text, behind), 4.5);
            EXPECT_GE(read(colors.palette().text2, behind), std::min(4.5, 0.9 * solid));
        }
        const QColor border = colors.outline();
        colors.setBackdrop(Backdrop::Nothing);
        EXPECT_EQ(colors.palette().panelBG.alpha(), 255);
        EXPECT_GE(contrast(colors.edge(), dark ? Qt::black : Qt::white), 3);
        colors.setBackdrop(Backdrop::Blurred);
        EXPECT_EQ(colors.palette().panelBG, CBTheme::palette(f.theme.effectiveScheme(), true).panelBG);
        EXPECT_EQ(colors.outline(), border);
        EXPECT_EQ(colors.windowColor().alpha(), 0);
        colors.setBackdrop(Backdrop::Sharp);
    }
}

TEST(DisplayText, IsOneLineOfBoundedLength)
{
    EXPECT_EQ(displayText(u"a\nb\tc\u2028d"_s), u"a b c d"_s);
    EXPECT_EQ(displayText(QString(100000, u'x')).size(), 200);
    EXPECT_EQ(displayText(QString(199, u'x') + u"😀"_s).size(), 199) << "no half of a surrogate pair is left";
}

TEST(Symbols, EveryNameTheViewsUseIsDrawnInTheColourAskedFor)
{
    const QString names =
        u"plus sidebar.left gearshape tray clock.badge.questionmark app.fill play.fill exclamationmark.octagon xmark "
        "eye.slash info.circle pin pin.slash arrow.up.forward.square macwindow gear square.grid.2x2 folder checkmark "
        "arrow.up.forward.app xmark.circle dock.rectangle"_s;
    for (const QString &name : names.split(u' ')) {
        const QImage image = symbolImage(name, Qt::red, 16, 2);
        ASSERT_EQ(image.size(), QSize(32, 32)) << qPrintable(name);
        const QColor mean = image.scaled(1, 1, {}, Qt::SmoothTransformation).pixelColor(0, 0);
        EXPECT_TRUE(mean.alpha() > 5 && mean.red() > 200 && mean.green() == 0) << qPrintable(name);
    }
    EXPECT_TRUE(symbolImage(u"no.such.symbol"_s, Qt::red, 16, 1).isNull());
}

} // namespace
} // namespace cobblet
