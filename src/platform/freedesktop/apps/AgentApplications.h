#pragma once

#include "platform/RunningApplications.h"
#include "platform/freedesktop/apps/Processes.h"

#include <QMap>
#include <QObject>

class QDBusServiceWatcher;

namespace cobblet {

class SessionBus;

/// The running applications, and among them the applications of single groups, which have no window most of the time:
/// each is known by the name that it owns on the session bus. Without a bus they are known as any other application
/// is.
class AgentApplications : public RunningApplications {
    Q_OBJECT
public:
    /// Identifiers of agents begin with `prefix`, which ends with a dot. The references outlive this object.
    AgentApplications(RunningApplications &others, SessionBus &bus, QString prefix, QObject *parent = nullptr);
    ~AgentApplications() override;

    QList<RunningApplication> runningApplications() const override;
    Availability availability() const override { return m_others.availability(); }
    void hide(const RunningApplication &application) override { m_others.hide(application); }
    void unhide(const RunningApplication &application) override { m_others.unhide(application); }
    void activate(const RunningApplication &application) override { m_others.activate(application); }
    void terminate(const RunningApplication &application) override;
    void forceTerminate(const RunningApplication &application) override;

private:
    /// What owns the name on the bus.
    QString identifierOf(const QString &name) const;
    bool isOurs(const RunningApplication &application) const;
    enum class Found { Running, Launched };
    void askForOwner(const QString &name, Found found);
    void ownerKnown(const QString &name, qint64 pid, Found found);
    void lost(const QString &name);
    bool signalAgent(const RunningApplication &application, int signal);

    RunningApplications &m_others;
    SessionBus &m_bus;
    const QString m_prefix;
    QDBusServiceWatcher *m_watcher = nullptr; ///< null without a bus
    QMap<QString, ProcessEntry> m_agents;     ///< by the name on the bus
};

} // namespace cobblet
