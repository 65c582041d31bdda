#pragma once

#include <QProcess>

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

} // namespace cobblet::test
