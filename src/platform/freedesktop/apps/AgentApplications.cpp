#include "platform/freedesktop/apps/AgentApplications.h"

#include "platform/freedesktop/bus/SessionBus.h"

#include <csignal>

namespace cobblet {

AgentApplications::AgentApplications(RunningApplications &others, SessionBus &bus, const QString &prefix)
    : m_others(others), m_bus(bus), m_prefix(prefix)
{
    connect(&m_others, &RunningApplications::didLaunch, this,
            [this](const RunningApplication &application, Origin origin) {
                if (!isAgent(application))
                    emit didLaunch(application, origin);
            });
    connect(&m_others, &RunningApplications::didTerminate, this, [this](const RunningApplication &application) {
        if (!isAgent(application))
            emit didTerminate(application);
    });

    connect(&m_others, &RunningApplications::correctionsChanged, this, &RunningApplications::correctionsChanged);

    if (!hasSessionBus(&m_bus))
        return;
    m_watcher.setConnection(m_bus.connection());
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    // All names below this one: a namespace has no dot at its end.
    m_watcher.addWatchedService(m_prefix.chopped(1) + QLatin1Char('*'));
    connect(&m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &name, const QString &oldOwner, const QString &newOwner) {
                if (const auto ended = oldOwner.isEmpty() ? ProcessEntry() : m_agents.take(name); ended.pid > 0)
                    emit didTerminate({identifierOf(name), ended.pid});
                if (!newOwner.isEmpty())
                    askForOwner(name, Found::Launched);
            });
    callSessionBus(&m_bus, this, busQuestion("ListNames"), [this](const QDBusMessage &reply) {
        for (const QString &name : reply.arguments().value(0).toStringList())
            if (name.startsWith(m_prefix))
                askForOwner(name, Found::Running);
    });
}

/// Without a bus agents are not told apart.
bool AgentApplications::isAgent(const RunningApplication &application) const
{
    return !m_watcher.watchedServices().isEmpty() && application.bundleIdentifier.startsWith(m_prefix);
}

/// Whose name it is; elements of a name on the bus never begin with a digit.
QString AgentApplications::identifierOf(const QString &name) const
{
    const QString rest = name.mid(m_prefix.size());
    return m_prefix + (rest.startsWith(QLatin1Char('_')) ? rest.mid(1) : rest);
}

void AgentApplications::askForOwner(const QString &name, Found found)
{
    callSessionBus(&m_bus, this, busQuestion("GetConnectionUnixProcessID", {name}),
                   [this, name, found](const QDBusMessage &answer) {
                       const auto process = processEntry(answer.arguments().value(0).toLongLong());
                       if (!process || m_agents.value(name) == *process)
                           return;
                       m_agents.insert(name, *process);
                       if (found == Found::Launched)
                           emit didLaunch({identifierOf(name), process->pid}, Origin::Elsewhere);
                   });
}

QList<RunningApplication> AgentApplications::runningApplications() const
{
    QList<RunningApplication> all;
    for (const RunningApplication &application : m_others.runningApplications())
        if (!isAgent(application))
            all.append(application);
    for (auto it = m_agents.begin(); it != m_agents.end(); ++it)
        all.append({identifierOf(it.key()), it->pid});
    return all;
}

bool AgentApplications::signalAgent(const RunningApplication &application, int signal)
{
    if (!isAgent(application))
        return false;
    for (auto it = m_agents.begin(); it != m_agents.end(); ++it)
        if (it->pid == application.processIdentifier && identifierOf(it.key()) == application.bundleIdentifier)
            sendSignal(*it, signal);
    return true;
}

void AgentApplications::terminate(const RunningApplication &application)
{
    if (!signalAgent(application, SIGTERM))
        m_others.terminate(application);
}

void AgentApplications::forceTerminate(const RunningApplication &application)
{
    if (!signalAgent(application, SIGKILL))
        m_others.forceTerminate(application);
}

} // namespace cobblet
