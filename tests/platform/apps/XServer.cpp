#include "XServer.h"

#include <QElapsedTimer>
#include <QProcessEnvironment>

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
    // Its themes and defaults are the machine's, whatever applications the test pretends are installed.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("XDG_DATA_DIRS"));
    environment.remove(QStringLiteral("XDG_CONFIG_DIRS"));
    process.setProcessEnvironment(environment);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    process.waitForStarted();
    return process;
}

} // namespace cobblet::test
