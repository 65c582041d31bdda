#include "platform/freedesktop/apps/SvgImage.h"

#include "platform/portable/SvgRequest.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <memory>
#include <optional>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cobblet {

namespace {

/// The program, which runs as long as this object lives and it is asked.
class Painter {
public:
    explicit Painter(const QString &program);
    ~Painter() { ::close(m_socket); }
    Painter(const Painter &) = delete;
    Painter &operator=(const Painter &) = delete;

    /// Whether the program may be about to end.
    bool isOld() const { return m_lastUse.hasExpired(svgPatience * 1000 / 2); }
    /// Whether the document could be drawn; absent when the program is no more.
    std::optional<bool> draw(const QByteArray &document, QImage &image);

private:
    int m_socket = -1;
    QElapsedTimer m_lastUse;
};

Painter::Painter(const QString &program)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return;
    const QByteArray path = QFile::encodeName(program);
    char *const arguments[] = {const_cast<char *>(path.constData()), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) // the library's warnings about a document
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    if (::posix_spawn(&process, path.constData(), &actions, nullptr, arguments, environ) == 0) {
        // It ends at once, and its child draws.
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    m_socket = ends[0];
    m_lastUse.start();
}

std::optional<bool> Painter::draw(const QByteArray &document, QImage &image)
{
    const SvgRequest request{uint32_t(document.size()), uint32_t(image.width())};
    char drawn = 0;
    if (!sendAll(m_socket, &request, sizeof request) ||
        !sendAll(m_socket, document.constData(), size_t(document.size())) || !receiveAll(m_socket, &drawn, 1) ||
        (drawn && !receiveAll(m_socket, image.bits(), size_t(image.sizeInBytes()))))
        return std::nullopt;
    m_lastUse.start();
    return drawn != 0;
}

/// Of the thread, which it ends with. Whoever needs many pictures has a thread for as long as they take.
thread_local std::unique_ptr<Painter> painter;

} // namespace

QImage svgImage(const QString &program, const QByteArray &document, int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull() || side > int(maximumSvgSide) || document.size() > qsizetype(maximumSvgBytes))
        return {};
    if (!painter || painter->isOld())
        painter = std::make_unique<Painter>(program);
    const std::optional<bool> drawn = painter->draw(document, image);
    const QCoreApplication *application = QCoreApplication::instance();
    if (!drawn || !application || QThread::currentThread() == application->thread()) // whose end would come too late
        painter.reset();
    return drawn.value_or(false) ? image : QImage();
}

} // namespace cobblet
