#include "ui/settings/Preferences.h"

#include "platform/UserDefaults.h"

#include <QVariant>

#include <algorithm>
#include <cstdlib>

namespace cobblet {

namespace {

constexpr char themeKey[] = "panelTheme";
constexpr char glassyKey[] = "glassyStyle";
constexpr char columnsKey[] = "popupColumns";
constexpr char rowsKey[] = "popupMaxRows";
constexpr char titlesKey[] = "popupShowsTitles";
constexpr char mostUsedKey[] = "popupShowsMostUsed";
constexpr char anchorKey[] = "popupAnchor";

QString named(const char *key)
{
    return QString::fromLatin1(key);
}

int nearest(qint64 value, const QList<int> &choices)
{
    return *std::ranges::min_element(
        choices, {}, [value](int choice) { return std::abs(std::clamp<qint64>(value, -100, 100) - choice); });
}

} // namespace

Preferences::Preferences(UserDefaults &sharedDefaults, QObject *parent) : QObject(parent), m_defaults(sharedDefaults)
{
    connect(&m_defaults, &UserDefaults::didChange, this, &Preferences::changed);
}

QString Preferences::panelTheme() const
{
    const QString theme = m_defaults.string(named(themeKey)).value_or(QString());
    return theme == QLatin1String("light") || theme == QLatin1String("dark") ? theme : QStringLiteral("system");
}

bool Preferences::glassyStyle() const
{
    return m_defaults.boolean(named(glassyKey));
}

int Preferences::columns() const
{
    return nearest(m_defaults.integer(named(columnsKey)), columnChoices());
}

int Preferences::maxRows() const
{
    return nearest(m_defaults.integer(named(rowsKey)), rowChoices());
}

bool Preferences::showsTitles() const
{
    return m_defaults.boolean(named(titlesKey));
}

bool Preferences::showsMostUsed() const
{
    return m_defaults.boolean(named(mostUsedKey));
}

QString Preferences::anchor() const
{
    const bool overIcon = m_defaults.string(named(anchorKey)) == QStringLiteral("dockIcon");
    return overIcon ? QStringLiteral("dockIcon") : QStringLiteral("dockCenter");
}

void Preferences::setPanelTheme(const QString &theme)
{
    store(themeKey, theme, QStringLiteral("theme.") + theme);
}

void Preferences::setGlassyStyle(bool glassy)
{
    store(glassyKey, glassy);
}

void Preferences::setColumns(int columns)
{
    store(columnsKey, columns);
}

void Preferences::setMaxRows(int rows)
{
    store(rowsKey, rows);
}

void Preferences::setShowsTitles(bool shows)
{
    store(titlesKey, shows);
}

void Preferences::setShowsMostUsed(bool shows)
{
    store(mostUsedKey, shows);
}

void Preferences::setAnchor(const QString &anchor)
{
    store(anchorKey, anchor);
}

QList<int> Preferences::columnChoices()
{
    return {0, 2, 3, 4, 5, 6, 7, 8};
}

QList<int> Preferences::rowChoices()
{
    return {0, 1, 2, 3, 4, 5, 6};
}

void Preferences::store(const char *key, const QVariant &value, const QString &setting)
{
    const Status stored = m_defaults.set(named(key), value);
    m_failure = stored ? QString() : stored.error();
    m_failedSetting = stored ? QString() : setting.isEmpty() ? named(key) : setting;
    emit failureChanged();
}

} // namespace cobblet
