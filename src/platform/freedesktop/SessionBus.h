#pragma once

#include <QDBusConnection>

#include <optional>

namespace cobblet {

/// The one connection to the session bus that the services of this backend share, opened on first use. It never
/// starts a bus.
class SessionBus {
public:
    SessionBus() = default;
    ~SessionBus();
    SessionBus(const SessionBus &) = delete;
    SessionBus &operator=(const SessionBus &) = delete;

    /// Not connected, with one log line, when there is no session bus.
    QDBusConnection &connection();

    /// The sockets on which the bus of this session listens. Addresses of other kinds (on a network, or of a bus yet
    /// to be started) are left out; empty when no socket is left.
    static QString address();

private:
    std::optional<QDBusConnection> m_connection;
};

} // namespace cobblet
