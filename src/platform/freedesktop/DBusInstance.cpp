#include "platform/freedesktop/DBusInstance.h"

#include "platform/freedesktop/SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QLoggingCategory>

namespace cobblet {

Q_LOGGING_CATEGORY(lcInstance, "cobblet.instance")

namespace {

const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
constexpr qsizetype maximumText = 4096;
constexpr qsizetype maximumUrls = 256;

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

/// The methods by hand instead of through an adaptor: a request skips the look-up by introspection, and a
/// message with other arguments than the interface has is answered with an error in one place.
class DBusInstance::ApplicationObject : public QDBusVirtualObject {
public:
    explicit ApplicationObject(DBusInstance &instance) : m_instance(instance) {}

    QString introspect(const QString &) const override
    {
        return QStringLiteral(R"(<interface name="org.freedesktop.Application">
<method name="Activate"><arg type="a{sv}" name="platform_data" direction="in"/></method>
<method name="Open"><arg type="as" name="uris" direction="in"/><arg type="a{sv}" name="platform_data" direction="in"/></method>
<method name="ActivateAction"><arg type="s" name="action_name" direction="in"/><arg type="av" name="parameter" direction="in"/><arg type="a{sv}" name="platform_data" direction="in"/></method>
</interface>)");
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.type() != QDBusMessage::MethodCallMessage ||
            message.path() != objectPath(m_instance.m_identifier) ||
            (!message.interface().isEmpty() && message.interface() != applicationInterface))
            return false;
        const QVariantList arguments = message.arguments();
        const QString call = message.member() + QLatin1Char('(') + message.signature() + QLatin1Char(')');
        if (call == QLatin1String("Activate(a{sv})")) {
            answer(connection, message.createReply());
            m_instance.activated(qdbus_cast<QVariantMap>(arguments[0]));
        } else if (call == QLatin1String("Open(asa{sv})")) {
            open(connection, message, arguments[0].toStringList());
        } else if (call == QLatin1String("ActivateAction(sava{sv})")) {
            activateAction(connection, message, arguments[0].toString(), qdbus_cast<QVariantList>(arguments[1]));
        } else {
            return false;
        }
        return true;
    }

private:
    static void answer(const QDBusConnection &connection, const QDBusMessage &reply) { (void)connection.send(reply); }

    static void refuse(const QDBusConnection &connection, const QDBusMessage &message, const QString &why)
    {
        qCWarning(lcInstance).noquote() << why;
        answer(connection, message.createErrorReply(QDBusError::InvalidArgs, why));
    }

    void open(const QDBusConnection &connection, const QDBusMessage &message, const QStringList &urls)
    {
        if (urls.size() > maximumUrls || !m_instance.m_urlHandler)
            return refuse(
                connection, message,
                QStringLiteral("%1 addresses were not opened: no kind of address is known here.").arg(urls.size()));
        answer(connection, message.createReply());
        m_instance.m_urlHandler(urls);
    }

    void activateAction(const QDBusConnection &connection, const QDBusMessage &message, const QString &action,
                        const QVariantList &parameters)
    {
        if (!m_instance.m_actionHandler || !m_instance.m_actionHandler(action, parameters))
            return refuse(connection, message, QStringLiteral("There is no action “%1”.").arg(action.left(100)));
        answer(connection, message.createReply());
    }

    DBusInstance &m_instance;
};

DBusInstance::DBusInstance(SessionBus &bus, const QString &identifier, std::chrono::milliseconds patience,
                           QObject *parent)
    : m_bus(bus), m_identifier(identifier), m_patience(patience)
{
    setParent(parent);
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

QString DBusInstance::objectPath(const QString &identifier)
{
    QString path = QLatin1Char('/') + identifier;
    return path.replace(QLatin1Char('.'), QLatin1Char('/')).replace(QLatin1Char('-'), QLatin1Char('_'));
}

Instance::Role DBusInstance::claim()
{
    QDBusConnection &bus = m_bus.connection();
    if (!bus.isConnected() || m_identifier.isEmpty())
        return Role::First;

    // Served before the name is ours, so that whoever sees the name can also call.
    m_object = std::make_unique<ApplicationObject>(*this);
    bus.registerVirtualObject(objectPath(m_identifier), m_object.get());

    QDBusMessage request = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    request.setArguments({m_identifier, doNotQueue});
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
        if (handOver())
            break;
    }
    bus.unregisterObject(objectPath(m_identifier));
    m_object.reset();
    return Role::HandedOver;
}

/// False when the other instance is gone. One that hangs finds the request when it goes on.
bool DBusInstance::handOver() const
{
    QDBusMessage activate = QDBusMessage::createMethodCall(m_identifier, objectPath(m_identifier),
                                                           applicationInterface, QStringLiteral("Activate"));
    activate.setArguments({platformDataOfEnvironment()});
    activate.setAutoStartService(false);
    const QDBusMessage reply = m_bus.connection().call(activate, QDBus::Block, int(m_patience.count()));
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    const auto error = QDBusError(reply).type();
    if (error == QDBusError::ServiceUnknown ||
        reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        return false;
    qCWarning(lcInstance).noquote()
        << QStringLiteral("The running Cobblet does not answer: %1").arg(reply.errorMessage());
    return true;
}

void DBusInstance::activated(const QVariantMap &platformData)
{
    for (const QString &key : {QStringLiteral("desktop-startup-id"), QStringLiteral("activation-token")})
        if (const QString token = platformData.value(key).toString(); !token.isEmpty()) {
            emit reopen(token.size() <= maximumText ? token : QString());
            return;
        }
    emit reopen({});
}

} // namespace cobblet
