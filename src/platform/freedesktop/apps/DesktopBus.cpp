#include "platform/freedesktop/apps/DesktopBus.h"

#include "platform/freedesktop/SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFile>
#include <QLoggingCategory>
#include <QStringList>

#include <algorithm>

#include <unistd.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcDesktopBus, "cobblet.applications.bus")

/// A property of a systemd unit: (sv).
struct UnitProperty {
    QString name;
    QDBusVariant value;
};
/// An auxiliary unit, of which there are none here: (sa(sv)).
struct AuxiliaryUnit {
    QString name;
    QList<UnitProperty> properties;
};

static QDBusArgument &operator<<(QDBusArgument &out, const UnitProperty &property)
{
    out.beginStructure();
    out << property.name << property.value;
    out.endStructure();
    return out;
}

static const QDBusArgument &operator>>(const QDBusArgument &in, UnitProperty &property)
{
    in.beginStructure();
    in >> property.name >> property.value;
    in.endStructure();
    return in;
}

static QDBusArgument &operator<<(QDBusArgument &out, const AuxiliaryUnit &unit)
{
    out.beginStructure();
    out << unit.name << unit.properties;
    out.endStructure();
    return out;
}

static const QDBusArgument &operator>>(const QDBusArgument &in, AuxiliaryUnit &unit)
{
    in.beginStructure();
    in >> unit.name >> unit.properties;
    in.endStructure();
    return in;
}

namespace {

/// A name as a part of a unit's name: everything that separates parts is escaped.
QString escapedForUnit(const QString &text)
{
    QString out;
    for (const char c : text.toUtf8()) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                           (c == '.' && !out.isEmpty());
        out += plain ? QString(QLatin1Char(c))
                     : QStringLiteral("\\x") + QString::number(uchar(c), 16).rightJustified(2, u'0');
    }
    return out;
}

} // namespace

bool hasSessionBus(SessionBus *bus)
{
    return bus && bus->connection().isConnected();
}

void callSessionBus(SessionBus *bus, QObject *context, const QDBusMessage &call,
                    std::function<void(const QDBusMessage &)> answered)
{
    if (!hasSessionBus(bus)) {
        answered(QDBusMessage::createError(QDBusError::NoServer, QStringLiteral("There is no session bus.")));
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(bus->connection().asyncCall(call), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [answered = std::move(answered)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         answered(QDBusPendingReply<>(*finished).reply());
                     });
}

bool isBusName(const QString &id)
{
    const QStringList elements = id.split(u'.');
    return id.size() <= 255 && elements.size() >= 2 &&
           std::all_of(elements.begin(), elements.end(), [](const QString &element) {
               return !element.isEmpty() && !element.at(0).isDigit() &&
                      std::all_of(element.begin(), element.end(), [](QChar c) {
                          return c.unicode() < 128 && (c.isLetterOrNumber() || c == u'_' || c == u'-');
                      });
           });
}

QString busPathOf(const QString &id)
{
    QString path = id;
    return u'/' + path.replace(u'.', u'/').replace(u'-', u'_');
}

QDBusMessage activateCall(const QString &id, const QString &startupId)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        id, busPathOf(id), QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"));
    QVariantMap platformData;
    if (!startupId.isEmpty()) {
        platformData.insert(QStringLiteral("desktop-startup-id"), startupId);
        platformData.insert(QStringLiteral("activation-token"), startupId);
    }
    call << platformData;
    return call;
}

QString scopeName(const QString &id, qint64 pid)
{
    return QStringLiteral("app-cobblet-%1-%2.scope").arg(escapedForUnit(id)).arg(pid);
}

void moveToOwnScope(SessionBus *bus, QObject *context, const QString &id, qint64 pid)
{
    if (!bus || !QFile::exists(QStringLiteral("/run/user/%1/systemd").arg(getuid())))
        return;
    qDBusRegisterMetaType<UnitProperty>();
    qDBusRegisterMetaType<QList<UnitProperty>>();
    qDBusRegisterMetaType<AuxiliaryUnit>();
    qDBusRegisterMetaType<QList<AuxiliaryUnit>>();
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
        QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("StartTransientUnit"));
    const QList<UnitProperty> properties{
        {QStringLiteral("Description"), QDBusVariant(QStringLiteral("Application launched by Cobblet"))},
        {QStringLiteral("PIDs"), QDBusVariant(QVariant::fromValue(QList<uint>{uint(pid)}))},
        {QStringLiteral("CollectMode"), QDBusVariant(QStringLiteral("inactive-or-failed"))}};
    call << scopeName(id, pid) << QStringLiteral("fail") << QVariant::fromValue(properties)
         << QVariant::fromValue(QList<AuxiliaryUnit>());
    callSessionBus(bus, context, call, [id](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage)
            qCInfo(lcDesktopBus).noquote()
                << QStringLiteral("“%1” shares Cobblet's systemd scope: %2").arg(id, reply.errorMessage());
    });
}

} // namespace cobblet
