#include "platform/portable/UnixSignals.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.signals")

constexpr int handled[] = {SIGTERM, SIGINT, SIGHUP};

/// A pipe from the handlers to the event loop: writing to one is among the few things a handler may do.
std::array<int, 2> pipeEnds{-1, -1};

void tell(int)
{
    const int before = errno;
    const char byte = 1;
    // A full pipe means that the event loop is told already.
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
    errno = before;
}

} // namespace

UnixSignals::UnixSignals(QObject *parent) : QObject(parent)
{
    if (::pipe(pipeEnds.data()) != 0) {
        qCWarning(log) << "No pipe can be made: a signal to end will not save what is pending.";
        return;
    }
    for (const int end : pipeEnds) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    auto *notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (::read(pipeEnds[0], bytes, sizeof bytes) > 0) {
        }
        emit quitRequested();
    });
    for (const int number : handled) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == SIG_IGN) // as "nohup" asks for
            continue;
        action = {};
        action.sa_handler = tell;
        action.sa_flags = SA_RESTART;
        ::sigaction(number, &action, nullptr);
    }
}

UnixSignals::~UnixSignals()
{
    if (pipeEnds[0] < 0)
        return;
    for (const int number : handled) {
        struct sigaction action {};
        ::sigaction(number, nullptr, &action);
        if (action.sa_handler == tell)
            std::signal(number, SIG_DFL);
    }
    for (int &end : pipeEnds)
        ::close(std::exchange(end, -1));
}

} // namespace cobblet
