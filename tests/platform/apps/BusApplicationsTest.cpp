#include "DesktopFixture.h"

#include "platform/PrivateBus.h"
#include "platform/freedesktop/apps/AgentApplications.h"
#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/SessionApplications.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "support/FakeDesktop.h"

#include <QDBusArgument>

#include <unistd.h>

namespace {

using namespace cobblet;
using namespace cobblet::test;

/// Has a name on the bus, in this very process, and notes what is asked of it.
class Service : public BusService {
public:
    using BusService::BusService;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        asked.append(message);
        return bus.send(message.createReply());
    }

    QList<QDBusMessage> asked;
};

class BusApplicationsTest : public DesktopFixture {
protected:
    /// The error, or nothing.
    static QString outcome(const std::function<void(Workspace::Completion)> &start)
    {
        std::optional<Status> status;
        start([&](const Status &told) { status = told; });
        EXPECT_TRUE(waitFor([&] { return status.has_value(); }));
        return status ? status->error() : QString();
    }

    PrivateBus privateBus;
    SessionBus bus;
};

TEST_F(BusApplicationsTest, AnApplicationOnTheBusIsAskedToShowItselfOrItsCommandRun)
{
    const QString id = u"org.example.On-Bus"_s, marker = home.path(u"command-ran"_s);
    write(system(id), entry("On Bus", "touch " + marker.toLocal8Bit(), "DBusActivatable=true"));
    FreedesktopWorkspace workspace(nullptr, &bus);
    X11RunningApplications running(nullptr, workspace);
    const auto open = [&](auto done) { workspace.open(id, std::move(done)); };
    {
        const Service service(id, u"/org/example/On_Bus"_s);
        EXPECT_EQ(outcome(open), QString());
        ASSERT_EQ(service.asked.size(), 1);
        const QVariantMap data = qdbus_cast<QVariantMap>(service.asked[0].arguments().value(0));
        EXPECT_TRUE(data.value(u"desktop-startup-id"_s).toString().startsWith(u"cobblet-"));
        // The process behind the name is the application's.
        EXPECT_TRUE(waitFor([&] {
            return running.runningApplications() == QList<RunningApplication>{{id, getpid()}};
        }));
        running.reopen({id, getpid()});
        EXPECT_TRUE(waitFor([&] { return service.asked.size() == 2; }));
        EXPECT_FALSE(QFile::exists(marker));
    }
    EXPECT_EQ(outcome(open), QString());
    EXPECT_TRUE(waitFor([&] { return QFile::exists(marker); })) << "nobody has the name any more";
}

TEST_F(BusApplicationsTest, RevealGoesToTheFileManagerOrOpensTheFolder)
{
    write(system(u"some"_s), entry("Some", "true"));
    const auto reveal = [&] {
        FreedesktopWorkspace workspace(nullptr, &bus);
        return outcome([&](auto done) { workspace.reveal(u"some"_s, std::move(done)); });
    };
    EXPECT_TRUE(reveal().contains(u"no file manager"));

    const QString marker = home.path(u"opened"_s);
    write(system(u"files"_s), entry("Files", "ln -s %f " + marker.toLocal8Bit(), "Categories=System;FileManager;"));
    EXPECT_EQ(reveal(), QString());
    EXPECT_TRUE(waitFor([&] { return QFile::symLinkTarget(marker) == home.path(u"system/applications"_s); }));

    const Service manager(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s);
    EXPECT_EQ(reveal(), QString());
    EXPECT_EQ(manager.asked.value(0).arguments().value(0), QStringList(u"file://"_s + system(u"some"_s)));
}

