#include "platform/freedesktop/bus/PortalHotKeys.h"

#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/portable/KeyCombination.h"

#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QLoggingCategory>

#include <algorithm>

namespace cobblet {

Q_LOGGING_CATEGORY(lcPortalKeys, "cobblet.hotkeys")

namespace {

const QString interface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString response = QStringLiteral("Response");

constexpr qsizetype maximumText = 200;
constexpr int maximumShortcuts = 64;

/// Empty for anything that is no list of shortcuts.
QList<PortalShortcut> shortcutsFrom(const QVariant &value)
{
    const auto argument = value.value<QDBusArgument>();
    return argument.currentSignature() == QLatin1String("a(sa{sv})")
               ? qdbus_cast<QList<PortalShortcut>>(argument).mid(0, maximumShortcuts)
               : QList<PortalShortcut>();
}

/// What the portal says of a request that failed; empty where it cannot do such things at all.
QString refusalOf(const QDBusMessage &error)
{
    switch (QDBusError(error).type()) {
    case QDBusError::ServiceUnknown:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
        return {};
    default:
        return error.errorMessage().left(maximumText);
    }
}

} // namespace

PortalHotKeys::PortalHotKeys(SessionBus &bus) : m_bus(bus)
{
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
}

PortalHotKeys::~PortalHotKeys()
{
    endSession(Portal::Told);
}

std::vector<Result<HotKeys::Handle>> PortalHotKeys::registerAll(const QList<HotKey> &keys)
{
    std::vector<Result<Handle>> results;
    QDBusConnection &bus = m_bus.connection();
    if (!bus.isConnected()) {
        fail(QStringLiteral("The desktop can't be asked for global shortcuts without a session bus."));
        for (qsizetype i = 0; i < keys.size(); ++i)
            results.emplace_back(Error{m_unavailable});
        return results;
    }
    for (const HotKey &key : keys) {
        m_keys.append({key, {}});
        results.emplace_back(std::make_unique<Registration>(this, key.id));
    }
    // Any sender, as the toolkit would wait for the bus to say who owns a name; who sent it is seen on arrival.
    bus.connect(QString(), portalPath, interface, QStringLiteral("Activated"), this, SLOT(activated(QDBusMessage)));
    bus.connect(QString(), portalPath, interface, QStringLiteral("ShortcutsChanged"), this,
                SLOT(shortcutsChanged(QDBusMessage)));
    m_watcher.setConnection(bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcher.addWatchedService(portalService);
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &before, const QString &now) { ownerChanged(before, now); });
    createSession();
    return results;
}

void PortalHotKeys::createSession()
{
    ask(QStringLiteral("CreateSession"), {}, {{QStringLiteral("session_handle_token"), QStringLiteral("cobblet")}},
        &PortalHotKeys::bind);
}

void PortalHotKeys::bind(const QVariantMap &results)
{
    const QVariant handle = results.value(QStringLiteral("session_handle"));
    m_session = handle.metaType() == QMetaType::fromType<QDBusObjectPath>() ? handle.value<QDBusObjectPath>().path()
                                                                            : handle.toString();
    if (!m_session.startsWith(portalPath))
        return fail(QStringLiteral("The desktop's answer about global shortcuts makes no sense."));
    m_bus.connection().connect(QString(), m_session, sessionInterface, QStringLiteral("Closed"), this,
                               SLOT(closed(QDBusMessage)));
    QList<PortalShortcut> shortcuts;
    for (const Key &key : m_keys)
        shortcuts.append({key.key.name,
                          {{QStringLiteral("description"), key.key.description},
                           {QStringLiteral("preferred_trigger"), combinationTrigger(key.key)}}});
    ask(QStringLiteral("BindShortcuts"),
        {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts), QString()}, {},
        &PortalHotKeys::bound);
}

void PortalHotKeys::bound(const QVariantMap &results)
{
    const QList<PortalShortcut> shortcuts = shortcutsFrom(results.value(QStringLiteral("shortcuts")));
    QList<Key> missing;
    if (results.contains(QStringLiteral("shortcuts")))
        for (const Key &key : std::exchange(m_keys, {})) {
            const bool isBound = std::any_of(shortcuts.begin(), shortcuts.end(),
                                             [&key](const auto &shortcut) { return shortcut.first == key.key.name; });
            (isBound ? m_keys : missing).append(key);
        }
    m_unavailable.clear();
    takeTriggers(shortcuts);
    for (const Key &key : missing) {
        const QString reason =
            QStringLiteral("The desktop did not bind %1: choose a key for it in the desktop's keyboard settings.")
                .arg(combinationText(key.key));
        qCWarning(lcPortalKeys).noquote() << reason;
        emit refused(key.key.id, reason);
    }
}

