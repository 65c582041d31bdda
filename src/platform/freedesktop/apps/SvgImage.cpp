#include "platform/freedesktop/apps/SvgImage.h"

#include "platform/freedesktop/svg/SvgRequest.h"

#include <QCoreApplication>
#include <QFile>
#include <QThread>

#include <csignal>
#include <memory>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
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

    /// False when the program is no more.
    bool draw(const QByteArray &document, QImage &image, bool &drawn) const;

private:
    bool send(const void *from, qsizetype bytes) const;
    bool receive(void *to, qsizetype bytes) const
    {
        return ::recv(m_socket, to, size_t(bytes), MSG_WAITALL) == bytes;
    }

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

bool Painter::send(const void *from, qsizetype bytes) const
{
    const char *rest = static_cast<const char *>(from);
    while (bytes > 0) {
        const ssize_t sent = ::send(m_socket, rest, size_t(bytes), MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        rest += sent;
        bytes -= sent;
    }
    return true;
}

bool Painter::draw(const QByteArray &document, QImage &image, bool &drawn) const
{
    const SvgRequest request{uint32_t(document.size()), uint32_t(image.width())};
    char answer = 0;
    if (m_process <= 0 || !send(&request, sizeof request) || !send(document.constData(), document.size()) ||
        !receive(&answer, 1))
        return false;
    drawn = answer == 1;
    return !drawn || receive(image.bits(), image.sizeInBytes());
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
    bool drawn = false;
    const bool serves = painter->draw(document, image, drawn);
    const QCoreApplication *application = QCoreApplication::instance();
    if (!serves || !application || QThread::currentThread() == application->thread()) // which never ends
        painter.reset();
    return serves && drawn ? image : QImage();
}

} // namespace cobblet
