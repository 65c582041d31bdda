#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "support/FakeDesktop.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cmath>

namespace cobblet {
namespace {

TEST(PopupSettings, ReadsEachKeyWithItsFallback)
{
    struct {
        const char *key;
        QVariant value;
        EffectivePopupLayout layout;
        bool showsMostUsed;
    } const cases[] = {
        {"unrelated", 5, {0, 0, true, PopupAnchor::DockCenter}, true},
        {"popupColumns", 4, {4, 0, true, PopupAnchor::DockCenter}, true},
        {"popupColumns", -3, {0, 0, true, PopupAnchor::DockCenter}, true},
        {"popupColumns", qint64(1) << 40, {2147483647, 0, true, PopupAnchor::DockCenter}, true},
        {"popupMaxRows", QStringLiteral("2"), {0, 0, true, PopupAnchor::DockCenter}, true},
        {"popupMaxRows", 2, {0, 2, true, PopupAnchor::DockCenter}, true},
        {"popupShowsTitles", false, {0, 0, false, PopupAnchor::DockCenter}, true},
        {"popupShowsMostUsed", false, {0, 0, true, PopupAnchor::DockCenter}, false},
        {"popupAnchor", QStringLiteral("dockIcon"), {0, 0, true, PopupAnchor::DockIcon}, true},
        {"popupAnchor", QStringLiteral("DockIcon"), {0, 0, true, PopupAnchor::DockCenter}, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.key);
        test::FakeDefaults defaults;
        PopupSettings settings(defaults);
        QSignalSpy changed(&settings, &PopupSettings::changed);
        (void)defaults.set(QString::fromLatin1(c.key), c.value);
        (void)defaults.set(QStringLiteral("unrelated"), 1);
        EXPECT_EQ(settings.effectiveLayout(nullptr), c.layout);
        EXPECT_EQ(settings.showsMostUsed(), c.showsMostUsed);
        const bool differs = c.layout != EffectivePopupLayout() || !c.showsMostUsed;
        EXPECT_EQ(changed.count(), differs ? 1 : 0) << "observers hear of real changes only";
    }
}

TEST(PopupSettings, EachValueOfAGroupWinsOverTheGlobalOneByItself)
{
    test::FakeDefaults defaults;
    defaults.stored = {{QStringLiteral("popupMaxRows"), qint64(3)},
                       {QStringLiteral("popupShowsTitles"), false},
                       {QStringLiteral("popupAnchor"), QStringLiteral("dockIcon")}};
    const PopupSettings settings(defaults);
    AppGroup group;
    EXPECT_EQ(settings.effectiveLayout(&group), (EffectivePopupLayout{0, 3, false, PopupAnchor::DockIcon}));
    group.popupColumns = 4;
    EXPECT_EQ(settings.effectiveLayout(&group), (EffectivePopupLayout{4, 3, false, PopupAnchor::DockIcon}));
    group.popupMaxRows = -1;
    group.popupShowsTitles = true;
    group.popupAnchor = PopupAnchor::DockCenter;
    EXPECT_EQ(settings.effectiveLayout(&group), (EffectivePopupLayout{4, -1, true, PopupAnchor::DockCenter}));
}

TEST(ThemeManager, FollowsTheChoiceOrElseTheDesktop)
{
    struct {
        const char *choice; ///< null: none is stored
        ColorScheme onLight, onDark;
    } const cases[] = {
        {nullptr, ColorScheme::Light, ColorScheme::Dark}, {"system", ColorScheme::Light, ColorScheme::Dark},
        {"Dark", ColorScheme::Light, ColorScheme::Dark},  {"light", ColorScheme::Light, ColorScheme::Light},
        {"dark", ColorScheme::Dark, ColorScheme::Dark},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.choice ? c.choice : "none");
        test::FakeDefaults defaults;
        test::FakeAppearance appearance;
        ThemeManager theme(defaults, appearance);
        QSignalSpy changed(&theme, &ThemeManager::changed);
        if (c.choice)
            (void)defaults.set(QStringLiteral("panelTheme"), QString::fromLatin1(c.choice));
        EXPECT_EQ(theme.effectiveScheme(), c.onLight);
        appearance.setDark(true);
        EXPECT_EQ(theme.effectiveScheme(), c.onDark);
        EXPECT_EQ(changed.count(), c.onDark == ColorScheme::Dark ? 1 : 0);
    }
}

TEST(ThemeManager, IsGlassyWhenStoredOrRegistered)
{
    test::FakeDefaults defaults;
    test::FakeAppearance appearance;
    EXPECT_FALSE(ThemeManager(defaults, appearance).glassyStyle());
    defaults.registerDefault(QStringLiteral("glassyStyle"), true);
    ThemeManager theme(defaults, appearance);
    EXPECT_TRUE(theme.glassyStyle());
    (void)defaults.set(QStringLiteral("glassyStyle"), false);
    EXPECT_EQ(&theme.theme(), &CBTheme::palette(ColorScheme::Light, false));
}

struct Expected {
    int red, green, blue;
    double opacity;
};

testing::AssertionResult shows(const QColor &color, const Expected &expected)
{
    const bool same = color.red() == expected.red && color.green() == expected.green &&
                      color.blue() == expected.blue &&
                      std::abs(double(color.alphaF()) - expected.opacity) < 1.0 / 65535;
    if (same)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "rgba " << color.red() << ' ' << color.green() << ' ' << color.blue() << ' '
                                       << color.alphaF();
}

TEST(Palettes, HaveTheirExactNumbers)
{
    const Expected gray{60, 60, 67, 0}, pale{235, 235, 245, 0}, black{0, 0, 0, 0}, white{255, 255, 255, 0};
    const auto at = [](Expected color, double opacity) {
        color.opacity = opacity;
        return color;
    };
    struct {
        ColorScheme scheme;
        bool glassy;
        Expected text, text2, text3, sidebarBG, selBG, hoverBG, hairline, kbd, toolHover, border, shadow;
        double shadowRadius, shadowY;
    } const cases[] = {
        {ColorScheme::Light,
         false,
         {29, 29, 31, 1},
         at(gray, .62),
         at(gray, .4),
         at(black, .018),
         at(white, 1),
         at(black, .05),
         at(black, .08),
         at(gray, .4),
         at(black, .06),
         at(black, .1),
         at(black, .16),
         1.25,
         1},
        {ColorScheme::Dark, false, at(white, 1), at(pale, .6), at(pale, .32), at(black, .16), at(white, .13),
         at(white, .07), at(white, .09), at(pale, .34), at(white, .08), at(white, .1), at(white, .07), 0, 0},
        {ColorScheme::Light,
         true,
         {29, 29, 31, 1},
         at(gray, .62),
         at(gray, .4),
         at(black, .015),
         at(white, .55),
         at(black, .04),
         at(black, .06),
         at(gray, .4),
         at(black, .04),
         at(black, .07),
         at(black, .12),
         1.25,
         1},
        {ColorScheme::Dark, true, at(white, 1), at(pale, .6), at(pale, .32), at(black, .08), at(white, .1),
         at(white, .06), at(white, .07), at(pale, .34), at(white, .06), at(white, .08), at(white, .05), 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << (c.scheme == ColorScheme::Dark ? "dark" : "light") << ' ' << c.glassy);
        const CBTheme &theme = CBTheme::palette(c.scheme, c.glassy);
        EXPECT_TRUE(shows(theme.text, c.text));
        EXPECT_TRUE(shows(theme.text2, c.text2));
        EXPECT_TRUE(shows(theme.text3, c.text3));
        EXPECT_TRUE(shows(theme.sidebarBG, c.sidebarBG));
        EXPECT_TRUE(shows(theme.selBG, c.selBG));
        EXPECT_TRUE(shows(theme.hoverBG, c.hoverBG));
        EXPECT_TRUE(shows(theme.hairline, c.hairline));
        EXPECT_TRUE(shows(theme.kbd, c.kbd));
        EXPECT_TRUE(shows(theme.toolHover, c.toolHover));
        EXPECT_TRUE(shows(theme.border, c.border));
        EXPECT_TRUE(shows(theme.selShadow.color, c.shadow));
        EXPECT_EQ(theme.selShadow.radius, c.shadowRadius);
        EXPECT_EQ(theme.selShadow.y, c.shadowY);
        EXPECT_EQ(theme.panelIsMaterial, c.glassy);
        EXPECT_EQ(theme.panelBG.alpha() < 255, c.glassy);
    }
    EXPECT_TRUE(shows(CBTheme::palette(ColorScheme::Light, false).panelBG, {236, 234, 238, 1}));
    EXPECT_TRUE(shows(CBTheme::palette(ColorScheme::Dark, false).panelBG, {43, 43, 46, 1}));
}

TEST(NotificationCenter, DeliversByNameInOrderAndBeforePostReturns)
{
    NotificationCenter center;
    QStringList heard;
    QObject first;
    {
        QObject second;
        center.observe(notification::selectGroupShortcut, &first, [&](const QVariantMap &info) {
            heard << QStringLiteral("first %1").arg(info.value(QStringLiteral("digit")).toInt());
        });
        center.observe(notification::selectGroupShortcut, &second,
                       [&](const QVariantMap &) { heard << QStringLiteral("second"); });
        center.post(notification::showPanel);
        center.post(notification::selectGroupShortcut, {{QStringLiteral("digit"), 2}});
        EXPECT_EQ(heard, (QStringList{QStringLiteral("first 2"), QStringLiteral("second")}));
    }
    center.post(notification::selectGroupShortcut, {{QStringLiteral("digit"), 3}});
    EXPECT_EQ(heard.mid(2), QStringList{QStringLiteral("first 3")}) << "a destroyed context hears nothing";
}

} // namespace
} // namespace cobblet