TEST_F(BusApplicationsTest, AgentsAreKnownByTheirNames)
{
    const QString prefix = u"com.cobblet.agent."_s, agent = prefix + u"8F3A0C52-1B2D-4E6F-9A7B-0C1D2E3F4A5B"_s;
    Claimer before(agent);
    ASSERT_EQ(before.line(), u"first"_s);
    FakeRunningApplications others;
    AgentApplications applications(others, bus, prefix);
    QSignalSpy launched(&applications, &RunningApplications::didLaunch);
    QSignalSpy ended(&applications, &RunningApplications::didTerminate);
    const RunningApplication running{agent, before.pid()}, other{u"org.other"_s, 7};
    ASSERT_TRUE(waitFor([&] { return applications.runningApplications().contains(running); }));
    EXPECT_EQ(launched.size(), 0) << "it ran already";

    // Windows of agents tell the same again; those of others do not change.
    others.launch(other);
    others.launch(running);
    EXPECT_EQ(applications.runningApplications(), (QList{other, running}));
    EXPECT_EQ(launched.size(), 1);
    for (const RunningApplication &each : {other, running})
        applications.forceTerminate(each);
    ASSERT_TRUE(waitFor([&] { return !ended.isEmpty(); }));
    EXPECT_EQ(others.calls, QStringList(u"forceTerminate org.other 7"_s));
    EXPECT_EQ(applications.runningApplications(), QList{other});

    Claimer stranger(u"com.cobblet.agents"_s), again(agent);
    ASSERT_TRUE(waitFor([&] { return launched.size() == 2; }));
    EXPECT_EQ(applications.runningApplications(), (QList<RunningApplication>{other, {agent, again.pid()}}));
}

TEST_F(BusApplicationsTest, WhatRunsWithoutAWindowIsFoundByItsNameItsTrayItemAndItsScope)
{
    write(system(u"org.example.Named"_s), entry("Named", "true"));
    write(system(u"tray"_s), entry("Tray", PLATFORM_HELPER));
    write(system(u"scoped"_s), entry("Scoped", "sleep 987"));
    QProcess scoped;
    scoped.start(u"sleep"_s, {u"987"_s});
    write(home.path(u"scopes/app-scoped-1.scope/cgroup.procs"_s), QByteArray::number(scoped.processId()) + "\n1\n");
    write(home.path(u"scopes/app-empty.scope/cgroup.procs"_s), "");
    Claimer named(u"org.example.Named"_s);
    ASSERT_EQ(named.line(), u"first"_s);

    FreedesktopWorkspace workspace(nullptr, &bus);
    X11RunningApplications running(nullptr, workspace);
    QSignalSpy launched(&running, &RunningApplications::didLaunch);
    SessionApplications session(bus, workspace.installed(), home.path(u"scopes"_s));
    QObject::connect(&session, &SessionApplications::found, &running, &X11RunningApplications::addUnseen);
    session.look();
    Claimer tray(u"org.kde.StatusNotifierItem-7-1"_s);
    for (const RunningApplication &each : {RunningApplication{u"org.example.Named"_s, named.pid()},
                                           {u"tray"_s, tray.pid()},
                                           {u"scoped"_s, scoped.processId()}})
        EXPECT_TRUE(waitFor([&] { return running.runningApplications().contains(each); }));
    EXPECT_EQ(launched.size(), 3);
    for (const QVariantList &told : launched)
        EXPECT_EQ(told[1].value<RunningApplications::Origin>(), RunningApplications::Origin::Unlaunched);
    // One without a window can be another application than its process looks like, too.
    FakeDefaults defaults;
    StoredCorrections corrections(defaults);
    running.setCorrections(corrections);
    const RunningApplication found{u"tray"_s, tray.pid()}, said{u"scoped"_s, tray.pid()};
    const QString mark = running.recognition(found).mark;
    for (const auto &[id, now, gone] : {std::tuple(said.bundleIdentifier, said, found), {QString(), found, said}}) {
        EXPECT_TRUE(running.correct({mark, id}));
        EXPECT_TRUE(running.runningApplications().contains(now) && !running.runningApplications().contains(gone));
    }
    scoped.kill();
    scoped.waitForFinished();
    EXPECT_TRUE(waitFor([&] { return running.runningApplications().size() == 2; }));
}

} // namespace
