#pragma once

#include <QHash>
#include <QObject>
#include <QUuid>

#include <functional>

namespace cobblet {

class RunningApplications;
class Scheduler;
struct RunningApplication;

/// The agents that run. Main thread only.
class AgentProcesses : public QObject {
    Q_OBJECT
public:
    /// The references outlive the object.
    AgentProcesses(RunningApplications &running, Scheduler &scheduler);

    bool isRunning(const QUuid &group) const;
    /// Kills the group's agent, and calls `then` once it has ended; at once where it does not run.
    void end(const QUuid &group, std::function<void()> then);

signals:
    /// One has ended that was not ended here.
    void ended(const QUuid &group);

private:
    void didTerminate(const RunningApplication &application);
    void finish(const QString &identifier);

    RunningApplications &m_running;
    Scheduler &m_scheduler;
    QHash<QString, QList<std::function<void()>>> m_ending; ///< what waits for the end, by identifier
};

} // namespace cobblet
