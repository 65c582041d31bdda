#pragma once

#include "platform/Instance.h"
#include "platform/freedesktop/bus/ProgramObject.h"

#include <QMap>
#include <QPointer>
#include <QStringList>

#include <chrono>

namespace cobblet {

class SessionBus;

/// Owns the bundle identifier as a name on the session bus and answers there as org.freedesktop.Application.
class DBusInstance : public Instance {
    Q_OBJECT
public:
    /// `identifier` is the bundle identifier. A running instance has `patience` to answer a later start.
    DBusInstance(SessionBus &bus, const QString &identifier, CallerHooks hooks = {},
                 std::chrono::milliseconds patience = std::chrono::seconds(2));
    ~DBusInstance() override;

    Availability availability() const override;
    Role claim(const QStringList &arguments = {}) override;

    ProgramObject &program() { return m_program; }
    SessionBus &bus() { return m_bus; }
    /// Puts an object below the program's own path; only before claim(), so that it is there when the name is ours.
    void add(const QString &child, QObject &object);
    /// No object can be called any more, and calls that wait are answered with an error.
    void withdraw();

private:
    bool handOver(const QStringList &arguments);

    SessionBus &m_bus;
    const QString m_name; ///< on the bus
    const QString m_path;
    const std::chrono::milliseconds m_patience;
    ProgramObject m_program;
    QMap<QString, QPointer<QObject>> m_objects; ///< by path
    bool m_published = false;
    bool m_ownsName = false;
};

} // namespace cobblet
