#include "platform/freedesktop/TrayWatcher.h"

#include "platform/freedesktop/bus/SessionBus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QLoggingCategory>

namespace cobblet {

Q_LOGGING_CATEGORY(lcTray, "cobblet.tray")

namespace {

const QString busService = QStringLiteral("org.freedesktop.DBus");
const QString busPath = QStringLiteral("/org/freedesktop/DBus");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

/// A watcher that hangs is treated as one with nothing to say.
constexpr int patience = 2'000;

void ask(QDBusConnection &bus, const QDBusMessage &call, QObject *context,
         const std::function<void(const QDBusMessage &)> &answer)
{
    auto *pending = new QDBusPendingCallWatcher(bus.asyncCall(call, patience), context);
    QObject::connect(pending, &QDBusPendingCallWatcher::finished, context,
                     [answer](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         answer(finished->reply());
                     });
}

} // namespace

TrayWatcher::TrayWatcher(X11Connection *x11, SessionBus &bus, QObject *parent)
    : QObject(parent), m_x11(x11), m_bus(bus)
{
    if (m_x11) {
        m_selection = m_x11->atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(m_x11->screenNumber()));
        connect(m_x11, &X11Connection::eventArrived, this, &TrayWatcher::handle);
        m_x11->select(m_x11->root(), XCB_EVENT_MASK_STRUCTURE_NOTIFY); // which brings a new manager's message
        askXEmbed();
    }
    if (m_bus.connection().isConnected()) {
        subscribe(true);
        askNotifier();
    }
    // Decides at once where there is nobody to ask.
    QMetaObject::invokeMethod(this, &TrayWatcher::decide, Qt::QueuedConnection);
}

TrayWatcher::~TrayWatcher()
{
    subscribe(false);
    if (m_x11)
        m_x11->forget(m_xembed);
}

/// Any sender, as a named one would be looked up first; each of these is only a reason to ask.
void TrayWatcher::subscribe(bool on)
{
    QDBusConnection &bus = m_bus.connection();
    if (!bus.isConnected())
        return;
    const char *slot = SLOT(askNotifier());
    const QString owners = QStringLiteral("NameOwnerChanged");
    if (on)
        bus.connect(QString(), busPath, busService, owners, {watcher}, QString(), this, slot);
    else
        bus.disconnect(QString(), busPath, busService, owners, {watcher}, QString(), this, slot);
    for (const QString &signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")}) {
        if (on)
            bus.connect(QString(), watcherPath, watcher, signal, this, slot);
        else
            bus.disconnect(QString(), watcherPath, watcher, signal, this, slot);
    }
}

void TrayWatcher::askNotifier()
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(busService, busPath, busService, QStringLiteral("GetNameOwner"));
    call.setArguments({watcher});
    ask(m_bus.connection(), call, this, [this, question = ++m_question](const QDBusMessage &reply) {
        if (question != m_question)
            return;
        const QString owner =
            reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString() : QString();
        if (owner.isEmpty())
            notifierIs({}, false);
        else
            askHost(owner, question);
    });
}

void TrayWatcher::askHost(const QString &owner, int question)
{
    QDBusMessage call = QDBusMessage::createMethodCall(owner, watcherPath, properties, QStringLiteral("Get"));
    call.setArguments({watcher, QStringLiteral("IsStatusNotifierHostRegistered")});
    ask(m_bus.connection(), call, this, [this, owner, question](const QDBusMessage &reply) {
        if (question != m_question)
            return;
        const QVariant value = reply.arguments().value(0).value<QDBusVariant>().variant();
        notifierIs(owner, value.metaType() != QMetaType::fromType<bool>() || value.toBool());
    });
}

void TrayWatcher::notifierIs(const QString &owner, bool hasHost)
{
    m_notifierKnown = true;
    m_notifierOwner = owner;
    m_notifierHasHost = hasHost;
    decide();
}

void TrayWatcher::askXEmbed()
{
    m_x11->whenReplied(xcb_get_selection_owner(m_x11->xcb(), m_selection).sequence, this, [this](const void *raw) {
        const auto *reply = static_cast<const xcb_get_selection_owner_reply_t *>(raw);
        const xcb_window_t owner = reply ? reply->owner : xcb_window_t(XCB_WINDOW_NONE);
        m_xembedKnown = true;
        if (owner != m_xembed) {
            m_x11->forget(m_xembed); // the next tray may get the same number for its window
            m_xembed = owner;
            if (owner != XCB_WINDOW_NONE) {
                m_x11->select(owner, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
                return askXEmbed(); // it may have gone before its end was selected
            }
        }
        decide();
    });
}

void TrayWatcher::handle(const xcb_generic_event_t *event)
{
    const uint8_t type = event->response_type & 0x7f;
    if (type == XCB_CLIENT_MESSAGE) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if (message->window != m_x11->root() || message->type != m_x11->atom("MANAGER") ||
            message->data.data32[1] != m_selection)
            return;
        askXEmbed();
    } else if (type == XCB_DESTROY_NOTIFY) {
        const xcb_window_t gone = reinterpret_cast<const xcb_destroy_notify_event_t *>(event)->window;
        if (gone != m_xembed || gone == XCB_WINDOW_NONE)
            return;
        m_x11->forget(gone);
        m_xembed = XCB_WINDOW_NONE;
        decide();
        askXEmbed(); // another one may have taken over before
    }
}

void TrayWatcher::decide()
{
    const bool waiting = (m_x11 && !m_xembedKnown) || (m_bus.connection().isConnected() && !m_notifierKnown);
    if (waiting)
        return;
    Tray tray;
    if (!m_notifierOwner.isEmpty() && (m_notifierHasHost || m_xembed == XCB_WINDOW_NONE))
        tray = {Tray::Kind::StatusNotifier, m_notifierOwner, XCB_WINDOW_NONE};
    else if (m_xembed != XCB_WINDOW_NONE)
        tray = {Tray::Kind::XEmbed, {}, m_xembed};
    if (std::exchange(m_decided, true) && tray == m_tray)
        return;
    m_tray = tray;
    if (tray.kind == Tray::Kind::None && !std::exchange(m_toldNone, true))
        qCInfo(lcTray) << "The desktop has no tray: the item with Cobblet's menu appears when there is one. Starting "
                          "Cobblet again shows the panel.";
    emit changed();
}

} // namespace cobblet
