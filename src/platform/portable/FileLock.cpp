#include "platform/FileLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <future>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace cobblet {

namespace {

bool lock(int descriptor, int operation)
{
    int result = 0;
    do
        result = ::flock(descriptor, operation);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

} // namespace

FileLock::FileLock(const QString &path, std::chrono::milliseconds patience)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    const int opened = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (opened < 0)
        return;
    const std::shared_ptr<const int> descriptor(new int(opened), [](const int *last) {
        ::close(*last);
        delete last;
    });
    bool locked = lock(opened, LOCK_EX | LOCK_NB);
    if (!locked && errno == EWOULDBLOCK) {
        m_mayWrite = Error{QStringLiteral("Another process keeps %1 locked: end it if it hangs.").arg(path)};
        if (patience <= patience.zero())
            return;
        // In the kernel's queue everybody has a turn. The thread that waits there can't be called off: it outlives a
        // caller that gave up, and the lock it may get then goes with the descriptor.
        std::packaged_task<bool()> wait([descriptor] { return lock(*descriptor, LOCK_EX); });
        std::future<bool> answer = wait.get_future();
        std::thread(std::move(wait)).detach();
        if (answer.wait_for(patience) != std::future_status::ready)
            return;
        m_mayWrite = {};
        locked = answer.get();
    }
    if (locked)
        m_descriptor = descriptor;
}

FileLock::~FileLock()
{
    if (m_descriptor)
        lock(*m_descriptor, LOCK_UN); // the thread that waited may still be about to let go of its descriptor
}

} // namespace cobblet
