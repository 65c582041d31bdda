#pragma once

#include "platform/freedesktop/apps/WindowResolver.h"

#include <QList>
#include <QObject>

#include <memory>
#include <optional>

class QSocketNotifier;

namespace cobblet {

/// One process as the kernel lists it.
struct ProcessEntry {
    qint64 pid = 0;
    qint64 parent = 0;
    qint64 session = 0;
    quint64 started = 0; ///< clock ticks since boot; with the pid it names one process for ever

    bool operator==(const ProcessEntry &) const = default;
};

/// Reads one process; absent when it has ended.
std::optional<ProcessEntry> processEntry(qint64 pid);
/// All processes. A walk over every process of the machine: only for what a person asked for.
QList<ProcessEntry> allProcesses();

/// What the resolver needs of a process; fields that may not be read stay empty.
ProcessIdentity processIdentity(qint64 pid);

/// Processes and the ones they started that can be told to be their own: descendants in the same session (a
/// terminal gives each shell a session of its own). Neither `others` nor what these started. The roots come first.
QList<ProcessEntry> ownProcesses(const QList<qint64> &roots, const QList<ProcessEntry> &all,
                                 const QList<qint64> &others);

/// The first of the processes that the leader of a session left behind; 0 when there is none.
qint64 leftInSession(qint64 session);

/// Whether `pid` is `ancestor`, or was started by it, directly or not, and still is in the same session.
bool isOrDescendsFrom(qint64 pid, qint64 ancestor);

/// Sends a signal to exactly this process, never to a later one with its number. False when it cannot.
bool sendSignal(const ProcessEntry &process, int signal);

/// Tells when a process ends, whoever its parent is. A child of this process is reaped, so that it leaves no
/// zombie behind. Main thread.
class ProcessEnd : public QObject {
    Q_OBJECT
public:
    /// Null when there is no such process (any more), or the kernel cannot watch it.
    static std::unique_ptr<ProcessEnd> watch(qint64 pid);
    ~ProcessEnd() override;

signals:
    /// Once.
    void ended();

private:
    explicit ProcessEnd(int descriptor);

    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace cobblet
