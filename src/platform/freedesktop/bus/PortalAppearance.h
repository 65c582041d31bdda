#pragma once

#include "platform/Appearance.h"

#include <QDBusMessage>

namespace cobblet {

class SessionBus;

/// Light or dark and the accent colour as the settings portal tells them. Until it has answered, and where there
/// is no portal, the toolkits' own settings decide.
class PortalAppearance : public Appearance {
    Q_OBJECT
public:
    /// Asks the portal at once, without waiting for the answer.
    explicit PortalAppearance(SessionBus &bus);

    Availability availability() const override;
    bool isDark() const override { return m_dark; }
    QColor accentColor() const override { return m_accent; }

private slots:
    void settingChanged(const QDBusMessage &message);

private:
    void ask();
    void answered(const QString &key, const QDBusMessage &reply);
    void set(bool dark, const QColor &accent);
    static bool guessDark();

    SessionBus &m_bus;
    bool m_dark;
    QColor m_accent;
    bool m_known = false; ///< the portal told light from dark
    bool m_warned = false;
};

} // namespace cobblet
