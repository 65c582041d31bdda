#include "platform/freedesktop/bus/DBusNotifications.h"

#include "platform/freedesktop/bus/SessionBus.h"

#include <QMetaMethod>

namespace cobblet {

namespace {

const QString path = QStringLiteral("/com/vantor/cobblet/Notifications");
const QString interface = QStringLiteral("com.vantor.cobblet.Notifications");
const QString member = QStringLiteral("Posted");
constexpr qsizetype maximumText = 4096;

} // namespace

Availability DBusNotifications::availability() const
{
    return m_bus.connection().isConnected()
               ? Availability::works(QStringLiteral("The session bus can be reached."))
               : Availability::unavailable(QStringLiteral(
                     "Without a session bus agents show changes only once they start again: start Cobblet within "
                     "a desktop session that has one."));
}

Status DBusNotifications::post(const QString &name, const QString &object)
{
    QDBusConnection &bus = m_bus.connection();
    if (!bus.isConnected())
        return Error{QStringLiteral("“%1” was not posted: there is no session bus.").arg(name)};
    if (name.size() > maximumText || object.size() > maximumText)
        return Error{QStringLiteral("“%1” was not posted: it is too long.").arg(name.left(100))};
    QDBusMessage message = QDBusMessage::createSignal(path, interface, member);
    message.setArguments({name, object});
    if (!bus.send(message))
        return Error{QStringLiteral("“%1” was not posted: the session bus did not take it.").arg(name)};
    return {};
}

void DBusNotifications::connectNotify(const QMetaMethod &signal)
{
    if (m_listening || signal != QMetaMethod::fromSignal(&DistributedNotifications::received))
        return;
    QDBusConnection &bus = m_bus.connection();
    m_listening =
        bus.isConnected() && bus.connect(QString(), path, interface, member, this, SLOT(arrived(QDBusMessage)));
}

void DBusNotifications::arrived(const QDBusMessage &message)
{
    if (message.signature() != QLatin1String("ss"))
        return;
    const QString name = message.arguments().at(0).toString();
    const QString object = message.arguments().at(1).toString();
    if (name.size() <= maximumText && object.size() <= maximumText)
        emit received(name, object);
}

} // namespace cobblet
