#include "platform/freedesktop/bus/DBusInstance.h"

#include "Program.h"
#include "platform/freedesktop/bus/BusNames.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include <QDBusMetaType>
#include <QLoggingCategory>

#include <sysexits.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcInstance, "cobblet.instance")

namespace {

// What the bus answers to RequestName.
constexpr uint doNotQueue = 4;
constexpr uint primaryOwner = 1;
constexpr uint alreadyOwner = 4;

QVariantMap platformDataOfEnvironment()
{
    QVariantMap data;
    if (const QString id = qEnvironmentVariable("DESKTOP_STARTUP_ID"); !id.isEmpty())
        data[QStringLiteral("desktop-startup-id")] = id;
    if (const QString token = qEnvironmentVariable("XDG_ACTIVATION_TOKEN"); !token.isEmpty())
        data[QStringLiteral("activation-token")] = token;
    return data;
}

} // namespace

DBusInstance::DBusInstance(SessionBus &bus, const QString &identifier, CallerHooks hooks,
                           std::chrono::milliseconds patience)
    : m_bus(bus), m_name(busName(identifier)), m_path(busPathOf(identifier)), m_patience(patience),
      m_program(std::move(hooks)), m_objects{{m_path, &m_program}}
{
    new ApplicationAdaptor(&m_program); // which it belongs to
    connect(&m_program, &ProgramObject::reopen, this, &Instance::reopen);
}

DBusInstance::~DBusInstance()
{
    withdraw();
}

Availability DBusInstance::availability() const
{
    if (!m_bus.connection().isConnected())
        return Availability::unavailable(
            QStringLiteral("There is no session bus: start Cobblet within a desktop session that has one."));
    return m_ownsName ? Availability::works(QStringLiteral("Other programs, and a second start, reach Cobblet."))
                      : Availability::unavailable(QStringLiteral("The session bus did not give Cobblet its name."));
}

void DBusInstance::add(const QString &child, QObject &object)
{
    m_objects.insert(m_path + QLatin1Char('/') + child, &object);
}

void DBusInstance::withdraw()
{
    if (std::exchange(m_published, false))
        for (const QString &path : m_objects.keys())
            m_bus.connection().unregisterObject(path);
    m_program.calls().close();
}

Instance::Role DBusInstance::claim(const QStringList &arguments)
{
    QDBusConnection &bus = m_bus.connection();
    if (!bus.isConnected() || m_name.isEmpty())
        return Role::First;

    // Served before the name is ours, so that whoever sees the name can also call.
    m_published = true;
    for (auto object = m_objects.cbegin(); object != m_objects.cend(); ++object)
        bus.registerObject(object.key(), object.value());

    const QDBusMessage request = busQuestion("RequestName", {m_name, doNotQueue});
    // Twice: the instance that was there may end between the two questions.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const QDBusMessage reply = bus.call(request, QDBus::Block, int(m_patience.count()));
        const uint answer = reply.arguments().value(0).toUInt();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            qCWarning(lcInstance).noquote()
                << QStringLiteral("Whether Cobblet runs already is unknown: %1").arg(reply.errorMessage());
            return Role::First;
        }
        m_ownsName = answer == primaryOwner || answer == alreadyOwner;
        if (m_ownsName)
            return Role::First;
        if (handOver(arguments))
            break;
    }
    withdraw();
    return Role::HandedOver;
}

/// False when the other instance is gone. One that hangs finds the request when it goes on.
bool DBusInstance::handOver(const QStringList &arguments)
{
    QDBusMessage request;
    if (arguments.isEmpty()) {
        request = busCall(m_name, m_path, QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"),
                          {platformDataOfEnvironment()});
    } else {
        qDBusRegisterMetaType<QByteArrayList>();
        QByteArrayList bytes;
        for (const QString &argument : arguments)
            bytes.append(argument.toUtf8());
        request = busCall(m_name, m_path, QStringLiteral("com.vantor.cobblet.CommandLine"), QStringLiteral("Run"),
                          {QVariant::fromValue(bytes), platformDataOfEnvironment()});
    }
    request.setAutoStartService(false);
    const QDBusMessage reply = m_bus.connection().call(request, QDBus::Block, int(m_patience.count()));
    if (reply.type() == QDBusMessage::ReplyMessage) {
        const QVariantList answer = reply.arguments();
        m_answer = {answer.value(0).toInt(), answer.value(1).toString(), answer.value(2).toString()};
        return true;
    }
    const auto error = QDBusError(reply).type();
    if (error == QDBusError::ServiceUnknown ||
        reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return false;
    qCWarning(lcInstance).noquote()
        << QStringLiteral("The running Cobblet does not answer: %1").arg(reply.errorMessage());
    if (!arguments.isEmpty())
        m_answer.status = EX_UNAVAILABLE;
    return true;
}

} // namespace cobblet
