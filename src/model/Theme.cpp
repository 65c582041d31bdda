#include "model/Theme.h"

#include "platform/Appearance.h"
#include "platform/UserDefaults.h"

#include <QLoggingCategory>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.model")

const QString panelThemeKey = QStringLiteral("panelTheme");
const QString glassyStyleKey = QStringLiteral("glassyStyle");

QColor rgb(int red, int green, int blue, double opacity = 1)
{
    QColor color(red, green, blue);
    color.setAlphaF(float(opacity));
    return color;
}

QColor black(double opacity)
{
    return rgb(0, 0, 0, opacity);
}

QColor white(double opacity = 1)
{
    return rgb(255, 255, 255, opacity);
}

CBTheme lightSolid()
{
    return {.text = rgb(29, 29, 31),
            .text2 = rgb(60, 60, 67, 0.62),
            .text3 = rgb(60, 60, 67, 0.4),
            .panelBG = rgb(236, 234, 238),
            .panelIsMaterial = false,
            .sidebarBG = black(0.018),
            .selBG = white(),
            .hoverBG = black(0.05),
            .hairline = black(0.08),
            .kbd = rgb(60, 60, 67, 0.4),
            .toolHover = black(0.06),
            .border = black(0.1),
            .selShadow = {black(0.16), 1.25, 1}};
}

CBTheme darkSolid()
{
    return {.text = white(),
            .text2 = rgb(235, 235, 245, 0.6),
            .text3 = rgb(235, 235, 245, 0.32),
            .panelBG = rgb(43, 43, 46),
            .panelIsMaterial = false,
            .sidebarBG = black(0.16),
            .selBG = white(0.13),
            .hoverBG = white(0.07),
            .hairline = white(0.09),
            .kbd = rgb(235, 235, 245, 0.34),
            .toolHover = white(0.08),
            .border = white(0.1),
            .selShadow = {white(0.07), 0, 0}};
}

CBTheme lightGlassy()
{
    CBTheme theme = lightSolid();
    theme.panelBG = rgb(246, 246, 248, 0.78);
    theme.panelIsMaterial = true;
    theme.sidebarBG = black(0.015);
    theme.selBG = white(0.55);
    theme.hoverBG = black(0.04);
    theme.hairline = black(0.06);
    theme.toolHover = black(0.04);
    theme.border = black(0.07);
    theme.selShadow = {black(0.12), 1.25, 1};
    return theme;
}

CBTheme darkGlassy()
{
    CBTheme theme = darkSolid();
    theme.panelBG = rgb(40, 40, 44, 0.72);
    theme.panelIsMaterial = true;
    theme.sidebarBG = black(0.08);
    theme.selBG = white(0.1);
    theme.hoverBG = white(0.06);
    theme.hairline = white(0.07);
    theme.toolHover = white(0.06);
    theme.border = white(0.08);
    theme.selShadow = {white(0.05), 0, 0};
    return theme;
}

} // namespace

const CBTheme &CBTheme::palette(ColorScheme scheme, bool glassy)
{
    static const CBTheme palettes[][2] = {{lightSolid(), lightGlassy()}, {darkSolid(), darkGlassy()}};
    return palettes[scheme == ColorScheme::Dark][glassy];
}

ThemeManager::ThemeManager(UserDefaults &sharedDefaults, Appearance &appearance, QObject *parent)
    : ThemeManager(appearance, parent)
{
    m_defaults = &sharedDefaults;
    refresh();
    connect(m_defaults, &UserDefaults::didChange, this, &ThemeManager::refresh);
}

ThemeManager::ThemeManager(Appearance &appearance, QObject *parent) : QObject(parent), m_appearance(appearance)
{
    connect(&m_appearance, &Appearance::changed, this, &ThemeManager::refresh);
}

void ThemeManager::refresh()
{
    const QString choice =
        m_defaults ? m_defaults->string(panelThemeKey).value_or(QStringLiteral("system")) : QString();
    // The desktop is asked only when it decides: asking may cost a round trip.
    const bool dark = choice == QLatin1String("dark") || (choice != QLatin1String("light") && m_appearance.isDark());
    const ColorScheme scheme = dark ? ColorScheme::Dark : ColorScheme::Light;
    const bool glassy = m_defaults && m_defaults->boolean(glassyStyleKey);
    if (scheme == m_scheme && glassy == m_glassy)
        return;
    m_scheme = scheme;
    m_glassy = glassy;
    emit changed();
}

void migrateThemePreferences(const UserDefaults &standardDefaults, UserDefaults &sharedDefaults)
{
    for (const QString &key : {panelThemeKey, glassyStyleKey}) {
        const auto earlier = standardDefaults.contains(key) ? standardDefaults.object(key) : std::nullopt;
        if (!earlier || sharedDefaults.contains(key))
            continue;
        if (const Status copied = sharedDefaults.set(key, *earlier); !copied)
            qCWarning(log).noquote() << copied.error();
    }
    sharedDefaults.registerDefault(glassyStyleKey, true);
}

} // namespace cobblet
