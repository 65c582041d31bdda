#pragma once

#include "platform/Instance.h"
#include "platform/freedesktop/intents/BusService.h"

#include <QStringList>

#include <chrono>
#include <functional>

namespace cobblet {

/// Owns the bundle identifier as a name on the session bus and answers there as org.freedesktop.Application.
class DBusInstance : public Instance {
    Q_OBJECT
public:
    /// `identifier` is the bundle identifier. A running instance has `patience` to answer a later start.
    DBusInstance(SessionBus &bus, const QString &identifier,
                 std::chrono::milliseconds patience = std::chrono::seconds(2), QObject *parent = nullptr);
    ~DBusInstance() override;

    Role claim(const QStringList &arguments = {}) override;

    /// Takes the addresses that a later start was asked to open. Without one every address is refused.
    using UrlHandler = std::function<void(const QStringList &urls)>;
    void setUrlHandler(UrlHandler handler);
    /// Takes the named actions of the desktop entry; false for one that is unknown.
    using ActionHandler = std::function<bool(const QString &action)>;
    void setActionHandler(ActionHandler handler);

    /// All that this program answers to. What is added before claim() is there as soon as the name is ours.
    BusService &service() { return m_service; }

private:
    BusInterface applicationFace();
    void open(const BusCall &call);
    void activateAction(const BusCall &call);
    bool handOver(const QStringList &arguments);

    SessionBus &m_bus;
    const QString m_name; ///< on the bus
    const QString m_path;
    const std::chrono::milliseconds m_patience;
    BusService m_service;
    UrlHandler m_urlHandler;
    ActionHandler m_actionHandler;
};

} // namespace cobblet
