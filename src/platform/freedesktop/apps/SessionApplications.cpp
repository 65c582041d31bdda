#include "platform/freedesktop/apps/SessionApplications.h"

#include "platform/freedesktop/apps/InstalledApplications.h"
#include "platform/freedesktop/apps/Processes.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include <QDirIterator>
#include <QFile>

#include <unistd.h>

namespace cobblet {

namespace {

constexpr QLatin1String trayItem("org.kde.StatusNotifierItem-");
constexpr int maximumScopes = 500;

} // namespace

SessionApplications::SessionApplications(SessionBus &bus, const InstalledApplications &installed,
                                         const QString &scopes)
    : m_bus(bus), m_installed(installed), m_scopes(scopes)
{
    connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, this, &SessionApplications::consider);
}

QString SessionApplications::ownScopes()
{
    return QStringLiteral("/sys/fs/cgroup/user.slice/user-%1.slice/user@%1.service/app.slice").arg(getuid());
}

void SessionApplications::look()
{
    lookIntoScopes();
    if (!hasSessionBus(&m_bus))
        return;
    m_watcher.setConnection(m_bus.connection());
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    m_watcher.addWatchedService(
        QStringLiteral("org.kde*")); // the names of items have no dot after "StatusNotifierItem"
    callSessionBus(&m_bus, this, busQuestion("ListNames"), [this](const QDBusMessage &reply) {
        for (const QString &name : reply.arguments().value(0).toStringList())
            consider(name);
    });
}

void SessionApplications::consider(const QString &name)
{
    const IndexEntry *entry = m_installed.index()->byId(name);
    const QString id = entry && entry->id == name ? name : QString();
    if (id.isEmpty() && !name.startsWith(trayItem))
        return;
    callSessionBus(
        &m_bus, this, busQuestion("GetConnectionUnixProcessID", {name}), [this, id](const QDBusMessage &answer) {
            const qint64 pid = answer.arguments().value(0).toLongLong();
            if (answer.type() != QDBusMessage::ReplyMessage || pid <= 0 || pid == getpid())
                return;
            const Resolution owner = id.isEmpty() ? resolveProcess(processIdentity(pid), *m_installed.index())
                                                  : Resolution{id, QLatin1String("bus name")};
            if (!owner.id.isEmpty())
                emit found({owner.id, pid}, owner.by);
        });
}

/// A scope outlives the application in what that left behind: only a process that shows by itself which application
/// it is counts.
void SessionApplications::lookIntoScopes()
{
    QDirIterator walk(m_scopes, {QStringLiteral("app-*.scope"), QStringLiteral("app-*.service")}, QDir::Dirs);
    for (int i = 0; i < maximumScopes && walk.hasNext(); ++i) {
        QFile processes(walk.next() + QStringLiteral("/cgroup.procs"));
        if (!processes.open(QIODevice::ReadOnly))
            continue;
        ProcessIdentity first = processIdentity(processes.readLine(32).trimmed().toLongLong());
        first.controlGroup.clear();
        const Resolution owner = resolveProcess(first, *m_installed.index());
        if (!owner.id.isEmpty() && first.pid != getpid())
            emit found({owner.id, first.pid}, owner.by);
    }
}

} // namespace cobblet
