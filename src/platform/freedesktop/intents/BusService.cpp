#include "platform/freedesktop/intents/BusService.h"

#include "platform/freedesktop/SessionBus.h"
#include "platform/freedesktop/intents/BusArguments.h"

#include <QDBusVirtualObject>

#include <algorithm>

namespace cobblet {

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

QString shortened(const QString &text)
{
    return text.left(100);
}

} // namespace

/// One path. The toolkit answers Introspect, with what introspect() says.
class BusService::Object : public QDBusVirtualObject {
public:
    Object(BusService &service, QString path) : m_service(service), m_path(std::move(path)) {}

    void add(BusInterface interface) { m_interfaces.push_back(std::move(interface)); }

    QString introspect(const QString &) const override
    {
        QString xml;
        for (const BusInterface &interface : m_interfaces)
            xml += interface.introspection();
        return xml;
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.type() != QDBusMessage::MethodCallMessage || message.path() != m_path)
            return false;
        if (message.interface() == propertiesInterface) {
            answerProperties(message, connection);
            return true;
        }
        const BusMethod *method = nullptr;
        if (message.interface().isEmpty()) {
            for (const BusInterface &interface : m_interfaces)
                if (!method)
                    method = interface.method(message.member());
        } else if (const BusInterface *interface = find(message.interface())) {
            method = interface->method(message.member());
        } else {
            return false;
        }
        if (method) {
            m_service.take(connection, message, *method);
        } else {
            refuse(
                message, connection, QDBusError::UnknownMethod,
                QStringLiteral("There is no method “%1” in %2.")
                    .arg(shortened(message.member()), message.interface().isEmpty() ? m_path : message.interface()));
        }
        return true;
    }

private:
    const BusInterface *find(const QString &name) const
    {
        const auto found = std::find_if(m_interfaces.begin(), m_interfaces.end(), [&](const BusInterface &interface) {
            return name == QLatin1String(interface.name);
        });
        return found == m_interfaces.end() ? nullptr : &*found;
    }

    /// The interfaces have none, which tools ask for nevertheless.
    void answerProperties(const QDBusMessage &message, const QDBusConnection &connection) const
    {
        const QString interface = shortened(message.arguments().value(0).toString());
        const bool known = find(interface) != nullptr;
        const QString call = message.member() + QLatin1Char('(') + message.signature() + QLatin1Char(')');
        if (call == QLatin1String("GetAll(s)") && (known || interface.isEmpty()))
            (void)connection.send(message.createReply(QVariant(QVariantMap())));
        else if (call == QLatin1String("GetAll(s)"))
            refuse(message, connection, QDBusError::UnknownInterface,
                   QStringLiteral("There is no interface “%1” here.").arg(interface));
        else if (call == QLatin1String("Get(ss)") || call == QLatin1String("Set(ssv)"))
            refuse(message, connection, QDBusError::UnknownProperty,
                   QStringLiteral("The objects of Cobblet have no properties."));
        else
            refuse(message, connection, QDBusError::InvalidArgs,
                   QStringLiteral("The properties interface has GetAll(s), Get(ss) and Set(ssv)."));
    }

    static void refuse(const QDBusMessage &message, const QDBusConnection &connection, QDBusError::ErrorType error,
                       const QString &why)
    {
        BusCall(connection, message, {}).refuse(error, why);
    }

    BusService &m_service;
    const QString m_path;
    std::vector<BusInterface> m_interfaces;
};

BusService::BusService(SessionBus &bus, const QString &identifier) : m_bus(bus), m_path(objectPath(identifier)) {}

BusService::~BusService()
{
    withdraw();
}

QString BusService::objectPath(const QString &identifier)
{
    QString path = QLatin1Char('/') + identifier;
    return path.replace(QLatin1Char('.'), QLatin1Char('/')).replace(QLatin1Char('-'), QLatin1Char('_'));
}

QString BusService::busName(const QString &identifier)
{
    QStringList elements = identifier.split(QLatin1Char('.'));
    for (QString &element : elements)
        if (!element.isEmpty() && element.front() >= u'0' && element.front() <= u'9')
            element.prepend(QLatin1Char('_'));
    return elements.join(QLatin1Char('.'));
}

void BusService::add(BusInterface interface, const QString &child)
{
    const QString path = child.isEmpty() ? m_path : m_path + QLatin1Char('/') + child;
    std::unique_ptr<Object> &object = m_objects[path];
    const bool isNew = !object;
    if (isNew)
        object = std::make_unique<Object>(*this, path);
    object->add(std::move(interface));
    if (isNew && m_published)
        m_bus.connection().registerVirtualObject(path, object.get());
}

void BusService::publish()
{
    m_published = true;
    for (const auto &[path, object] : m_objects)
        m_bus.connection().registerVirtualObject(path, object.get());
}

void BusService::withdraw()
{
    if (m_published)
        for (const auto &[path, object] : m_objects)
            m_bus.connection().unregisterObject(path);
    m_published = false;
    m_queue.clear();
}

void BusService::notify(const char *interface, const char *notice)
{
    if (m_published)
        (void)m_bus.connection().send(
            QDBusMessage::createSignal(m_path, QLatin1String(interface), QLatin1String(notice)));
}

QString BusService::userActed(const QVariantMap &platformData) const
{
    for (const QString &key : {QStringLiteral("desktop-startup-id"), QStringLiteral("activation-token")})
        if (const QString token = platformData.value(key).toString(); !token.isEmpty()) {
            if (m_acts.token)
                m_acts.token(token);
            return token;
        }
    return {};
}

void BusService::userActedAt(quint32 time) const
{
    if (m_acts.time && time != 0)
        m_acts.time(time);
}

/// Delivered without the event loop turning in between, so what is done here is little.
void BusService::take(const QDBusConnection &connection, const QDBusMessage &message, const BusMethod &method)
{
    const QString signature = method.signature();
    if (message.signature() != signature)
        return BusCall(connection, message, {})
            .refuse(QDBusError::InvalidArgs,
                    QStringLiteral("%1 takes (%2), not (%3).")
                        .arg(QLatin1String(method.name), signature, shortened(message.signature())));
    const Result<QVariantList> arguments = boundedArguments(message.arguments());
    if (!arguments)
        return BusCall(connection, message, {}).refuse(QDBusError::LimitsExceeded, arguments.error());

    const BusCall call(connection, message, arguments.value());
    const CallQueue::Lane lane = method.lane ? method.lane(call) : CallQueue::Lane::Ordinary;
    const bool taken = m_queue.take(lane, {message.service(), method.needsProgram,
                                           [this, lane, &method, call] { carryOut(lane, method, call); }});
    if (!taken)
        call.refuse(QDBusError::LimitsExceeded, QStringLiteral("Too many requests are waiting. Ask again later."));
}

void BusService::carryOut(CallQueue::Lane lane, const BusMethod &method, const BusCall &call)
{
    if (method.answersLater) {
        const std::shared_ptr<void> &open = lane == CallQueue::Lane::Urgent ? m_openUrgent : m_openOrdinary;
        if (open.use_count() > maximumOpen)
            return call.refuse(QDBusError::LimitsExceeded,
                               QStringLiteral("Too many requests are being carried out. Ask again later."));
        call.keep(open);
    }
    method.handle(call);
}

} // namespace cobblet
