#include "platform/freedesktop/apps/AgentApplications.h"

#include "platform/freedesktop/SessionBus.h"
#include "platform/freedesktop/apps/DesktopBus.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <csignal>

namespace cobblet {

namespace {

QDBusMessage askBus(const char *method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                          QStringLiteral("/org/freedesktop/DBus"),
                                          QStringLiteral("org.freedesktop.DBus"), QString::fromLatin1(method));
}

} // namespace

AgentApplications::AgentApplications(RunningApplications &others, SessionBus &bus, QString prefix, QObject *parent)
    : m_others(others), m_bus(bus), m_prefix(std::move(prefix))
{
    setParent(parent);
    const auto pass = [this](auto signal) {
        connect(&m_others, signal, this, [this, signal](const RunningApplication &application) {
            if (!isOurs(application))
                emit(this->*signal)(application);
        });
    };
    pass(&RunningApplications::didLaunch);
    pass(&RunningApplications::didTerminate);

    const QDBusConnection &connection = m_bus.connection();
    if (!connection.isConnected())
        return;
    // All names below this one: a namespace has no dot at its end.
    m_watcher = new QDBusServiceWatcher(m_prefix.chopped(1) + QLatin1Char('*'), connection,
                                        QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &name, const QString &oldOwner, const QString &newOwner) {
                if (!oldOwner.isEmpty())
                    lost(name);
                if (!newOwner.isEmpty())
                    askForOwner(name, Found::Launched);
            });
    callSessionBus(&m_bus, this, askBus("ListNames"), [this](const QDBusMessage &reply) {
        for (const QString &name : reply.arguments().value(0).toStringList())
            if (name.startsWith(m_prefix))
                askForOwner(name, Found::Running);
    });
}

AgentApplications::~AgentApplications() = default;

/// Elements of a name on the bus never begin with a digit: an underscore stands before it.
QString AgentApplications::identifierOf(const QString &name) const
{
    const QString rest = name.mid(m_prefix.size());
    return m_prefix + (rest.startsWith(QLatin1Char('_')) ? rest.mid(1) : rest);
}

bool AgentApplications::isOurs(const RunningApplication &application) const
{
    return m_watcher && application.bundleIdentifier.startsWith(m_prefix);
}

void AgentApplications::askForOwner(const QString &name, Found found)
{
    QDBusMessage ask = askBus("GetConnectionUnixProcessID");
    ask << name;
    callSessionBus(&m_bus, this, ask, [this, name, found](const QDBusMessage &answer) {
        if (const qint64 pid = answer.arguments().value(0).toLongLong();
            answer.type() == QDBusMessage::ReplyMessage && pid > 0)
            ownerKnown(name, pid, found);
    });
}

void AgentApplications::ownerKnown(const QString &name, qint64 pid, Found found)
{
    const auto process = processEntry(pid);
    if (!process || m_agents.value(name) == *process)
        return;
    m_agents.insert(name, *process);
    if (found == Found::Launched)
        emit didLaunch({identifierOf(name), pid});
}

void AgentApplications::lost(const QString &name)
{
    const ProcessEntry process = m_agents.take(name);
    if (process.pid > 0)
        emit didTerminate({identifierOf(name), process.pid});
}

QList<RunningApplication> AgentApplications::runningApplications() const
{
    QList<RunningApplication> all;
    for (const RunningApplication &application : m_others.runningApplications())
        if (!isOurs(application))
            all.append(application);
    for (auto it = m_agents.begin(); it != m_agents.end(); ++it)
        all.append({identifierOf(it.key()), it->pid});
    return all;
}

bool AgentApplications::signalAgent(const RunningApplication &application, int signal)
{
    if (!isOurs(application))
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
