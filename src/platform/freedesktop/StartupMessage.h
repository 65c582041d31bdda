#pragma once

#include <QByteArray>
#include <QString>

namespace cobblet {

class X11Connection;

/// Tells the desktop about a launch, as the startup-notification protocol has it ("remove: ID=..."). Values are
/// to be quotedForStartup().
void broadcastStartup(X11Connection &x11, const QByteArray &message);

/// At most 512 characters of a value, without control characters.
QByteArray quotedForStartup(const QString &text);

} // namespace cobblet
