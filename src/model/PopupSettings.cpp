#include "model/PopupSettings.h"

#include "platform/UserDefaults.h"

#include <algorithm>
#include <limits>

namespace cobblet {

namespace {

int notNegative(qint64 value)
{
    return int(std::clamp<qint64>(value, 0, std::numeric_limits<int>::max()));
}

} // namespace

PopupSettings::PopupSettings(UserDefaults &sharedDefaults, QObject *parent)
    : QObject(parent), m_defaults(sharedDefaults)
{
    m_defaults.registerDefault(QStringLiteral("popupShowsTitles"), true);
    m_defaults.registerDefault(QStringLiteral("popupShowsMostUsed"), true);
    load();
    connect(&m_defaults, &UserDefaults::didChange, this, &PopupSettings::load);
}

EffectivePopupLayout PopupSettings::effectiveLayout(const AppGroup *group) const
{
    if (!group)
        return m_layout;
    return {group->popupColumns.value_or(m_layout.columns), group->popupMaxRows.value_or(m_layout.maxRows),
            group->popupShowsTitles.value_or(m_layout.showsTitles), group->popupAnchor.value_or(m_layout.anchor)};
}

void PopupSettings::load()
{
    const bool overIcon = m_defaults.string(QStringLiteral("popupAnchor")) == QStringLiteral("dockIcon");
    const EffectivePopupLayout layout{notNegative(m_defaults.integer(QStringLiteral("popupColumns"))),
                                      notNegative(m_defaults.integer(QStringLiteral("popupMaxRows"))),
                                      m_defaults.boolean(QStringLiteral("popupShowsTitles")),
                                      overIcon ? PopupAnchor::DockIcon : PopupAnchor::DockCenter};
    const bool showsMostUsed = m_defaults.boolean(QStringLiteral("popupShowsMostUsed"));
    if (layout == m_layout && showsMostUsed == m_showsMostUsed)
        return;
    m_layout = layout;
    m_showsMostUsed = showsMostUsed;
    emit changed();
}

} // namespace cobblet
