#include "platform/AtomicFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet {

namespace {

constexpr QLatin1String asideMark(".corrupt-");

Error systemError(const QString &what, const QString &path)
{
    return {QStringLiteral("%1 %2: %3.").arg(what, path, QString::fromLocal8Bit(std::strerror(errno)))};
}

/// Owns a file descriptor.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    operator int() const { return m_fd; }
    bool close()
    {
        const int fd = std::exchange(m_fd, -1);
        return fd < 0 || ::close(fd) == 0;
    }

private:
    int m_fd;
};

bool writeAll(int fd, const QByteArray &bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t n = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (n < 0 && errno != EINTR)
            return false;
        done += n > 0 ? n : 0;
    }
    return true;
}

} // namespace

Status writeAtomically(const QString &path, const QByteArray &bytes)
{
    // A link stays a link: the file it points to is the one that is replaced.
    const QFileInfo info(path);
    return replaceAtomically(info.isSymLink() && info.exists() ? info.canonicalFilePath() : path, bytes);
}

Status replaceAtomically(const QString &path, const QByteArray &bytes, Flush flush)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        return Error{QStringLiteral("Can't make the folder %1.").arg(folder)};

    const QByteArray temporary = QFile::encodeName(path + QStringLiteral(".tmp"));
    Descriptor file(
        ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (file < 0)
        return systemError(QStringLiteral("Can't write"), path);
    const bool written = writeAll(file, bytes) && (flush == Flush::No || ::fsync(file) == 0) && file.close() &&
                         ::rename(temporary.constData(), QFile::encodeName(path).constData()) == 0;
    if (!written) {
        const Error error = systemError(QStringLiteral("Can't write"), path);
        ::unlink(temporary.constData());
        return error;
    }
    return {};
}

Result<QString> setAside(const QString &path)
{
    const QString stem = path + asideMark;
    const auto isTaken = [](const QString &name) { return QFileInfo::exists(name) || QFileInfo(name).isSymLink(); };
    QDateTime date = QDateTime::currentDateTimeUtc();
    while (isTaken(stem + date.toString(Qt::ISODateWithMs)))
        date = date.addMSecs(1);
    const QString aside = stem + date.toString(Qt::ISODateWithMs);
    if (::rename(QFile::encodeName(path).constData(), QFile::encodeName(aside).constData()) != 0)
        return systemError(QStringLiteral("Can't set aside"), path);

    QDir folder = QFileInfo(path).dir();
    QStringList kept = filesAside(path);
    while (kept.size() > 3)
        folder.remove(kept.takeFirst());
    return aside;
}

QStringList filesAside(const QString &path)
{
    const QString pattern = QFileInfo(path).fileName() + asideMark + QLatin1Char('*');
    return QFileInfo(path).dir().entryList({pattern}, QDir::Files | QDir::System | QDir::Hidden,
                                           QDir::Name); // by date
}

QString asideSentence(const QString &path)
{
    const QStringList names = filesAside(path);
    return names.isEmpty()
               ? QString()
               : QStringLiteral("Damaged ones were kept beside it: delete %1 once nothing in there is missed.")
                     .arg(names.join(QStringLiteral(", ")));
}

Result<QByteArray> readBounded(const QString &path, qint64 maximum)
{
    // Non-blocking, so that a pipe put in the file's place is refused instead of waited for.
    const Descriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file < 0 || ::fstat(file, &status) != 0)
        return systemError(QStringLiteral("Can't read"), path);
    if (!S_ISREG(status.st_mode))
        return Error{QStringLiteral("Can't read %1: it is not a regular file.").arg(path)};
    if (status.st_size > maximum)
        return Error{QStringLiteral("Can't read %1: it is larger than %2 bytes.").arg(path).arg(maximum)};

    QByteArray bytes(status.st_size, Qt::Uninitialized);
    qsizetype size = 0;
    while (size < bytes.size()) {
        const ssize_t n = ::read(file, bytes.data() + size, size_t(bytes.size() - size));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return systemError(QStringLiteral("Can't read"), path);
        if (n == 0)
            break;
        size += n;
    }
    bytes.truncate(size);
    return bytes;
}

} // namespace cobblet
