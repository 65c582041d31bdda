#pragma once

#include "platform/freedesktop/bus/SessionBus.h"
#include "support/Test.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>

namespace cobblet::test {

/// A session bus of its own, which the environment names for the life of the object.
class PrivateBus {
public:
    PrivateBus()
    {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        EXPECT_TRUE(m_daemon.waitForReadyRead(10'000)) << "dbus-daemon does not start";
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_daemon.readLine().trimmed());
    }
    ~PrivateBus()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

private:
    QProcess m_daemon;
};

/// Has a name and an object on the bus, on a connection of its own.
class BusService : public QDBusVirtualObject {
public:
    BusService(const QString &name, const QString &path)
    {
        m_bus.connection().registerVirtualObject(path, this, QDBusConnection::SubPath);
        m_bus.connection().registerService(name);
    }
    QString introspect(const QString &) const override { return {}; }
    void send(const QString &from, const QString &interface, const QString &member, const QVariantList &arguments)
    {
        QDBusMessage signal = QDBusMessage::createSignal(from, interface, member);
        signal.setArguments(arguments);
        m_bus.connection().send(signal);
    }

private:
    SessionBus m_bus;
};

const QString portalName = u"org.freedesktop.portal.Desktop"_s, portalPath = u"/org/freedesktop/portal/desktop"_s;

#ifdef PLATFORM_HELPER
/// Another process that has claimed an identifier or tried to.
class Claimer {
public:
    explicit Claimer(const QString &identifier, const QStringList &environment = {})
    {
        m_process.setEnvironment(QProcess::systemEnvironment() + environment);
        m_process.start(QStringLiteral(PLATFORM_HELPER), {identifier});
    }
    ~Claimer() { end(); }
    void end()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    /// The next that it says. The event loop turns meanwhile: it may be waiting for an answer from this process.
    QString line()
    {
        (void)QTest::qWaitFor([this] { return m_process.canReadLine(); }, 10'000);
        return QString::fromLocal8Bit(m_process.readLine()).trimmed();
    }
    qint64 pid() const { return m_process.processId(); }

private:
    QProcess m_process;
};
#endif

} // namespace cobblet::test
