#include "Process.h"

#include "Clock.h"
#include "Failure.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace panelwatch {

Child::Child(const std::vector<std::string> &command)
{
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto &word : command)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO);
    const int error = posix_spawnp(&m_pid, arguments.front(), &files, &attributes, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        throw Failure("\"" + command.front() + "\" cannot be started: " + std::strerror(error));
    m_running = true;
    m_end = int(syscall(SYS_pidfd_open, m_pid, 0));
    if (m_end < 0)
        throw Failure(std::string("a started program cannot be watched: ") + std::strerror(errno));
}

Child::~Child()
{
    terminate();
    if (!wait(2000))
        ::kill(-m_pid, SIGKILL);
    wait(2000);
    ::close(m_end);
}

void Child::terminate() const
{
    if (m_running)
        ::kill(-m_pid, SIGTERM);
}

bool Child::wait(double timeout)
{
    for (const double end = now() + timeout; m_running;) {
        rusage used{};
        if (wait4(m_pid, &m_status, WNOHANG, &used) == m_pid) {
            m_running = false;
            m_cpu = double(used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1e3 +
                    double(used.ru_utime.tv_usec + used.ru_stime.tv_usec) / 1e3;
        } else if (now() > end) {
            return false;
        } else {
            pollfd ended{m_end, POLLIN, 0};
            ::poll(&ended, 1, int(end - now()) + 1);
        }
    }
    return true;
}

double cpuOf(pid_t pid)
{
    clockid_t clock{};
    timespec time{};
    if (pid <= 0 || clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return 0;
    return milliseconds(time);
}

namespace {

// Calls take(key, value) for each "Key: value ..." line.
template<typename Take>
void eachField(const std::filesystem::path &file, Take take)
{
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string key;
        long value = 0;
        if (words >> key >> value)
            take(key, value);
    }
}

} // namespace

std::map<std::string, long> switchesOf(pid_t pid)
{
    std::map<std::string, long> switches;
    std::error_code gone;
    for (const auto &task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task", gone))
        eachField(task.path() / "status", [&](const std::string &key, long value) {
            if (key == "voluntary_ctxt_switches:" || key == "nonvoluntary_ctxt_switches:")
                switches[task.path().filename()] += value;
        });
    return switches;
}

nlohmann::ordered_json memoryOf(pid_t pid)
{
    nlohmann::ordered_json memory = nlohmann::ordered_json::object();
    const std::filesystem::path folder = "/proc/" + std::to_string(pid);
    eachField(folder / "smaps_rollup", [&](const std::string &key, long value) {
        if (key == "Rss:")
            memory["rss"] = value;
        else if (key == "Pss:")
            memory["pss"] = value;
        else if (key == "Pss_Anon:")
            memory["anon"] = value;
    });
    eachField(folder / "status", [&](const std::string &key, long value) {
        if (key == "Threads:")
            memory["threads"] = value;
    });
    return memory;
}

} // namespace panelwatch
