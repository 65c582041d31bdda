#include "platform/FileStamp.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet {

namespace {

bool findStatus(const QString &path, struct stat *status)
{
    return ::stat(QFile::encodeName(path).constData(), status) == 0;
}

} // namespace

FileStamp::FileStamp(const QString &path)
    : m_path(path),
      // Non-blocking, so that a pipe put in the file's place is not waited for.
      m_descriptor(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
    struct stat status {};
    if (m_descriptor >= 0 ? ::fstat(m_descriptor, &status) == 0 : findStatus(path, &status))
        m_state = state(status);
}

FileStamp::~FileStamp()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

FileStamp::FileStamp(FileStamp &&other) noexcept
    : m_path(std::move(other.m_path)), m_descriptor(std::exchange(other.m_descriptor, -1)), m_state(other.m_state)
{
}

FileStamp &FileStamp::operator=(FileStamp &&other) noexcept
{
    m_path.swap(other.m_path);
    std::swap(m_descriptor, other.m_descriptor);
    m_state.swap(other.m_state);
    return *this;
}

bool FileStamp::isCurrent() const
{
    struct stat status {};
    return (findStatus(m_path, &status) ? std::optional(state(status)) : std::nullopt) == m_state;
}

FileStamp::State FileStamp::state(const struct stat &status)
{
    return {status.st_dev,
            status.st_ino,
            status.st_size,
            {status.st_mtim.tv_sec, status.st_mtim.tv_nsec},
            {status.st_ctim.tv_sec, status.st_ctim.tv_nsec}};
}

} // namespace cobblet
