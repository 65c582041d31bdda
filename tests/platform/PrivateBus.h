#pragma once

#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet::test {

/// A session bus of its own, which the environment names for the life of the object.
class PrivateBus {
public:
    PrivateBus()
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        EXPECT_TRUE(m_daemon.waitForReadyRead(10'000)) << "dbus-daemon does not start";
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_daemon.readLine().trimmed());
    }
    ~PrivateBus()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

private:
    QProcess m_daemon;
};

/// Each test on a bus of its own.
class PrivateBusTest : public testing::Test {
private:
    PrivateBus m_bus;
};

#ifdef PLATFORM_HELPER
/// Another process that has claimed an identifier or tried to.
class Claimer {
public:
    explicit Claimer(const QString &identifier, const QStringList &environment = {})
    {
        m_process.setEnvironment(QProcess::systemEnvironment() + environment);
        m_process.start(QStringLiteral(PLATFORM_HELPER), {QStringLiteral("claim"), identifier});
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
