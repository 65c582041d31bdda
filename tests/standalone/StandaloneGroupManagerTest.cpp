#include "standalone/StandaloneGroupManager.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/FileTree.h"
#include "platform/InfoPlist.h"
#include "standalone/BundleFixture.h"
#include "support/FakeDesktopItems.h"
#include "support/VirtualScheduler.h"

namespace cobblet {
namespace {

class StandaloneGroupManagerTest : public test::BundleTest {
protected:
    StandaloneGroupManagerTest() { config.replaceGroups({work}); }

    StandaloneGroupManager &manager()
    {
        if (!m_manager)
            m_manager.emplace(StandaloneGroupManager::Services{program, agents, tools, registry, groupIcons, config,
                                                               running, workspace, distributed, dialogs, pasteboard,
                                                               scheduler});
        return *m_manager;
    }
    /// The next start of the program.
    void restart()
    {
        m_manager.reset();
        manager().start();
        waitUntilIdle();
    }
    void attach(const AppGroup &group, bool launch = false)
    {
        manager().attach(group, launch);
        waitUntilIdle();
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
    bool isStandalone() const { return config.group(work.id)->isStandalone; }

    const QString identifier = agentIdentifier(work.id);
    const RunningApplication agent{identifier, 4711};
    const Bundle program{{}, {}, {}, source + u"/Contents/MacOS/cobblet"_s, source};
    test::FakeDefaults defaults;
    ConfigManager config{{folder.path() + u"/support"_s, false}, defaults};
    test::FakeRunningApplications running;
    test::FakeDistributedNotifications distributed;
    test::FakeDialogs dialogs;
    test::FakePasteboard pasteboard;
    test::VirtualScheduler scheduler;
    std::optional<StandaloneGroupManager> m_manager;
};

TEST_F(StandaloneGroupManagerTest, AGroupBecomesAnAgentThatStartsWithoutThePanel)
{
    running.launch(agent);
    attach(work, true);
    EXPECT_EQ(running.calls, QStringList(u"forceTerminate %1 4711"_s.arg(identifier)));
    EXPECT_TRUE(workspace.openedBundles.isEmpty() && !isStandalone()) << "the agent of before still runs";
    running.quit(agent);
    waitUntilIdle();
    EXPECT_TRUE(isStandalone());
    EXPECT_EQ(workspace.openedBundles, QStringList(destination + u" --service"_s));
}

TEST_F(StandaloneGroupManagerTest, AFailureIsToldOnceAndChangesNothing)
{
    dialogs.waits = true;
    qputenv("CB_SIMULATE_SIGN_FAILURE", {});
    attach(work, true);
    attach(work, true);
    qunsetenv("CB_SIMULATE_SIGN_FAILURE");
    EXPECT_TRUE(leftovers().isEmpty() && !isStandalone());
    ASSERT_EQ(dialogs.alerts.size(), 1);
    const Alert &warning = dialogs.alerts.first();
    EXPECT_EQ(warning.message, u"Couldn't make “Work” a standalone app"_s);
    EXPECT_TRUE(warning.informativeText.startsWith(u"macOS requires every app to be code-signed"_s));
    dialogs.pending(1);
    EXPECT_EQ(pasteboard.text, warning.informativeText.section(u"\n\n"_s, 1));
    EXPECT_TRUE(pasteboard.text.startsWith(u"Group: Work\nError: codesign exited with status 1 — simulated"_s));

    // What is no failure to sign says what it is.
    test::write(destination, "a file");
    attach(work);
    ASSERT_EQ(dialogs.alerts.size(), 2);
    const auto reason = u"“%1” was not made by Cobblet. Move it away, or give the group another name."_s;
    EXPECT_EQ(dialogs.alerts.last().informativeText.count(reason.arg(destination)), 1);
    EXPECT_TRUE(QFile::remove(destination));
    dialogs.pending(0);

    // It is built, and its agent does not start.
    workspace.bundleOutcome = Error{u"No program."_s};
    attach(work, true);
    EXPECT_TRUE(leftovers() == built && !isStandalone());
    EXPECT_EQ(dialogs.alerts.size(), 2) << "it was signed";
}

TEST_F(StandaloneGroupManagerTest, OpeningBuildsOnlyWhatIsMissingOrOld)
{
    manager().open(work.id);
    manager().open(work.id); // a second click
    waitUntilIdle();
    manager().open(work.id);
    waitUntilIdle();
    EXPECT_EQ(workspace.opened, QStringList({identifier, identifier}));
    restart();
    EXPECT_EQ(registry.registrations, 1) << "it was there, and nothing was old";
    running.launch(agent);
    QFile executable(program.executable);
    ASSERT_TRUE(executable.open(QIODevice::ReadWrite) &&
                executable.setFileTime(QDateTime::fromSecsSinceEpoch(1'700'000'000), QFile::FileModificationTime));
    restart();
    running.quit(agent);
    waitUntilIdle();
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CBBinaryStamp"), u"1700000000"_s) << "of another build";
    EXPECT_EQ(workspace.openedBundles.size(), 1) << "its agent ran";

    // Its bundle was deleted while its agent ran.
    ASSERT_TRUE(removeTree(destination));
    running.launch(agent);
    restart();
    running.quit(agent);
    waitUntilIdle();
    EXPECT_EQ(builtName(), work.name);
    EXPECT_EQ(workspace.openedBundles.size(), 2);
}

TEST_F(StandaloneGroupManagerTest, ChangesOfAStandaloneGroupReachItsBundleInOneBuild)
{
    attach(work);
    config.renameGroup(work.id, u"Office"_s);
    config.addApps({{u"Notes"_s, u"org.notes"_s}}, work.id);
    config.setPinned(work.id, true);
    scheduler.advance(400ms);
    waitUntilIdle();
    EXPECT_EQ(builtName(), u"Work"_s);
    running.launch(agent);
    scheduler.advance(100ms);
    waitUntilIdle();
    EXPECT_TRUE(leftovers() == built && builtName() == u"Office"_s) << "where it was";
    EXPECT_EQ(registry.menu.value(1).title, u"Notes"_s);
    EXPECT_TRUE(distributed.posted.isEmpty()) << "the desktop has yet to take it in";
    scheduler.advance(3s);
    EXPECT_TRUE(distributed.posted.contains(u"com.cobblet.repaintTile "_s + uuidText(work.id)));

    attach(*config.group(work.id));
    EXPECT_EQ(leftovers(), QStringList(u"Office.app"_s)) << "built from nothing it is where its new name puts it";
}

TEST_F(StandaloneGroupManagerTest, AGroupThatIsDeletedOrNoLongerStandaloneLosesItsAgent)
{
    attach(work);
    running.launch(agent);
    config.setStandalone(work.id, false);
    waitUntilIdle();
    EXPECT_EQ(leftovers(), QStringList());
    EXPECT_EQ(running.calls, QStringList(u"forceTerminate %1 4711"_s.arg(identifier)));
    running.quit(agent);

    // Deleted, and brought back before and after its agent is gone.
    attach(work);
    const AppGroup standalone = *config.group(work.id);
    config.deleteGroup(work.id);
    config.restoreGroup(standalone, 0, {});
    waitUntilIdle();
    EXPECT_EQ(leftovers(), built);
    config.deleteGroup(work.id);
    waitUntilIdle();
    EXPECT_EQ(leftovers(), QStringList());
    config.restoreGroup(standalone, 0, {});
    waitUntilIdle();
    EXPECT_EQ(leftovers(), built);
    EXPECT_TRUE(dialogs.alerts.isEmpty());

    // Deleted while the program does not run; the desktop also knows one of which nothing is left, and others.
    attach(work);
    const QString stranded = agentIdentifier(QUuid::createUuid());
    registry.agents = {identifier, stranded, u"org.other"_s};
    registry.forgotten.clear();
    m_manager.reset();
    config.deleteGroup(work.id);
    restart();
    EXPECT_EQ(leftovers(), QStringList());
    EXPECT_EQ(QSet(registry.forgotten.begin(), registry.forgotten.end()), (QSet{identifier, stranded}));
}

TEST_F(StandaloneGroupManagerTest, WhatIsBeingMadeIsNotStranded)
{
    manager().attach(work, true);
    manager().reconcile(); // it looks once the bundle is there, and before the group is standalone
    manager().reconcile();
    waitUntilIdle();
    EXPECT_TRUE(leftovers() == built && isStandalone());

    AppGroup deleted;
    deleted.name = u"Deleted"_s;
    config.addGroup(deleted);
    manager().attach(deleted, false);
    config.deleteGroup(deleted.id);
    waitUntilIdle();
    EXPECT_EQ(leftovers(), built) << "nobody can make use of it any more";
}

TEST_F(StandaloneGroupManagerTest, TwoNamesThatMakeOneFileNameShareIt)
{
    AppGroup namesake;
    namesake.name = u"Work!"_s;
    config.addGroup(namesake);
    attach(work);
    attach(namesake);
    EXPECT_EQ(leftovers(), built);
    EXPECT_EQ(builtName(), namesake.name);
    EXPECT_EQ(registry.forgotten, QStringList(identifier));
}

} // namespace
} // namespace cobblet
