#pragma once

#include <QProcess>

#include <gtest/gtest.h>

namespace cobblet::test {

/// A session bus of its own for each test.
class PrivateBusTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        ASSERT_TRUE(m_daemon.waitForReadyRead(10'000)) << "dbus-daemon does not start";
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_daemon.readLine().trimmed());
    }
    void TearDown() override
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

private:
    QProcess m_daemon;
};

} // namespace cobblet::test
