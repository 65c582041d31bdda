#pragma once

#include <QDBusConnection>
#include <QDBusMessage>

#include <functional>
#include <optional>

class QObject;

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

/// Whether there is a session bus to talk to; connects on first use. Here and below `bus` may be null: there is none.
bool hasSessionBus(SessionBus *bus);

/// Sends a call on the session bus; `answered` gets the reply or the error on the main thread, unless `context`
/// is destroyed before. Without a bus the error comes at once.
void callSessionBus(SessionBus *bus, QObject *context, const QDBusMessage &call,
                    std::function<void(const QDBusMessage &)> answered);

/// A call of a method, to be sent.
QDBusMessage busCall(const QString &service, const QString &path, const QString &interface, const QString &method,
                     const QVariantList &arguments = {});
/// A question to the bus itself.
QDBusMessage busQuestion(const char *method, const QVariantList &arguments = {});

/// The desktop's portals are interfaces of one object.
inline const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

} // namespace cobblet
