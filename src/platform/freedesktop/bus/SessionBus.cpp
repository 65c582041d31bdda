#include "platform/freedesktop/bus/SessionBus.h"

#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStringList>

namespace cobblet {

Q_LOGGING_CATEGORY(lcBus, "cobblet.bus")

namespace {

QString connectionName(const SessionBus *bus)
{
    return QStringLiteral("cobblet-%1").arg(quintptr(bus), 0, 16);
}

} // namespace

SessionBus::~SessionBus()
{
    if (m_connection) {
        m_connection.reset();
        QDBusConnection::disconnectFromBus(connectionName(this));
    }
}

QDBusConnection &SessionBus::connection()
{
    if (!m_connection) {
        const QString where = address();
        m_connection =
            where.isEmpty() ? QDBusConnection(QString()) : QDBusConnection::connectToBus(where, connectionName(this));
        if (!m_connection->isConnected())
            qCWarning(lcBus).noquote()
                << QStringLiteral("No session bus can be reached: other programs, a second start and the desktop's "
                                  "settings can't be talked to. %1")
                       .arg(where.isEmpty() ? QStringLiteral("The environment names no local socket (unix:).")
                                            : m_connection->lastError().message());
    }
    return *m_connection;
}

QString SessionBus::address()
{
    const QString stated = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!stated.isEmpty()) {
        // Addresses of other kinds lead to a network, or make the library start a bus with nobody else on it.
        QStringList sockets;
        for (const QString &each : stated.split(QLatin1Char(';'), Qt::SkipEmptyParts))
            if (each.startsWith(QLatin1String("unix:")))
                sockets.append(each);
        return sockets.join(QLatin1Char(';'));
    }
    const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus");
    return socket.startsWith(QLatin1Char('/')) && QFileInfo::exists(socket) && socket != QLatin1String("/bus")
               ? QStringLiteral("unix:path=") + socket
               : QString();
}

bool hasSessionBus(SessionBus *bus)
{
    return bus && bus->connection().isConnected();
}

void callSessionBus(SessionBus *bus, QObject *context, const QDBusMessage &call,
                    std::function<void(const QDBusMessage &)> answered)
{
    if (!hasSessionBus(bus))
        return answered(QDBusMessage::createError(QDBusError::NoServer, QStringLiteral("There is no session bus.")));
    auto *watcher = new QDBusPendingCallWatcher(bus->connection().asyncCall(call), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         answered(finished->reply());
                     });
}

QDBusMessage busCall(const QString &service, const QString &path, const QString &interface, const QString &method,
                     const QVariantList &arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, method);
    call.setArguments(arguments);
    return call;
}

QDBusMessage busQuestion(const char *method, const QVariantList &arguments)
{
    const QString name = QStringLiteral("org.freedesktop.DBus");
    return busCall(name, QStringLiteral("/org/freedesktop/DBus"), name, QString::fromLatin1(method), arguments);
}

} // namespace cobblet
