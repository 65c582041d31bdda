#pragma once

#include "platform/Result.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <chrono>
#include <mutex>

namespace cobblet {

/// One run of a command-line program.
struct ToolCall {
    QString program; ///< a full path; no shell ever sees it or the arguments
    QStringList arguments;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    bool keepsOutput = false; ///< of both streams; else it goes nowhere
};

struct ToolEnd {
    int status = 0; ///< the exit status; 128 and the signal for one that was killed
    QString output; ///< without white space around it; the first 64 KiB
};

/// Runs programs for a thread that waits for them. The functions may be called from any thread.
class ToolRunner {
public:
    /// A program that runs longer is killed: copying a bundle takes a slow disk seconds.
    static constexpr std::chrono::seconds patience{120};

    /// Waits for the program's end. An error when it can't be started, or once stop() was called.
    Result<ToolEnd> run(const ToolCall &call);
    /// Kills the program that runs, with what it started; none is started any more.
    void stop();

private:
    std::mutex m_mutex;
    qint64 m_running = 0; ///< the program's process, and group of processes; 0 while none runs
    bool m_stopped = false;
};

} // namespace cobblet
