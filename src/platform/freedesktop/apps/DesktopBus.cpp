#include "platform/freedesktop/apps/DesktopBus.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QFile>
#include <QLoggingCategory>

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
