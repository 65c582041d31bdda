#pragma once

#include "platform/freedesktop/apps/WindowResolver.h"

#include <QList>

#include <optional>

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

/// A process and the ones it started that can be told to be its own: descendants in its session (a terminal
/// gives each shell a session of its own) that are not below one of `others`. The process itself comes first.
QList<ProcessEntry> ownProcesses(qint64 pid, const QList<ProcessEntry> &all, const QList<qint64> &others);

/// Whether `pid` is `ancestor`, or was started by it, directly or not, and still is in the same session.
bool isOrDescendsFrom(qint64 pid, qint64 ancestor);

/// Sends a signal to exactly this process, never to a later one with its number. False when it cannot.
bool sendSignal(const ProcessEntry &process, int signal);

} // namespace cobblet
