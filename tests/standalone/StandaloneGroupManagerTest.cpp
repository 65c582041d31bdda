#include "standalone/StandaloneGroupManager.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/FileTree.h"
#include "platform/InfoPlist.h"
#include "standalone/BundleFixture.h"
#include "support/VirtualScheduler.h"

#include <QTest>

#include <optional>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

using namespace std::chrono_literals;

class StandaloneGroupManagerTest : public test::BundleTest {
protected:
    StandaloneGroupManagerTest()
    {
        program.path = source;
        program.executable = source + u"/Contents/MacOS/cobblet"_s;
        program.version = u"1.2"_s;
        program.build = u"34"_s;
        config.replaceGroups({work});
    }

    StandaloneGroupManager &manager()
    {
        if (!m_manager)
            m_manager.emplace(StandaloneGroupManager::Services{program, agents, tools, registry, groupIcons, config,
                                                               running, workspace, distributed, dialogs, pasteboard,
                                                               scheduler});
        return *m_manager;
    }
    void stop() { m_manager.reset(); }
    /// The next start of the program.
    void restart()
    {
        stop();
        manager().start();
    }
    /// Waits until all steps are done, and those that they led to. A build that fails at once, because a file is in
    /// its place, comes after whatever was asked for before.
    void waitUntilIdle()
    {
        AppGroup last;
        last.name = u"Last"_s;
        test::write(agents + u"/Last.app"_s, "a file");
        for (int step = 0; step < 5; ++step) {
            bool done = false;
            manager().install(last, false, [&](const BuildStatus &) { done = true; });
            ASSERT_TRUE(QTest::qWaitFor([&] { return done; }, 20'000));
        }
        QFile::remove(agents + u"/Last.app"_s);
    }
    RunningApplication agent() const { return {agentIdentifier(work.id), 4711}; }
    bool isStandalone() const { return config.group(work.id) && config.group(work.id)->isStandalone; }
    QString nameAt(const QString &bundle) const
    {
        const auto info = InfoPlist::read(bundle);
        return info && info.value() ? info.value()->text("CFBundleName") : u"(none)"_s;
    }

    Bundle program;
    test::FakeDefaults defaults;
    ConfigManager config{{folder.path() + u"/support"_s, false}, defaults};
    test::FakeRunningApplications running;
    test::FakeDistributedNotifications distributed;
    test::FakeDialogs dialogs;
    test::FakePasteboard pasteboard;
    test::VirtualScheduler scheduler;

private:
    std::optional<StandaloneGroupManager> m_manager;
};

TEST_F(StandaloneGroupManagerTest, AGroupBecomesAnAgentThatStartsWithoutThePanel)
{
    running.launch(agent());
    std::optional<bool> attached;
    manager().attach(work, true, [&](const BuildStatus &status) { attached = status.ok(); });
    waitUntilIdle();
    EXPECT_EQ(running.calls, QStringList(u"forceTerminate %1 4711"_s.arg(agentIdentifier(work.id))));
    EXPECT_TRUE(workspace.openedBundles.isEmpty() && !isStandalone()) << "the agent of before still runs";
    running.quit(agent());
    waitUntilIdle();
    EXPECT_EQ(attached, true);
    EXPECT_TRUE(isStandalone());
    EXPECT_EQ(nameAt(destination), work.name);
    EXPECT_EQ(registry.menus.value(destination).value(0).title, u"Mail"_s);
    EXPECT_EQ(workspace.openedBundles, QStringList(destination + u" --service"_s));

    running.launch(agent());
    scheduler.advance(2999ms);
    EXPECT_TRUE(distributed.posted.isEmpty());
    scheduler.advance(1ms);
    EXPECT_EQ(distributed.posted, QStringList(u"com.cobblet.repaintTile "_s + uuidText(work.id)));
}

TEST_F(StandaloneGroupManagerTest, AFailureIsToldOnceAndChangesNothing)
{
    dialogs.waits = true;
    qputenv("CB_SIMULATE_SIGN_FAILURE", "1");
    qputenv("DEVELOPER_DIR", "/opt/tools");
    manager().attach(work, true);
    manager().attach(work, true);
    waitUntilIdle();
    qunsetenv("CB_SIMULATE_SIGN_FAILURE");
    qunsetenv("DEVELOPER_DIR");
    EXPECT_FALSE(isStandalone());
    EXPECT_EQ(leftovers(), QStringList());
    ASSERT_EQ(dialogs.alerts.size(), 1);
    const Alert &warning = dialogs.alerts.first();
    EXPECT_EQ(warning.message, u"Couldn't make “Work” a standalone app"_s);
    const QString details =
        u"Group: Work\nError: codesign exited with status 1 — simulated failure (CB_SIMULATE_SIGN_FAILURE)\n"
        "macOS: %1\nApp: 1.2 (34)\ncodesign: true\ncodesign_allocate: false\nDEVELOPER_DIR: /opt/tools"_s.arg(
            QSysInfo::prettyProductName());
    EXPECT_EQ(warning.informativeText,
              u"macOS requires every app to be code-signed, and the signing step failed on this Mac, so nothing was "
              "installed.\n\n"_s +
                  details);
    EXPECT_EQ(warning.buttons[1].label, u"Copy Details"_s);
    dialogs.pending(1);
    EXPECT_EQ(pasteboard.text, details);
    manager().attach(work, true);
    waitUntilIdle();
    EXPECT_TRUE(isStandalone()) << "the next attempt is a new one";
}

TEST_F(StandaloneGroupManagerTest, AnAgentThatDoesNotStartLeavesTheGroupAsItWas)
{
    workspace.bundleOutcome = Error{u"No program."_s};
    QString told;
    manager().attach(work, true, [&](const BuildStatus &status) { told = status.error(); });
    waitUntilIdle();
    EXPECT_FALSE(isStandalone());
    EXPECT_EQ(told, u"No program."_s);
    EXPECT_TRUE(dialogs.alerts.isEmpty()) << "it was signed";
}

TEST_F(StandaloneGroupManagerTest, OpeningBuildsOnlyWhatIsMissingOrOld)
{
    manager().open(work.id);
    manager().open(work.id); // a second click
    waitUntilIdle();
    EXPECT_EQ(registry.registrations, 1);
    manager().open(work.id);
    waitUntilIdle();
    EXPECT_EQ(registry.registrations, 1) << "it was there";
    EXPECT_EQ(workspace.opened, QStringList({agentIdentifier(work.id), agentIdentifier(work.id)}));

    // The program is another one now.
    test::write(program.executable, "a newer one", true);
    QFile file(program.executable);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) &&
                file.setFileTime(QDateTime::fromSecsSinceEpoch(1'700'000'000), QFileDevice::FileModificationTime));
    file.close();
    restart();
    waitUntilIdle();
    EXPECT_EQ(test::read(destination + u"/Contents/MacOS/cobblet"_s), u"a newer one"_s);
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CBBinaryStamp"), u"1700000000"_s);
    EXPECT_TRUE(workspace.openedBundles.isEmpty()) << "its agent did not run";
    restart();
    waitUntilIdle();
    EXPECT_EQ(registry.registrations, 2) << "nothing is old";

    // Its bundle was deleted while its agent ran.
    ASSERT_TRUE(removeTree(destination));
    running.launch(agent());
    restart();
    waitUntilIdle();
    running.quit(agent());
    waitUntilIdle();
    EXPECT_EQ(nameAt(destination), work.name);
    EXPECT_EQ(workspace.openedBundles.size(), 1) << "its agent ran";
}

TEST_F(StandaloneGroupManagerTest, ChangesOfAStandaloneGroupReachItsBundleInOneBuild)
{
    manager().attach(work, false);
    waitUntilIdle();
    config.renameGroup(work.id, u"Office"_s);
    config.addApps({{u"Notes"_s, u"org.notes"_s}}, work.id);
    config.setPinned(work.id, true);
    scheduler.advance(400ms);
    waitUntilIdle();
    EXPECT_EQ(nameAt(destination), u"Work"_s);
    running.launch(agent());
    scheduler.advance(100ms);
    waitUntilIdle();
    EXPECT_EQ(nameAt(destination), u"Office"_s) << "and where it was";
    EXPECT_EQ(registry.menus.value(destination).value(1).title, u"Notes"_s);
    EXPECT_TRUE(distributed.posted.contains(u"com.cobblet.repaintTile "_s + uuidText(work.id)));
    EXPECT_EQ(leftovers(), QStringList(u"Work.app"_s));

    // Built from nothing, it goes to where its new name puts it, and is there once.
    manager().attach(*config.group(work.id), false);
    waitUntilIdle();
    EXPECT_EQ(leftovers(), QStringList(u"Office.app"_s));
}

TEST_F(StandaloneGroupManagerTest, AGroupThatIsNoLongerStandaloneLosesItsAgent)
{
    for (const bool deleted : {false, true}) {
        SCOPED_TRACE(deleted);
        manager().attach(work, false);
        waitUntilIdle();
        ASSERT_TRUE(isStandalone());
        registry.forgotten.clear();
        running.calls.clear();
        running.launch(agent());
        if (deleted)
            config.deleteGroup(work.id);
        else
            config.setStandalone(work.id, false);
        waitUntilIdle();
        EXPECT_EQ(leftovers(), QStringList());
        EXPECT_EQ(registry.forgotten, QStringList(agentIdentifier(work.id)));
        EXPECT_EQ(running.calls.value(0), u"forceTerminate %1 4711"_s.arg(agentIdentifier(work.id)));
        running.quit(agent());
        waitUntilIdle();
        EXPECT_EQ(leftovers(), QStringList()) << "its end brings nothing back";
    }
}

TEST_F(StandaloneGroupManagerTest, AStartRemovesWhatIsStrandedAndNothingElse)
{
    AppGroup other;
    other.name = u"Other"_s;
    config.addGroup(other);
    manager().attach(work, false);
    manager().attach(other, false);
    waitUntilIdle();
    test::write(agents + u"/Mine.app/note"_s, "mine");
    QFile::link(destination, agents + u"/Link.app"_s);
    registry.agents = {agentIdentifier(work.id), agentIdentifier(QUuid::createUuid()), u"org.other"_s};
    registry.forgotten.clear();
    stop();
    config.deleteGroup(other.id); // while the program does not run
    restart();
    waitUntilIdle();
    EXPECT_EQ(leftovers(), QStringList({u"Link.app"_s, u"Mine.app"_s, u"Work.app"_s}));
    EXPECT_TRUE(registry.forgotten.contains(agentIdentifier(other.id)));
    EXPECT_TRUE(registry.forgotten.contains(registry.agents[1]));
    EXPECT_FALSE(registry.forgotten.contains(agentIdentifier(work.id)));
    EXPECT_FALSE(registry.forgotten.contains(u"org.other"_s));
}

TEST_F(StandaloneGroupManagerTest, WhatIsBeingMadeIsNotStranded)
{
    manager().attach(work, true);
    manager().reconcile(); // it looks once the bundle is there, and before the group is standalone
    manager().reconcile();
    waitUntilIdle();
    EXPECT_TRUE(isStandalone());
    EXPECT_EQ(leftovers(), QStringList(u"Work.app"_s));

    AppGroup deleted;
    deleted.name = u"Deleted"_s;
    config.addGroup(deleted);
    manager().attach(deleted, false);
    config.deleteGroup(deleted.id);
    waitUntilIdle();
    EXPECT_EQ(leftovers(), QStringList(u"Work.app"_s)) << "nobody can make use of it any more";
}

TEST_F(StandaloneGroupManagerTest, TheEndOfAnAgentRebuildsItsBundle)
{
    manager().attach(work, false);
    waitUntilIdle();
    const QString icon = destination + u"/Contents/Resources/AppIcon.icns"_s;
    ASSERT_TRUE(QFile::remove(icon));
    for (const QString &other : {u"com.cobblet.agent.x"_s, u"org.other"_s, agentIdentifier(QUuid::createUuid())}) {
        running.launch({other, 1});
        running.quit({other, 1});
    }
    waitUntilIdle();
    EXPECT_FALSE(QFileInfo::exists(icon));
    running.launch(agent());
    running.quit(agent());
    waitUntilIdle();
    EXPECT_TRUE(QFileInfo::exists(icon));
}

TEST_F(StandaloneGroupManagerTest, TwoNamesThatMakeOneFileNameShareIt)
{
    AppGroup namesake;
    namesake.name = u"Work!"_s;
    config.addGroup(namesake);
    manager().attach(work, false);
    manager().attach(namesake, false);
    waitUntilIdle();
    EXPECT_EQ(leftovers(), QStringList(u"Work.app"_s));
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CFBundleIdentifier"), agentIdentifier(namesake.id));
    EXPECT_EQ(registry.forgotten, QStringList(agentIdentifier(work.id)));
}

} // namespace
} // namespace cobblet
