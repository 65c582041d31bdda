#include "platform/freedesktop/apps/Processes.h"

#include "platform/freedesktop/apps/KeyFile.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QSocketNotifier>

#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace cobblet {

namespace {

constexpr qsizetype maximumBytes = 256 * 1024;

/// Reads a file of /proc, which has no size; bounded.
QByteArray procFile(qint64 pid, const char *name)
{
    const QByteArray path = "/proc/" + QByteArray::number(pid) + '/' + name;
    const int file = ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file < 0)
        return {};
    QByteArray content;
    std::array<char, 8192> buffer{};
    for (ssize_t size; content.size() < maximumBytes && (size = ::read(file, buffer.data(), buffer.size())) > 0;)
        content.append(buffer.data(), size);
    ::close(file);
    return content;
}

/// A descriptor that stands for the process, even after it has ended; negative where there is none.
int opened(qint64 pid)
{
    return pid > 0 ? int(syscall(SYS_pidfd_open, pid_t(pid), 0U)) : -1;
}

QString controlGroupOf(qint64 pid)
{
    QString named;
    for (const QByteArray &line : procFile(pid, "cgroup").split('\n')) {
        const qsizetype path = line.indexOf('/');
        if (line.startsWith("0::") && path >= 0 && line.size() > path + 1)
            return QString::fromUtf8(line.mid(path));
        if (line.contains(":name=systemd:"))
            named = QString::fromUtf8(line.mid(path));
    }
    return named;
}

QString flatpakOf(qint64 pid)
{
    const auto info = KeyFile::parse(procFile(pid, "root/.flatpak-info"));
    return info ? info->text("Application", "name") : QString();
}

} // namespace

std::optional<ProcessEntry> processEntry(qint64 pid)
{
    if (pid <= 0)
        return std::nullopt;
    const QByteArray stat = procFile(pid, "stat");
    const qsizetype close = stat.lastIndexOf(')'); // the name before it may hold anything
    if (close < 0)
        return std::nullopt;
    const QByteArrayList fields = stat.mid(close + 2).split(' ');
    if (fields.size() < 20 || fields.at(0) == "Z" || fields.at(0) == "X")
        return std::nullopt;
    return ProcessEntry{pid, fields.at(1).toLongLong(), fields.at(3).toLongLong(), fields.at(19).toULongLong()};
}

QList<ProcessEntry> allProcesses()
{
    QList<ProcessEntry> found;
    for (const QString &name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        bool number = false;
        if (const qint64 pid = name.toLongLong(&number); number)
            if (const auto entry = processEntry(pid))
                found.append(*entry);
    }
    return found;
}

ProcessIdentity processIdentity(qint64 pid)
{
    ProcessIdentity identity;
    if (pid <= 0)
        return identity;
    identity.pid = pid;
    identity.executable = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid));
    QByteArrayList arguments = procFile(pid, "cmdline").split('\0');
    if (!arguments.isEmpty() && arguments.last().isEmpty())
        arguments.removeLast();
    for (const QByteArray &argument : arguments)
        identity.arguments.append(QString::fromLocal8Bit(argument));
    identity.controlGroup = controlGroupOf(pid);
    identity.flatpak = flatpakOf(pid);
    for (const QByteArray &variable : procFile(pid, "environ").split('\0')) {
        const QByteArray name = variable.left(variable.indexOf('='));
        if (resolverEnvironment().contains(name))
            identity.environment.insert(name, QString::fromLocal8Bit(variable.mid(name.size() + 1)));
    }
    return identity;
}

QList<ProcessEntry> ownProcesses(const QList<qint64> &roots, const QList<ProcessEntry> &all,
                                 const QList<qint64> &others)
{
    QList<ProcessEntry> own;
    for (const ProcessEntry &entry : all)
        if (roots.contains(entry.pid) && !others.contains(entry.pid))
            own.append(entry);
    for (qsizetype next = 0; next < own.size(); ++next) {
        const ProcessEntry parent = own.at(next);
        for (const ProcessEntry &entry : all)
            if (entry.parent == parent.pid && entry.session == parent.session && !others.contains(entry.pid) &&
                !own.contains(entry))
                own.append(entry);
    }
    return own;
}

qint64 leftInSession(qint64 session)
{
    qint64 first = 0;
    for (const ProcessEntry &process : allProcesses())
        if (process.session == session && process.pid != session && (first == 0 || process.pid < first))
            first = process.pid;
    return first;
}

bool isOrDescendsFrom(qint64 pid, qint64 ancestor)
{
    if (pid == ancestor)
        return true;
    const auto last = processEntry(ancestor);
    for (int depth = 0; last && depth < 64; ++depth) {
        const auto entry = processEntry(pid);
        if (!entry || entry->session != last->session)
            return false;
        if (entry->parent == ancestor)
            return true;
        pid = entry->parent;
    }
    return false;
}

bool sendSignal(const ProcessEntry &process, int signal)
{
    const int descriptor = opened(process.pid);
    if (descriptor < 0)
        return false;
    const auto now = processEntry(process.pid);
    const bool sent = now && now->started == process.started &&
                      syscall(SYS_pidfd_send_signal, descriptor, signal, nullptr, 0U) == 0;
    ::close(descriptor);
    return sent;
}

std::unique_ptr<ProcessEnd> ProcessEnd::watch(qint64 pid)
{
    const int descriptor = opened(pid);
    return std::unique_ptr<ProcessEnd>(descriptor < 0 ? nullptr : new ProcessEnd(descriptor));
}

ProcessEnd::ProcessEnd(int descriptor)
    : m_descriptor(descriptor), m_notifier(std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read))
{
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        m_notifier->setEnabled(false);
        siginfo_t information{};
        waitid(P_PIDFD, id_t(m_descriptor), &information, WEXITED | WNOHANG); // fails for others' children
        emit ended();
    });
}

ProcessEnd::~ProcessEnd()
{
    m_notifier.reset();
    ::close(m_descriptor);
}

} // namespace cobblet
