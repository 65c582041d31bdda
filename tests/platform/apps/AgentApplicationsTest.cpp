#include "platform/freedesktop/apps/AgentApplications.h"

#include "support/FakeDesktop.h"

#include "../PrivateBus.h"

#include <QSignalSpy>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

const QString prefix = u"com.cobblet.agent."_s;
const QString agent = prefix + u"8F3A0C52-1B2D-4E6F-9A7B-0C1D2E3F4A5B"_s;

using AgentApplicationsTest = test::PrivateBusTest;

TEST_F(AgentApplicationsTest, AgentsAreKnownByTheirNamesOnTheBus)
{
    test::Claimer before(agent);
    ASSERT_EQ(before.line(), u"first"_s);
    SessionBus bus;
    test::FakeRunningApplications others;
    AgentApplications applications(others, bus, prefix);
    QSignalSpy launched(&applications, &RunningApplications::didLaunch);
    QSignalSpy ended(&applications, &RunningApplications::didTerminate);
    const RunningApplication running{agent, before.pid()}, other{u"org.other"_s, 7};
    ASSERT_TRUE(becomes([&] { return applications.runningApplications().contains(running); }));
    EXPECT_EQ(launched.size(), 0) << "it ran already";

    // Windows of agents tell the same again; those of others do not change.
    others.launch(other);
    others.launch(running);
    EXPECT_EQ(applications.runningApplications(), (QList{other, running}));
    EXPECT_EQ(launched.size(), 1);
    applications.forceTerminate(other);
    EXPECT_EQ(others.calls, QStringList(u"forceTerminate org.other 7"_s));

    applications.forceTerminate(running);
    ASSERT_TRUE(becomes([&] { return !ended.isEmpty(); }));
    EXPECT_EQ(applications.runningApplications(), QList{other});

    test::Claimer stranger(u"com.cobblet.agents"_s), again(agent);
    ASSERT_TRUE(becomes([&] { return launched.size() == 2; }));
    EXPECT_EQ(applications.runningApplications(), (QList<RunningApplication>{other, {agent, again.pid()}}));
}

} // namespace
} // namespace cobblet
