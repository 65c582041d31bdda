#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "support/FakeDesktop.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

TEST(PopupSettings, KeepsToSoundValuesAndAGroupsOwnOnesWin)
{
    test::FakeDefaults defaults;
    PopupSettings settings(defaults);
    QSignalSpy changed(&settings, &PopupSettings::changed);
    const auto store = [&](const std::map<QString, QVariant> &values) {
        for (const auto &[key, value] : values)
            (void)defaults.set(key, value);
        return settings.effectiveLayout(nullptr);
    };
    using Layout = EffectivePopupLayout;
    EXPECT_EQ(store({{u"popupColumns"_s, -3}, {u"popupMaxRows"_s, u"2"_s}, {u"popupAnchor"_s, u"DockIcon"_s}}),
              (Layout{0, 0, true, PopupAnchor::DockCenter}));
    EXPECT_TRUE(settings.showsMostUsed());
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(store({{u"popupColumns"_s, qint64(1) << 40}, {u"popupShowsTitles"_s, false}}),
              (Layout{2147483647, 0, false, PopupAnchor::DockCenter}));
    EXPECT_EQ(store({{u"popupMaxRows"_s, 2}, {u"popupAnchor"_s, u"dockIcon"_s}, {u"popupShowsMostUsed"_s, false}}),
              (Layout{2147483647, 2, false, PopupAnchor::DockIcon}));
    EXPECT_FALSE(settings.showsMostUsed());
    EXPECT_EQ(changed.count(), 5);

    AppGroup group;
    group.popupMaxRows = -1;
    group.popupShowsTitles = true;
    EXPECT_EQ(settings.effectiveLayout(&group), (Layout{2147483647, -1, true, PopupAnchor::DockIcon}));
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
    struct {
        const char *choice; ///< null: none is stored
        ColorScheme onLight, onDark;
    } const cases[] = {{nullptr, Light, Dark}, {"Dark", Light, Dark}, {"light", Light, Light}, {"dark", Dark, Dark}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.choice ? c.choice : "none");
        test::FakeDefaults defaults;
        test::FakeAppearance appearance;
        ThemeManager theme(defaults, appearance);
        QSignalSpy changed(&theme, &ThemeManager::changed);
        if (c.choice)
            (void)defaults.set(u"panelTheme"_s, QString::fromLatin1(c.choice));
        EXPECT_EQ(theme.effectiveScheme(), c.onLight);
        appearance.setDark(true);
        EXPECT_EQ(theme.effectiveScheme(), c.onDark);
        EXPECT_EQ(changed.count(), c.onDark == Dark);
        EXPECT_FALSE(theme.glassyStyle());
        (void)defaults.set(u"glassyStyle"_s, true);
        EXPECT_TRUE(theme.glassyStyle());
        EXPECT_EQ(&theme.theme(), &CBTheme::palette(c.onDark, true));
    }
}

} // namespace
} // namespace cobblet
