#include "platform/freedesktop/TrayStatusItem.h"

#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/freedesktop/x11/X11Connection.h"

#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QLoggingCategory>

#include <utility>

namespace cobblet {

Q_LOGGING_CATEGORY(lcTray, "cobblet.tray")

namespace {

const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

const QString noTray =
    QStringLiteral("The desktop has no tray: the item with Cobblet's menu appears when there is one. "
                   "Starting Cobblet again shows the panel.");

} // namespace

TrayStatusItem::TrayStatusItem(X11Connection *x11, SessionBus &bus, QtMenus &menus, const Appearance &appearance,
                               const QString &iconName)
    : QtStatusItem(menus, appearance, iconName), m_x11(x11), m_bus(bus)
{
}

Availability TrayStatusItem::availability() const
{
    if (m_hasNotifier.value_or(false))
        return Availability::works(QStringLiteral("The item stands in the desktop's bar, as a status notifier."));
    if (m_hasXEmbed.value_or(false))
        return Availability::works(QStringLiteral("The item stands in the desktop's tray, which embeds it."));
    if (!m_hasNotifier || !m_hasXEmbed)
        return Availability::partly(QStringLiteral("It isn't known yet whether the desktop has a tray."));
    return Availability::unavailable(noTray);
}

void TrayStatusItem::show()
{
    if (!m_x11)
        m_hasXEmbed = false;
    else
        m_x11->followOwner(m_x11->atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(m_x11->screenNumber())), this,
                           [this](xcb_window_t owner) {
                               m_hasXEmbed = owner != XCB_WINDOW_NONE;
                               decide();
                           });
    QDBusConnection &bus = m_bus.connection();
    if (bus.isConnected()) {
        auto *owners = new QDBusServiceWatcher(watcher, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(owners, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayStatusItem::lookForNotifier);
        for (const QString &signal :
             {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")})
            bus.connect(QString(), watcherPath, watcher, signal, this, SLOT(lookForNotifier()));
    }
    lookForNotifier();
}

void TrayStatusItem::lookForNotifier()
{
    QDBusMessage call = busCall(watcher, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                QStringLiteral("Get"), {watcher, QStringLiteral("IsStatusNotifierHostRegistered")});
    call.setAutoStartService(false);
    callSessionBus(&m_bus, this, call, [this](const QDBusMessage &reply) {
        m_hasNotifier = reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
        decide();
    });
}

void TrayStatusItem::decide()
{
    if (m_isMade || !m_hasNotifier || !m_hasXEmbed)
        return;
    m_isMade = *m_hasNotifier || *m_hasXEmbed;
    if (m_isMade)
        QtStatusItem::show(*m_hasNotifier);
    else if (!std::exchange(m_saidNone, true))
        qCInfo(lcTray).noquote() << noTray;
}

} // namespace cobblet
