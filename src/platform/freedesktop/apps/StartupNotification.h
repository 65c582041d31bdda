#pragma once

#include <QString>

#include <optional>

namespace cobblet {

class X11Connection;

/// The X server's clock now, as event timestamps count it; absent when the server has no such counter.
std::optional<uint32_t> serverTime(X11Connection &x11);

/// Mints startup-notification identifiers, which let a launched application take the focus, and announces
/// launches to the desktop. Main thread.
class StartupNotification {
public:
    /// `x11` may be null: identifiers are then minted without a clock.
    explicit StartupNotification(X11Connection *x11) : m_x11(x11) {}

    /// A new identifier that carries the time of the launch.
    QString mint();
    /// Tells the desktop that a launch began (it may show a busy pointer) or will not be completed.
    void announce(const QString &startupId, const QString &name, const QString &entryPath);
    void remove(const QString &startupId);

private:
    X11Connection *m_x11;
    unsigned m_sequence = 0;
};

} // namespace cobblet
