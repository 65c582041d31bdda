#include "platform/FileLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <condition_variable>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace cobblet {

namespace {

enum class Answer { Locked, Failed, Late };

bool lock(int descriptor, int operation)
{
    int result = 0;
    do
        result = ::flock(descriptor, operation);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Waits in the kernel's queue, where everybody has a turn. The thread that waits there can't be called off: it
/// outlives a caller that gave up, and then closes the descriptor, which is its own from here on unless Locked.
Answer waitForLock(int descriptor, std::chrono::milliseconds patience)
{
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        bool answered = false;
        bool locked = false;
        bool abandoned = false;
    };
    const auto shared = std::make_shared<Shared>();
    std::thread([shared, descriptor] {
        const bool locked = lock(descriptor, LOCK_EX);
        const std::lock_guard guard(shared->mutex);
        shared->answered = true;
        shared->locked = locked;
        if (shared->abandoned || !locked)
            ::close(descriptor);
        shared->changed.notify_one();
    }).detach();
    std::unique_lock guard(shared->mutex);
    if (!shared->changed.wait_for(guard, patience, [&] { return shared->answered; })) {
        shared->abandoned = true;
        return Answer::Late;
    }
    return shared->locked ? Answer::Locked : Answer::Failed;
}

} // namespace

FileLock::FileLock(const QString &path, std::chrono::milliseconds patience)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0)
        return;
    if (lock(descriptor, LOCK_EX | LOCK_NB)) {
        m_descriptor = descriptor;
        return;
    }
    if (errno != EWOULDBLOCK) {
        ::close(descriptor);
        return;
    }
    switch (waitForLock(descriptor, patience)) {
    case Answer::Locked:
        m_descriptor = descriptor;
        break;
    case Answer::Failed:
        break;
    case Answer::Late:
        m_mayWrite = Error{QStringLiteral("Another process keeps %1 locked: end it if it hangs.").arg(path)};
        break;
    }
}

FileLock::~FileLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor); // the lock goes with the last descriptor
}

} // namespace cobblet
