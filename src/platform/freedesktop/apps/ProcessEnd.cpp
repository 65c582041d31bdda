#include "platform/freedesktop/apps/ProcessEnd.h"

#include <QSocketNotifier>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cobblet {

std::unique_ptr<ProcessEnd> ProcessEnd::watch(qint64 pid)
{
    const int descriptor = pid > 0 ? int(syscall(SYS_pidfd_open, pid_t(pid), 0U)) : -1;
    if (descriptor < 0)
        return nullptr;
    return std::unique_ptr<ProcessEnd>(new ProcessEnd(descriptor));
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
