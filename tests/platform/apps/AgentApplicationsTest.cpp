#include "platform/freedesktop/apps/AgentApplications.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/SessionApplications.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "support/FakeDesktop.h"

#include "../PrivateBus.h"
#include "DesktopFixture.h"

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

class SessionApplicationsTest : public test::DesktopFixture {
    test::PrivateBus m_bus;
};

TEST_F(SessionApplicationsTest, FindsWhatRunsWithoutAWindowByItsNameItsTrayItemAndItsScope)
{
    test::write(system(u"org.example.Named"_s), entry("Named", "true"));
    test::write(system(u"tray"_s), entry("Tray", PLATFORM_HELPER));
    test::write(system(u"scoped"_s), entry("Scoped", "sleep 987"));
    QProcess scoped;
    scoped.start(u"sleep"_s, {u"987"_s});
    const QByteArray pid = QByteArray::number(scoped.processId());
    test::write(home.path(u"scopes/app-scoped-1.scope/cgroup.procs"_s), pid + "\n1\n");
    test::write(home.path(u"scopes/app-empty.scope/cgroup.procs"_s), "");
    test::Claimer named(u"org.example.Named"_s);
    ASSERT_EQ(named.line(), u"first"_s);

    SessionBus bus;
    FreedesktopWorkspace workspace(nullptr, &bus);
    X11RunningApplications running(nullptr, workspace);
    QSignalSpy launched(&running, &RunningApplications::didLaunch);
    SessionApplications session(bus, workspace.installed(), home.path(u"scopes"_s));
    QObject::connect(&session, &SessionApplications::found, &running, &X11RunningApplications::addUnseen);
    session.look();
    test::Claimer tray(u"org.kde.StatusNotifierItem-7-1"_s);
    const auto runs = [&](const QString &id, qint64 process) {
        return running.runningApplications().contains(RunningApplication{id, process});
    };
    EXPECT_TRUE(test::waitFor([&] {
        return runs(u"org.example.Named"_s, named.pid()) && runs(u"tray"_s, tray.pid()) &&
               runs(u"scoped"_s, scoped.processId());
    }));
    EXPECT_EQ(launched.size(), 3);
    for (const QVariantList &told : launched)
        EXPECT_EQ(told[1].value<RunningApplications::Origin>(), RunningApplications::Origin::Unlaunched);
    scoped.kill();
    scoped.waitForFinished();
    EXPECT_TRUE(test::waitFor([&] { return running.runningApplications().size() == 2; }));
}

} // namespace
} // namespace cobblet