void PortalHotKeys::ask(const QString &method, const QVariantList &arguments, QVariantMap options, Next next)
{
    QDBusConnection &bus = m_bus.connection();
    const QString token = QStringLiteral("cobblet_%1").arg(++m_requests);
    m_next = next;
    listenTo(portalPath + QStringLiteral("/request/") +
             bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_')) + QLatin1Char('/') + token);
    options.insert(QStringLiteral("handle_token"), token);
    const QDBusMessage call =
        busCall(portalService, portalPath, interface, method, arguments + QVariantList{options});
    callSessionBus(&m_bus, this, call, [this, number = m_requests](const QDBusMessage &reply) {
        if (number != m_requests || m_request.isEmpty())
            return; // its answer was quicker, or it is no longer wanted
        if (reply.type() == QDBusMessage::ErrorMessage) {
            const QString refusal = refusalOf(reply);
            return fail(refusal.isEmpty()
                            ? QStringLiteral("This desktop offers programs no global shortcuts.")
                            : QStringLiteral("The desktop refused global shortcuts (%1).").arg(refusal));
        }
        m_portal = reply.service();
    });
}

/// Ends listening to the request before; nothing where `request` is empty.
void PortalHotKeys::listenTo(const QString &request)
{
    QDBusConnection &bus = m_bus.connection();
    if (!m_request.isEmpty())
        bus.disconnect(QString(), m_request, requestInterface, response, this, SLOT(answered(QDBusMessage)));
    m_request = request;
    if (!m_request.isEmpty())
        bus.connect(QString(), m_request, requestInterface, response, this, SLOT(answered(QDBusMessage)));
}

bool PortalHotKeys::isFromPortal(const QDBusMessage &message) const
{
    return m_portal.isEmpty() || message.service() == m_portal;
}

/// Whether it is about the session that its first argument names.
bool PortalHotKeys::isOfSession(const QDBusMessage &message) const
{
    return !m_session.isEmpty() && isFromPortal(message) &&
           message.arguments().at(0).value<QDBusObjectPath>().path() == m_session;
}

void PortalHotKeys::answered(const QDBusMessage &message)
{
    if (message.path() != m_request || message.signature() != QLatin1String("ua{sv}") || !isFromPortal(message))
        return;
    m_portal = message.service();
    listenTo({});
    const uint code = message.arguments().at(0).toUInt();
    if (code != 0)
        return fail(code == 1 ? QStringLiteral("The global shortcuts were declined when the desktop asked.")
                              : QStringLiteral("The desktop ended the request for global shortcuts."));
    (this->*m_next)(qdbus_cast<QVariantMap>(message.arguments().at(1)));
}

void PortalHotKeys::activated(const QDBusMessage &message)
{
    if (!message.signature().startsWith(QLatin1String("os")) || !isOfSession(message))
        return;
    const QString name = message.arguments().at(1).toString();
    for (const Key &key : m_keys)
        if (key.key.name == name)
            return emit pressed(key.key.id);
}

void PortalHotKeys::shortcutsChanged(const QDBusMessage &message)
{
    if (message.signature() == QLatin1String("oa(sa{sv})") && isOfSession(message))
        takeTriggers(shortcutsFrom(message.arguments().at(1)));
}

void PortalHotKeys::takeTriggers(const QList<PortalShortcut> &shortcuts)
{
    for (const auto &[name, fields] : shortcuts)
        for (Key &key : m_keys)
            if (key.key.name == name)
                key.trigger = fields.value(QStringLiteral("trigger_description")).toString().left(maximumText);
    emit changed();
}

void PortalHotKeys::closed(const QDBusMessage &message)
{
    if (!m_session.isEmpty() && message.path() == m_session && isFromPortal(message))
        fail(QStringLiteral("The desktop ended its global shortcuts."));
}

/// A portal that starts again knows nothing of the session: it is asked for the same once more.
void PortalHotKeys::ownerChanged(const QString &before, const QString &now)
{
    if (!m_portal.isEmpty() && before == m_portal) {
        endSession(Portal::Gone);
        m_ended = true;
        m_unavailable = QStringLiteral("The desktop's service for global shortcuts has ended.");
        emit changed();
    }
    if (m_ended && !now.isEmpty() && !m_keys.isEmpty()) {
        m_ended = false;
        createSession();
    }
}

void PortalHotKeys::endSession(Portal portal)
{
    listenTo({});
    if (!m_session.isEmpty()) {
        QDBusConnection &bus = m_bus.connection();
        if (portal == Portal::Told)
            bus.send(busCall(portalService, m_session, sessionInterface, QStringLiteral("Close")));
        bus.disconnect(QString(), m_session, sessionInterface, QStringLiteral("Closed"), this,
                       SLOT(closed(QDBusMessage)));
    }
    m_session.clear();
    m_portal.clear();
}

void PortalHotKeys::fail(const QString &what)
{
    m_unavailable = what;
    endSession(Portal::Told);
    for (const Key &key : std::exchange(m_keys, {}))
        emit refused(key.key.id, m_unavailable);
    emit changed();
}

QString PortalHotKeys::trigger(const HotKeyID &id) const
{
    for (const Key &key : m_keys)
        if (key.key.id == id)
            return key.trigger;
    return {};
}

/// The portal takes no single combination back, but its presses no longer count.
void PortalHotKeys::unregister(const HotKeyID &id)
{
    m_keys.removeIf([&id](const Key &key) { return key.key.id == id; });
    if (m_keys.isEmpty())
        endSession(Portal::Told);
}

} // namespace cobblet
