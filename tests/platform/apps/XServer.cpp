#include "XServer.h"

#include <QElapsedTimer>

namespace cobblet::test {

XServer::XServer() : m_displayBefore(qgetenv("DISPLAY"))
{
    m_server.setStandardErrorFile(QProcess::nullDevice());
    m_server.start(QStringLiteral("Xvfb"),
                   {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"), QStringLiteral("0"),
                    QStringLiteral("800x600x24"), QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    QByteArray number;
    QElapsedTimer timer;
    timer.start();
    while (!number.endsWith('\n') && timer.elapsed() < 20000 && m_server.waitForReadyRead(20000))
        number += m_server.readAllStandardOutput();
    if (!number.endsWith('\n'))
        return;
    m_display = ':' + number.trimmed();
    qputenv("DISPLAY", m_display);
}

XServer::~XServer()
{
    for (const auto &program : m_programs) {
        program->kill();
        program->waitForFinished();
    }
    m_server.terminate();
    if (!m_server.waitForFinished())
        m_server.kill();
    m_server.waitForFinished();
    qputenv("DISPLAY", m_displayBefore);
}

QProcess &XServer::start(const QString &program, const QStringList &arguments)
{
    m_programs.push_back(std::make_unique<QProcess>());
    QProcess &process = *m_programs.back();
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, arguments);
    process.waitForStarted();
    return process;
}

} // namespace cobblet::test
