#include "platform/freedesktop/apps/SvgImage.h"

#include "platform/freedesktop/svg/SvgRequest.h"

#include <QCoreApplication>
#include <QFile>
#include <QThread>

#include <csignal>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace cobblet {

namespace {

/// The program, which runs as long as this object lives.
class Painter {
public:
    explicit Painter(const QString &program);
    ~Painter();
    Painter(const Painter &) = delete;
    Painter &operator=(const Painter &) = delete;

    /// Whether the document could be drawn; absent when the program is no more.
    std::optional<bool> draw(const QByteArray &document, QImage &image) const;

private:
    int m_socket = -1;
    pid_t m_process = -1;
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
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) // what the library thinks of a document
        ::posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    if (::posix_spawn(&m_process, path.constData(), &actions, nullptr, arguments, environ) != 0)
        m_process = -1;
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    m_socket = ends[0];
}

Painter::~Painter()
{
    if (m_socket >= 0)
        ::close(m_socket);
    if (m_process <= 0)
        return;
    ::kill(m_process, SIGKILL); // it waits for nothing that it would have to finish
    ::waitpid(m_process, nullptr, 0);
}

std::optional<bool> Painter::draw(const QByteArray &document, QImage &image) const
{
    const SvgRequest request{uint32_t(document.size()), uint32_t(image.width())};
    char drawn = 0;
    if (m_process <= 0 || !sendAll(m_socket, &request, sizeof request) ||
        !sendAll(m_socket, document.constData(), size_t(document.size())) || !receiveAll(m_socket, &drawn, 1) ||
        (drawn && !receiveAll(m_socket, image.bits(), size_t(image.sizeInBytes()))))
        return std::nullopt;
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
    if (!painter)
        painter = std::make_unique<Painter>(program);
    const std::optional<bool> drawn = painter->draw(document, image);
    const QCoreApplication *application = QCoreApplication::instance();
    if (!drawn || !application || QThread::currentThread() == application->thread()) // which never ends
        painter.reset();
    return drawn.value_or(false) ? image : QImage();
}

} // namespace cobblet
