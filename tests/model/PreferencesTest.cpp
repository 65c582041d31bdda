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

TEST(ThemeMigration, CarriesEarlierChoicesOverAndStoresNoDefault)
{
    const QString style = QStringLiteral("glassyStyle"), panelTheme = QStringLiteral("panelTheme");
    test::FakeDefaults standard, shared;
    migrateThemePreferences(standard, shared);
    EXPECT_TRUE(shared.boolean(style)) << "the default";
    EXPECT_TRUE(shared.stored.isEmpty());

    standard.stored = {{style, false}, {panelTheme, QStringLiteral("dark")}, {QStringLiteral("popupColumns"), 4}};
    shared.stored = {{panelTheme, QStringLiteral("light")}};
    migrateThemePreferences(standard, shared);
    EXPECT_EQ(shared.stored, (QMap<QString, QVariant>{{style, false}, {panelTheme, QStringLiteral("light")}}));
    EXPECT_EQ(standard.stored.size(), 3) << "nothing is taken away";
}

/// "RED GREEN BLUE OPACITY", the opacity in thousandths.
std::string numbers(const QColor &color)
{
    return QStringLiteral("%1 %2 %3 %4")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(std::lround(color.alphaF() * 1000))
        .toStdString();
}

TEST(Palettes, HaveTheirExactNumbers)
{
    // All that differs between the four, in thousandths of black (-) or white (+).
    const struct {
        ColorScheme scheme;
        bool glassy;
        int sidebarBG, selBG, hoverBG, hairline, toolHover, border, shadow;
    } cases[] = {{ColorScheme::Light, false, -18, 1000, -50, -80, -60, -100, -160},
                 {ColorScheme::Light, true, -15, 550, -40, -60, -40, -70, -120},
                 {ColorScheme::Dark, false, -160, 130, 70, 90, 80, 100, 70},
                 {ColorScheme::Dark, true, -80, 100, 60, 70, 60, 80, 50}};
    for (const auto &c : cases) {
        const bool light = c.scheme == ColorScheme::Light;
        SCOPED_TRACE(testing::Message() << (light ? "light " : "dark ") << c.glassy);
        const CBTheme &theme = CBTheme::palette(c.scheme, c.glassy);
        const std::pair<QColor, int> tints[] = {{theme.sidebarBG, c.sidebarBG},   {theme.selBG, c.selBG},
                                                {theme.hoverBG, c.hoverBG},       {theme.hairline, c.hairline},
                                                {theme.toolHover, c.toolHover},   {theme.border, c.border},
                                                {theme.selShadow.color, c.shadow}};
        for (const auto &[color, tint] : tints)
            EXPECT_EQ(numbers(color), (tint < 0 ? "0 0 0 " : "255 255 255 ") + std::to_string(std::abs(tint)));
        EXPECT_EQ(numbers(theme.text), light ? "29 29 31 1000" : "255 255 255 1000");
        EXPECT_EQ(numbers(theme.text2), light ? "60 60 67 620" : "235 235 245 600");
        EXPECT_EQ(numbers(theme.text3), light ? "60 60 67 400" : "235 235 245 320");
        EXPECT_EQ(numbers(theme.kbd), light ? "60 60 67 400" : "235 235 245 340");
        EXPECT_EQ(theme.selShadow.radius, light ? 1.25 : 0);
        EXPECT_EQ(theme.selShadow.y, light ? 1 : 0);
        EXPECT_EQ(theme.panelIsMaterial, c.glassy);
        EXPECT_EQ(theme.panelBG.alpha() < 255, c.glassy);
        if (!c.glassy) {
            EXPECT_EQ(numbers(theme.panelBG), light ? "236 234 238 1000" : "43 43 46 1000");
        }
    }
}

} // namespace
} // namespace cobblet
