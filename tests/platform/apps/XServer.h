#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <memory>
#include <vector>

namespace cobblet::test {

/// A virtual X server on a free display for the life of the object, with DISPLAY pointing to it.
class XServer {
public:
    XServer();
    ~XServer();
    XServer(const XServer &) = delete;
    XServer &operator=(const XServer &) = delete;

    bool isRunning() const { return !m_display.isEmpty(); }
    /// Starts a program on this display; it is ended with the server at the latest.
    QProcess &start(const QString &program, const QStringList &arguments = {});

private:
    QProcess m_server;
    QByteArray m_display;
    QByteArray m_displayBefore;
    std::vector<std::unique_ptr<QProcess>> m_programs;
};

} // namespace cobblet::test
