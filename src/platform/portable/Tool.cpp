#include "platform/Tool.h"

#include <QDeadlineTimer>
#include <QProcess>

#include <algorithm>
#include <csignal>

#include <unistd.h>

namespace cobblet {

namespace {

constexpr qsizetype maximumOutput = 64 * 1024;

} // namespace

Result<ToolEnd> ToolRunner::run(const ToolCall &call)
{
    const auto failed = [&](const QString &why) {
        return Error{QStringLiteral("The program “%1” can't be run: %2.").arg(call.program, why)};
    };
    QProcess process;
    process.setProgram(call.program);
    process.setArguments(call.arguments);
    process.setProcessEnvironment(call.environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    if (!call.keepsOutput)
        process.setStandardOutputFile(QProcess::nullDevice());
    process.setChildProcessModifier([] { ::setpgid(0, 0); }); // so that what it starts can be killed with it
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopped)
            return failed(QStringLiteral("Cobblet is about to end"));
        process.start();
        if (!process.waitForStarted())
            return failed(process.errorString());
        m_running = process.processId();
    }
    const QDeadlineTimer deadline(patience);
    QByteArray output;
    const auto keep = [&] {
        if (call.keepsOutput) // else there is nothing that could be read
            output.append(process.readAll().left(maximumOutput - output.size()));
    };
    while (process.waitForReadyRead(int(deadline.remainingTime())))
        keep();
    const bool inTime =
        process.waitForFinished(int(deadline.remainingTime())) || process.state() == QProcess::NotRunning;
    if (!inTime) {
        ::kill(-pid_t(process.processId()), SIGKILL);
        process.waitForFinished();
    }
    keep();
    const std::lock_guard lock(m_mutex);
    m_running = 0;
    if (m_stopped)
        return failed(QStringLiteral("Cobblet is about to end"));
    if (!inTime)
        return failed(QStringLiteral("it did not end within two minutes"));
    const bool wasKilled = process.exitStatus() == QProcess::CrashExit;
    return ToolEnd{process.exitCode() + (wasKilled ? 128 : 0), QString::fromUtf8(output).trimmed()};
}

void ToolRunner::stop()
{
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
    if (m_running > 0)
        ::kill(-pid_t(m_running), SIGKILL);
}

} // namespace cobblet
