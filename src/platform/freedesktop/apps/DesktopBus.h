#pragma once

#include <QDBusMessage>
#include <QString>

#include <functional>

class QObject;

namespace cobblet {

class SessionBus;

/// Whether there is a session bus to talk to; connects on first use. Here and below `bus` may be null: there is none.
bool hasSessionBus(SessionBus *bus);

/// Sends a call on the session bus; `answered` gets the reply or the error on the main thread, unless `context`
/// is destroyed before. Without a bus the error comes at once.
void callSessionBus(SessionBus *bus, QObject *context, const QDBusMessage &call,
                    std::function<void(const QDBusMessage &)> answered);

/// Whether an identifier can be a name on the bus, and the object path that goes with it.
bool isBusName(const QString &id);
QString busPathOf(const QString &id);

/// The call that tells an application on the bus to show itself, starting it where needed.
QDBusMessage activateCall(const QString &id, const QString &startupId);

/// Gives a process a systemd scope of its own where a user manager runs; elsewhere nothing happens.
void moveToOwnScope(SessionBus *bus, QObject *context, const QString &id, qint64 pid);
/// The name of that scope.
QString scopeName(const QString &id, qint64 pid);

} // namespace cobblet
