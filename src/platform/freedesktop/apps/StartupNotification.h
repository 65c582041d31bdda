#pragma once

#include <QString>

namespace cobblet {

class X11Connection;

/// Mints startup-notification identifiers, which let a launched application take the focus, and tells the desktop of
/// launches. Main thread.
class StartupNotification {
public:
    /// `x11` may be null: identifiers are then minted without a clock.
    explicit StartupNotification(X11Connection *x11) : m_x11(x11) {}

    /// A new identifier that carries the time of the launch.
    QString mint();
    /// Tells the desktop that a launch began (it may show a busy pointer).
    void announce(const QString &startupId, const QString &name, const QString &entryPath);
    /// Tells it that a launch is done, or will not be completed.
    void remove(const QString &startupId);

    /// The time that an identifier carries; 0 for one without.
    static uint32_t timeOf(const QString &startupId);

private:
    void broadcast(const QByteArray &message);

    X11Connection *m_x11;
    unsigned m_sequence = 0;
};

} // namespace cobblet
