#pragma once

#include "platform/freedesktop/bus/BusNames.h"
#include "platform/freedesktop/bus/SessionBus.h"

namespace cobblet {

/// The call that tells an application on the bus to show itself, starting it where needed.
QDBusMessage activateCall(const QString &id, const QString &startupId);

/// `bus` may be null: there is none.
/// Gives a process a systemd scope of its own where a user manager runs; elsewhere nothing happens.
void moveToOwnScope(SessionBus *bus, QObject *context, const QString &id, qint64 pid);
/// The name of that scope.
QString scopeName(const QString &id, qint64 pid);

} // namespace cobblet
