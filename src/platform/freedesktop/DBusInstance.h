#pragma once

#include "platform/Instance.h"

#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>

namespace cobblet {

class SessionBus;

/// Owns the bundle identifier as a name on the session bus and answers there as org.freedesktop.Application.
class DBusInstance : public Instance {
    Q_OBJECT
public:
    /// `identifier` is the bundle identifier. A running instance has `patience` to answer a later start.
    DBusInstance(SessionBus &bus, const QString &identifier,
                 std::chrono::milliseconds patience = std::chrono::seconds(2), QObject *parent = nullptr);
    ~DBusInstance() override;

    Role claim() override;

    /// Takes the addresses that a later start was asked to open. Without one every address is refused.
    using UrlHandler = std::function<void(const QStringList &urls)>;
    void setUrlHandler(UrlHandler handler);
    /// Takes the named actions of the desktop entry ("new-group"); false for one that is unknown.
    using ActionHandler = std::function<bool(const QString &action, const QVariantList &parameters)>;
    void setActionHandler(ActionHandler handler);

    /// The object path that stands for an application identifier.
    static QString objectPath(const QString &identifier);

private:
    class ApplicationObject;

    bool handOver() const;
    void activated(const QVariantMap &platformData);

    SessionBus &m_bus;
    const QString m_identifier;
    const std::chrono::milliseconds m_patience;
    std::unique_ptr<ApplicationObject> m_object;
    UrlHandler m_urlHandler;
    ActionHandler m_actionHandler;
};

} // namespace cobblet
