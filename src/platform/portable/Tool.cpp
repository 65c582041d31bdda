#include "platform/Tool.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace cobblet {

namespace {

using Clock = std::chrono::steady_clock;

constexpr qsizetype maximumOutput = 64 * 1024;

QByteArrayList environmentFor(const ToolCall &call)
{
    QByteArrayList variables;
    for (char **variable = environ; variable && *variable; ++variable)
        if (const QByteArray text(*variable); !call.environment.contains(text.left(text.indexOf('='))))
            variables.append(text);
    for (auto it = call.environment.begin(); it != call.environment.end(); ++it)
        if (it.value())
            variables.append(it.key() + '=' + *it.value());
    return variables;
}

/// As the C functions take it; it points into `texts`.
std::vector<char *> pointersTo(QByteArrayList &texts)
{
    std::vector<char *> pointers;
    for (QByteArray &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

/// A pipe whose ends no other program inherits; the write end closes itself.
struct Pipe {
    int ends[2] = {-1, -1};

    Pipe()
    {
        if (::pipe(ends) == 0)
            for (const int end : ends)
                ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    ~Pipe()
    {
        for (const int end : ends)
            if (end >= 0)
                ::close(end);
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    void closeWriting() { ::close(std::exchange(ends[1], -1)); }
};

/// In a process group of its own, so that what it starts can be killed with it. The error number of the start.
int spawn(const ToolCall &call, int output, pid_t &child)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    // The write end also tells of the end of a program whose output goes nowhere: the first descriptor past the
    // standard ones stays open in it for as long as it runs.
    constexpr int lifeline = 3;
    posix_spawn_file_actions_adddup2(&actions, output, lifeline);
    if (call.keepsOutput) {
        posix_spawn_file_actions_adddup2(&actions, lifeline, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, lifeline, STDERR_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);

    QByteArrayList arguments{QFile::encodeName(call.program)};
    for (const QString &argument : call.arguments)
        arguments.append(QFile::encodeName(argument));
    QByteArrayList environment = environmentFor(call);
    const std::vector<char *> argumentPointers = pointersTo(arguments);
    const std::vector<char *> environmentPointers = pointersTo(environment);
    const int failure = ::posix_spawn(&child, argumentPointers[0], &actions, &attributes, argumentPointers.data(),
                                      environmentPointers.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return failure;
}

/// Reads until every holder of the write end has ended; false when that takes too long.
bool readToEnd(int pipe, QByteArray &output)
{
    const auto latest = Clock::now() + ToolRunner::patience;
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(latest - Clock::now()).count();
        pollfd ready{pipe, POLLIN, 0};
        const int events = left > 0 ? ::poll(&ready, 1, int(left)) : 0;
        if (events == 0)
            return false;
        char buffer[4096];
        const ssize_t size = events < 0 ? -1 : ::read(pipe, buffer, sizeof buffer);
        if (size == 0 || (size < 0 && errno != EINTR))
            return true;
        if (size > 0)
            output.append(buffer, std::min<qsizetype>(size, maximumOutput - output.size()));
    }
}

} // namespace

Result<ToolEnd> ToolRunner::run(const ToolCall &call)
{
    const auto failed = [&](const QString &why) {
        return Error{QStringLiteral("The program “%1” can't be run: %2.").arg(call.program, why)};
    };
    Pipe pipe;
    if (pipe.ends[0] < 0)
        return failed(QString::fromLocal8Bit(std::strerror(errno)));
    pid_t child = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (m_stopped)
            return failed(QStringLiteral("Cobblet is about to end"));
        if (const int failure = spawn(call, pipe.ends[1], child); failure != 0)
            return failed(QString::fromLocal8Bit(std::strerror(failure)));
        m_child = child;
    }
    pipe.closeWriting();
    QByteArray output;
    const bool inTime = readToEnd(pipe.ends[0], output);
    if (!inTime)
        ::kill(-child, SIGKILL);
    // It stays a zombie, whose number nobody else can have, until nobody can kill it any more.
    siginfo_t end{};
    while (::waitid(P_PID, id_t(child), &end, WEXITED | WNOWAIT) < 0 && errno == EINTR) {
    }
    const std::lock_guard lock(m_mutex);
    m_child = 0;
    int status = 0;
    ::waitpid(child, &status, 0);
    if (m_stopped)
        return failed(QStringLiteral("Cobblet is about to end"));
    if (!inTime)
        return failed(QStringLiteral("it did not end within two minutes"));
    return ToolEnd{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
                   QString::fromUtf8(output).trimmed()};
}

void ToolRunner::stop()
{
    const std::lock_guard lock(m_mutex);
    m_stopped = true;
    if (m_child > 0)
        ::kill(-m_child, SIGKILL);
}

} // namespace cobblet
