#pragma once

#include "platform/DistributedNotifications.h"

#include <QDBusMessage>

namespace cobblet {

class SessionBus;

/// Messages as one signal on the session bus, which is connected to when the first one is sent or waited for.
class DBusNotifications : public DistributedNotifications {
    Q_OBJECT
public:
    explicit DBusNotifications(SessionBus &bus) : m_bus(bus) {}

    Availability availability() const override;
    Status post(const QString &name, const QString &object) override;

protected:
    void connectNotify(const QMetaMethod &signal) override;

private slots:
    void arrived(const QDBusMessage &message);

private:
    SessionBus &m_bus;
    bool m_listening = false;
};

} // namespace cobblet
