#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "support/FakeDesktop.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

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
    defaults.stored = {{QStringLiteral("popupMaxRows"), qint64(3)}, {QStringLiteral("popupShowsTitles"), false}};
    const PopupSettings settings(defaults);
    AppGroup group;
    group.popupColumns = 4;
    EXPECT_EQ(settings.effectiveLayout(&group), (EffectivePopupLayout{4, 3, false, PopupAnchor::DockCenter}));
    group.popupMaxRows = -1;
    group.popupShowsTitles = true;
    group.popupAnchor = PopupAnchor::DockIcon;
    EXPECT_EQ(settings.effectiveLayout(&group), (EffectivePopupLayout{4, -1, true, PopupAnchor::DockIcon}));
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
        EXPECT_FALSE(theme.glassyStyle());
        (void)defaults.set(QStringLiteral("glassyStyle"), true);
        EXPECT_TRUE(theme.glassyStyle());
        EXPECT_EQ(&theme.theme(), &CBTheme::palette(c.onDark, true));
    }
    // Each of the four is one of its own, light or dark as it says.
    for (const bool glassy : {false, true}) {
        const CBTheme &light = CBTheme::palette(ColorScheme::Light, glassy);
        const CBTheme &dark = CBTheme::palette(ColorScheme::Dark, glassy);
        EXPECT_LT(light.text.lightness(), dark.text.lightness());
        EXPECT_GT(light.panelBG.lightness(), dark.panelBG.lightness());
        EXPECT_EQ(light.panelIsMaterial && light.panelBG.alpha() < 255, glassy);
        EXPECT_EQ(dark.panelIsMaterial && dark.panelBG.alpha() < 255, glassy);
    }
}

} // namespace
} // namespace cobblet
