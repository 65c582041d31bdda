#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace panelwatch {

/// A program started as the leader of a process group of its own; what it prints goes to standard error. Ended, if it
/// still runs, when this goes.
class Child {
public:
    explicit Child(const std::vector<std::string> &command);
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    pid_t pid() const { return m_pid; }
    /// Asks the whole group to end.
    void terminate() const;
    /// Waits up to `timeout` ms for the end. True when it has ended; then cpu() counts.
    bool wait(double timeout);
    /// CPU milliseconds that the ended process used.
    double cpu() const { return m_cpu; }
    /// Whether the ended process ended by itself, with status 0.
    bool succeeded() const { return m_status == 0; }

private:
    pid_t m_pid = -1;
    int m_end = -1; // readable once the process has ended
    int m_status = -1;
    bool m_running = false;
    double m_cpu = 0;
};

/// CPU milliseconds that a running process has used in all its threads; 0 when it is gone.
double cpuOf(pid_t pid);
/// Context switches of each thread of a process, voluntary or not, since it started; by thread id.
std::map<std::string, long> switchesOf(pid_t pid);
/// KiB that a process holds: "rss", "pss" (shared pages divided among their users), "anon" (its own data) and the
/// number of its "threads". Empty when it is gone.
nlohmann::ordered_json memoryOf(pid_t pid);

} // namespace panelwatch
