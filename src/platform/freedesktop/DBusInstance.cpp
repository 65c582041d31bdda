#include "platform/freedesktop/DBusInstance.h"

#include "platform/freedesktop/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QLoggingCategory>

#include <sysexits.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcInstance, "cobblet.instance")

namespace {

const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
const QString commandLineInterface = QStringLiteral("com.vantor.cobblet.CommandLine");

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

DBusInstance::DBusInstance(SessionBus &bus, const QString &identifier, std::chrono::milliseconds patience,
                           QObject *parent)
    : m_bus(bus), m_name(BusService::busName(identifier)), m_path(BusService::objectPath(identifier)),
      m_patience(patience), m_service(bus, identifier)
{
    setParent(parent);
    m_service.add(applicationFace());
}

DBusInstance::~DBusInstance() = default;

void DBusInstance::setUrlHandler(UrlHandler handler)
{
    m_urlHandler = std::move(handler);
}

void DBusInstance::setActionHandler(ActionHandler handler)
{
    m_actionHandler = std::move(handler);
}

BusInterface DBusInstance::applicationFace()
{
    return {.name = "org.freedesktop.Application",
            .description = "",
            .methods = {{.name = "Activate",
                         .description = "",
                         .in = {{"platform_data", "a{sv}"}},
                         .out = {},
                         .handle =
                             [this](const BusCall &call) {
                                 call.reply();
                                 emit reopen(m_service.userActed(call.map(0)));
                             },
                         .lane = urgentLane,
                         .needsProgram = false},
                        {.name = "Open",
                         .description = "",
                         .in = {{"uris", "as"}, {"platform_data", "a{sv}"}},
                         .out = {},
                         .handle = [this](const BusCall &call) { open(call); },
                         .lane = urgentLane},
                        {.name = "ActivateAction",
                         .description = "",
                         .in = {{"action_name", "s"}, {"parameter", "av"}, {"platform_data", "a{sv}"}},
                         .out = {},
                         .handle = [this](const BusCall &call) { activateAction(call); },
                         .lane = urgentLane}}};
}

void DBusInstance::open(const BusCall &call)
{
    const QStringList urls = call.texts(0);
    if (!m_urlHandler)
        return call.refuse(
            QDBusError::InvalidArgs,
            QStringLiteral("%1 addresses were not opened: no kind of address is known here.").arg(urls.size()));
    call.reply();
    m_service.userActed(call.map(1));
    m_urlHandler(urls);
}

void DBusInstance::activateAction(const BusCall &call)
{
    m_service.userActed(call.map(2));
    if (!m_actionHandler || !m_actionHandler(call.text(0)))
        return call.refuse(QDBusError::InvalidArgs,
                           QStringLiteral("There is no action “%1”.").arg(call.text(0).left(100)));
    call.reply();
}

Instance::Role DBusInstance::claim(const QStringList &arguments)
{
    QDBusConnection &bus = m_bus.connection();
    if (!bus.isConnected() || m_name.isEmpty())
        return Role::First;

    // Served before the name is ours, so that whoever sees the name can also call.
    m_service.publish();

    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    request.setArguments({m_name, doNotQueue});
    // Twice: the instance that was there may end between the two questions.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const QDBusMessage reply = bus.call(request, QDBus::Block, int(m_patience.count()));
        const uint answer = reply.arguments().value(0).toUInt();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            qCWarning(lcInstance).noquote()
                << QStringLiteral("Whether Cobblet runs already is unknown: %1").arg(reply.errorMessage());
            return Role::First;
        }
        if (answer == primaryOwner || answer == alreadyOwner)
            return Role::First;
        if (handOver(arguments))
            break;
    }
    m_service.withdraw();
    return Role::HandedOver;
}

/// False when the other instance is gone. One that hangs finds the request when it goes on.
bool DBusInstance::handOver(const QStringList &arguments)
{
    QDBusMessage request;
    if (arguments.isEmpty()) {
        request = QDBusMessage::createMethodCall(m_name, m_path, applicationInterface, QStringLiteral("Activate"));
        request.setArguments({platformDataOfEnvironment()});
    } else {
        qDBusRegisterMetaType<QByteArrayList>();
        QByteArrayList bytes;
        for (const QString &argument : arguments)
            bytes.append(argument.toUtf8());
        request = QDBusMessage::createMethodCall(m_name, m_path, commandLineInterface, QStringLiteral("Run"));
        request.setArguments({QVariant::fromValue(bytes), platformDataOfEnvironment()});
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
