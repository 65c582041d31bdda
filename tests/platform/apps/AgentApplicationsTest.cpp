#include "platform/freedesktop/apps/AgentApplications.h"

#include "platform/freedesktop/bus/SessionBus.h"
#include "support/FakeDesktop.h"

#include "../PrivateBus.h"

#include <QSignalSpy>

namespace cobblet {
namespace {

const QString agent = QStringLiteral("com.cobblet.agent.8F3A0C52-1B2D-4E6F-9A7B-0C1D2E3F4A5B");

class AgentApplicationsTest : public test::PrivateBusTest {
protected:
    test::FakeRunningApplications others;
};

TEST_F(AgentApplicationsTest, AgentsAreKnownByTheirNamesOnTheBus)
{
    test::Claimer before(agent);
    ASSERT_EQ(before.line(), QStringLiteral("first"));
    SessionBus bus;
    AgentApplications applications(others, bus, QStringLiteral("com.cobblet.agent."));
    QSignalSpy launched(&applications, &RunningApplications::didLaunch);
    QSignalSpy ended(&applications, &RunningApplications::didTerminate);
    const RunningApplication running{agent, before.pid()};
    ASSERT_TRUE(QTest::qWaitFor([&] { return applications.runningApplications().contains(running); }, 10'000));
    EXPECT_EQ(launched.size(), 0) << "it ran already";

    // Windows of agents tell the same again; those of others do not change.
    const RunningApplication other{QStringLiteral("org.other"), 7};
    others.launch(other);
    others.launch({agent, before.pid()});
    EXPECT_EQ(applications.runningApplications(), (QList<RunningApplication>{other, running}));
    EXPECT_EQ(launched.size(), 1);
    applications.forceTerminate(other);
    EXPECT_EQ(others.calls, QStringList(QStringLiteral("forceTerminate org.other 7")));

    applications.forceTerminate({agent, before.pid() + 1});
    EXPECT_FALSE(QTest::qWaitFor([&] { return !ended.isEmpty(); }, 200)) << "no such process";
    applications.forceTerminate(running);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !ended.isEmpty(); }, 10'000));
    EXPECT_EQ(ended.takeFirst().first().value<RunningApplication>(), running);
    EXPECT_EQ(applications.runningApplications(), QList<RunningApplication>{other});

    test::Claimer stranger(QStringLiteral("com.cobblet.agents"));
    test::Claimer again(agent);
    ASSERT_TRUE(QTest::qWaitFor([&] { return launched.size() == 2; }, 10'000));
    EXPECT_EQ(launched.last().first().value<RunningApplication>(), (RunningApplication{agent, again.pid()}));
    EXPECT_EQ(applications.runningApplications().size(), 2);
}

TEST(AgentApplicationsWithoutABusTest, AgentsAreKnownAsAnyApplicationIs)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    SessionBus bus;
    test::FakeRunningApplications others;
    AgentApplications applications(others, bus, QStringLiteral("com.cobblet.agent."));
    others.launch({agent, 9});
    EXPECT_EQ(applications.runningApplications(), (QList<RunningApplication>{{agent, 9}}));
    applications.forceTerminate({agent, 9});
    EXPECT_EQ(others.calls.size(), 1);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace
} // namespace cobblet
