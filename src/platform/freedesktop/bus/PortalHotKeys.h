#pragma once

#include "platform/HotKeys.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QVariantMap>

namespace cobblet {

class SessionBus;

/// A shortcut as the portal sends and takes it: its id and what belongs to it.
using PortalShortcut = std::pair<QString, QVariantMap>;

/// Hot keys through the desktop's portal for global shortcuts, where programs may not grab keys: one session, with
/// all combinations bound in one request. The desktop may ask the user, and picks other keys if they say so.
class PortalHotKeys : public HotKeys {
    Q_OBJECT
public:
    /// The bus outlives this object.
    explicit PortalHotKeys(SessionBus &bus);
    ~PortalHotKeys() override;

    /// Asks the portal without waiting for its answer.
    std::vector<Result<Handle>> registerAll(const QList<HotKey> &keys) override;
    Availability availability() const override
    {
        return m_unavailable.isEmpty()
                   ? Availability::works(QStringLiteral("The desktop's portal hands key combinations on."))
                   : Availability::unavailable(m_unavailable);
    }
    QString trigger(const HotKeyID &id) const override;

private slots:
    void answered(const QDBusMessage &message);
    void activated(const QDBusMessage &message);
    void shortcutsChanged(const QDBusMessage &message);
    void closed(const QDBusMessage &message);

private:
    struct Key {
        HotKey key;
        QString trigger; ///< in the desktop's words
    };
    using Next = void (PortalHotKeys::*)(const QVariantMap &results);

    void createSession();
    void bind(const QVariantMap &results);
    void bound(const QVariantMap &results);
    /// Calls a method that answers later, with a signal of an object made for the request.
    void ask(const QString &method, const QVariantList &arguments, QVariantMap options, Next next);
    void listenTo(const QString &request);
    void ownerChanged(const QString &before, const QString &now);
    enum class Portal { Told, Gone };
    void endSession(Portal portal);
    void fail(const QString &what);
    void takeTriggers(const QList<PortalShortcut> &shortcuts);
    void unregister(const HotKeyID &id) override;
    bool isFromPortal(const QDBusMessage &message) const;
    bool isOfSession(const QDBusMessage &message) const;

    SessionBus &m_bus;
    QDBusServiceWatcher m_watcher;
    QList<Key> m_keys; ///< those that are registered
    QString m_unavailable;
    QString m_portal;     ///< the bus's own name of who answered
    bool m_ended = false; ///< the portal that answered has left the bus
    QString m_session;    ///< empty while there is none
    QString m_request;    ///< the one that is under way, or empty
    Next m_next = nullptr;
    int m_requests = 0;
};

} // namespace cobblet
