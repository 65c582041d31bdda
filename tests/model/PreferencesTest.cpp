#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "support/FakeDesktop.h"
#include "support/Test.h"

namespace cobblet {
namespace {

TEST(PopupSettings, KeepsToSoundValuesAndAGroupsOwnOnesWin)
{
    test::FakeDefaults defaults;
    PopupSettings settings(defaults);
    QSignalSpy changed(&settings, &PopupSettings::changed);
    const std::pair<QMap<QString, QVariant>, EffectivePopupLayout> rows[] = {
        {{{u"popupColumns"_s, -3}, {u"popupMaxRows"_s, u"2"_s}, {u"popupAnchor"_s, u"DockIcon"_s}},
         {0, 0, true, PopupAnchor::DockCenter}},
        {{{u"popupColumns"_s, qint64(1) << 40}, {u"popupShowsTitles"_s, false}},
         {2147483647, 0, false, PopupAnchor::DockCenter}},
        {{{u"popupMaxRows"_s, 2}, {u"popupAnchor"_s, u"dockIcon"_s}, {u"popupShowsMostUsed"_s, false}},
         {2147483647, 2, false, PopupAnchor::DockIcon}},
    };
    for (const auto &[values, layout] : rows) {
        EXPECT_TRUE(settings.showsMostUsed());
        for (auto value = values.begin(); value != values.end(); ++value)
            (void)defaults.set(value.key(), value.value());
        EXPECT_EQ(settings.effectiveLayout(nullptr), layout);
    }
    EXPECT_FALSE(settings.showsMostUsed());
    EXPECT_EQ(changed.count(), 5) << "nothing comes of what is not sound";

    AppGroup group;
    group.popupMaxRows = -1;
    group.popupShowsTitles = true;
    EXPECT_EQ(settings.effectiveLayout(&group), (EffectivePopupLayout{2147483647, -1, true, PopupAnchor::DockIcon}));
}

TEST(ThemeMigration, CarriesEarlierChoicesOverAndStoresNoDefault)
{
    const QString style = u"glassyStyle"_s, panelTheme = u"panelTheme"_s;
    test::FakeDefaults standard, shared;
    migrateThemePreferences(standard, shared);
    EXPECT_TRUE(shared.boolean(style) && shared.stored.isEmpty()) << "the default is not stored";

    standard.stored = {{style, false}, {panelTheme, u"dark"_s}, {u"popupColumns"_s, 4}};
    shared.stored = {{panelTheme, u"light"_s}};
    migrateThemePreferences(standard, shared);
    EXPECT_EQ(shared.stored, (QMap<QString, QVariant>{{style, false}, {panelTheme, u"light"_s}}));
    EXPECT_EQ(standard.stored.size(), 3) << "nothing is taken away";
}

TEST(ThemeManager, FollowsTheChoiceOrElseTheDesktop)
{
    using enum ColorScheme;
    const std::tuple<QString, ColorScheme, ColorScheme> cases[] = {
        // the choice, and the scheme on a light and on a dark desktop
        {{}, Light, Dark},
        {u"Dark"_s, Light, Dark},
        {u"light"_s, Light, Light},
        {u"dark"_s, Dark, Dark}};
    for (const auto &[choice, onLight, onDark] : cases) {
        test::FakeDefaults defaults;
        test::FakeAppearance appearance;
        ThemeManager theme(defaults, appearance);
        QSignalSpy changed(&theme, &ThemeManager::changed);
        if (!choice.isEmpty())
            (void)defaults.set(u"panelTheme"_s, choice);
        EXPECT_EQ(theme.effectiveScheme(), onLight) << choice.toStdString();
        appearance.setDark(true);
        EXPECT_EQ(theme.effectiveScheme(), onDark) << choice.toStdString();
        EXPECT_EQ(changed.count(), onDark == Dark);
        (void)defaults.set(u"glassyStyle"_s, true);
        EXPECT_EQ(&theme.theme(), &CBTheme::palette(onDark, true));
    }
}

} // namespace
} // namespace cobblet
