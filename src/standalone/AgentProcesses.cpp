#include "standalone/AgentProcesses.h"

#include "platform/RunningApplications.h"
#include "platform/Scheduler.h"
#include "standalone/AgentGroup.h"

#include <QPointer>

#include <algorithm>

namespace cobblet {

namespace {

/// A process that was killed is gone at once; a desktop that does not tell of it is not waited for.
constexpr std::chrono::milliseconds endPatience{2000};

} // namespace

AgentProcesses::AgentProcesses(RunningApplications &running, Scheduler &scheduler)
    : m_running(running), m_scheduler(scheduler)
{
    connect(&running, &RunningApplications::didTerminate, this, &AgentProcesses::didTerminate);
}

bool AgentProcesses::isRunning(const QUuid &group) const
{
    const QString identifier = agentIdentifier(group);
    const auto running = m_running.runningApplications();
    return std::any_of(running.begin(), running.end(),
                       [&](const RunningApplication &each) { return each.bundleIdentifier == identifier; });
}

void AgentProcesses::end(const QUuid &group, std::function<void()> then)
{
    if (!isRunning(group))
        return then();
    const QString identifier = agentIdentifier(group);
    m_ending[identifier].append(std::move(then));
    for (const RunningApplication &application : m_running.runningApplications())
        if (application.bundleIdentifier == identifier)
            m_running.forceTerminate(application);
    m_scheduler.detached(endPatience, [self = QPointer(this), identifier] {
        if (self)
            self->finish(identifier);
    });
}

void AgentProcesses::didTerminate(const RunningApplication &application)
{
    const auto group = groupOfAgent(application.bundleIdentifier);
    if (!group || isRunning(*group))
        return;
    if (m_ending.contains(application.bundleIdentifier))
        finish(application.bundleIdentifier);
    else
        emit ended(*group);
}

void AgentProcesses::finish(const QString &identifier)
{
    for (const auto &then : m_ending.take(identifier))
        then();
}

} // namespace cobblet
