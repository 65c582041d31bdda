#include "platform/FileLock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace cobblet {

FileLock::FileLock(const QString &path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    m_descriptor = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    while (m_descriptor >= 0 && ::flock(m_descriptor, LOCK_EX) != 0) {
        if (errno == EINTR)
            continue;
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

FileLock::~FileLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor); // the lock goes with the last descriptor
}

} // namespace cobblet
