#include "platform/FileStamp.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet {

FileStamp::FileStamp(const QString &path) : m_path(path)
{
    // Non-blocking, so that a pipe put in the file's place is not waited for.
    if (const int opened = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        opened >= 0)
        m_descriptor.reset(new int(opened), [](const int *last) {
            ::close(*last);
            delete last;
        });
    m_state = look(m_descriptor ? *m_descriptor : -1);
}

std::optional<FileStamp::State> FileStamp::look(int descriptor) const
{
    const QByteArray path = QFile::encodeName(m_path);
    struct stat status {};
    if ((descriptor >= 0 ? ::fstat(descriptor, &status) : ::stat(path.constData(), &status)) != 0)
        return std::nullopt;
    // The standard library's time is as fine as the file system's; that of stat() has no portable name.
    std::error_code ignored;
    return State{status.st_dev, status.st_ino, status.st_size,
                 std::filesystem::last_write_time(path.constData(), ignored)};
}

} // namespace cobblet
