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

using namespace std::chrono_literals;

class StandaloneGroupManagerTest : public test::BundleTest {
protected:
    StandaloneGroupManagerTest()
    {
        program.path = source;
        program.executable = source + QStringLiteral("/Contents/MacOS/cobblet");
        program.version = QStringLiteral("1.2");
        program.build = QStringLiteral("34");
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
    /// The next start of the program.
    void restart()
    {
        m_manager.reset();
        manager().start();
    }
    /// Waits until all steps are done, and those that they led to. A build that fails at once, because a file is in
    /// its place, comes after whatever was asked for before.
    void settle()
    {
        AppGroup last;
        last.name = QStringLiteral("Last");
        test::write(agents + QStringLiteral("/Last.app"), "a file");
        for (int step = 0; step < 5; ++step) {
            bool done = false;
            manager().install(last, false, [&](const BuildOutcome &) { done = true; });
            ASSERT_TRUE(QTest::qWaitFor([&] { return done; }, 20'000));
        }
        QFile::remove(agents + QStringLiteral("/Last.app"));
    }
    RunningApplication agent() const { return {agentIdentifier(work.id), 4711}; }
    bool isStandalone() const { return config.group(work.id) && config.group(work.id)->isStandalone; }
    QString nameAt(const QString &bundle) const
    {
        const auto info = InfoPlist::read(bundle);
        return info && info.value() ? info.value()->text("CFBundleName") : QStringLiteral("(none)");
    }

    Bundle program;
    test::FakeDefaults defaults;
    ConfigManager config{{folder.path() + QStringLiteral("/support"), false, false}, defaults};
    test::FakeRunningApplications running;
    test::FakeDistributedNotifications distributed;
    test::FakeDialogs dialogs;
    test::FakePasteboard pasteboard;
    test::VirtualScheduler scheduler;

private:
    std::optional<StandaloneGroupManager> m_manager;
};

TEST_F(StandaloneGroupManagerTest, AGroupBecomesAnApplicationThatStartsWithoutThePanel)
{
    std::optional<bool> attached;
    manager().attach(work, true, [&](bool success) { attached = success; });
    EXPECT_FALSE(isStandalone()) << "it is not one before all is done";
    settle();
    EXPECT_EQ(attached, true);
    EXPECT_TRUE(isStandalone());
    EXPECT_EQ(nameAt(destination), work.name);
    EXPECT_EQ(registry.menus.value(destination).value(0).title, QStringLiteral("Mail"));
    EXPECT_EQ(workspace.openedBundles, QStringList(destination + QStringLiteral(" --service")));

    running.launch(agent());
    scheduler.advance(2999ms);
    EXPECT_TRUE(distributed.posted.isEmpty());
    scheduler.advance(1ms);
    EXPECT_EQ(distributed.posted, QStringList(QStringLiteral("com.cobblet.repaintTile ") + uuidText(work.id)));
}

TEST_F(StandaloneGroupManagerTest, AnAgentOfBeforeIsEndedBeforeTheNewOneStarts)
{
    running.launch(agent());
    manager().attach(work, true);
    settle();
    EXPECT_EQ(running.calls, QStringList(QStringLiteral("forceTerminate %1 4711").arg(agentIdentifier(work.id))));
    EXPECT_TRUE(workspace.openedBundles.isEmpty());
    running.quit(agent());
    settle();
    EXPECT_EQ(workspace.openedBundles.size(), 1);
    EXPECT_EQ(registry.menus.size(), 1);
}

TEST_F(StandaloneGroupManagerTest, AFailureIsToldOnceAndChangesNothing)
{
    dialogs.waits = true;
    qputenv("CB_SIMULATE_SIGN_FAILURE", "1");
    qputenv("DEVELOPER_DIR", "/opt/tools");
    manager().attach(work, true);
    manager().attach(work, true);
    settle();
    qunsetenv("CB_SIMULATE_SIGN_FAILURE");
    qunsetenv("DEVELOPER_DIR");
    EXPECT_FALSE(isStandalone());
    EXPECT_EQ(leftovers(), QStringList());
    ASSERT_EQ(dialogs.alerts.size(), 1);
    const Alert &warning = dialogs.alerts.first();
    EXPECT_EQ(warning.message, QStringLiteral("Couldn't make “Work” a standalone app"));
    const QString details = QStringLiteral("Group: Work\n"
                                           "Error: codesign exited with status 1 — simulated failure "
                                           "(CB_SIMULATE_SIGN_FAILURE)\n"
                                           "macOS: %1\n"
                                           "App: 1.2 (34)\n"
                                           "codesign: true\n"
                                           "codesign_allocate: false\n"
                                           "DEVELOPER_DIR: /opt/tools")
                                .arg(QSysInfo::prettyProductName());
    EXPECT_EQ(
        warning.informativeText,
        QStringLiteral("macOS requires every app to be code-signed, and the signing step failed on this Mac, so "
                       "nothing was installed.\n\n") +
            details);
    EXPECT_EQ(warning.buttons[1].label, QStringLiteral("Copy Details"));
    dialogs.pending({});
    EXPECT_TRUE(pasteboard.text.isEmpty());
    manager().attach(work, true);
    settle();
    EXPECT_TRUE(isStandalone()) << "the next attempt is a new one";
}

TEST_F(StandaloneGroupManagerTest, TheDetailsCanBeCopied)
{
    dialogs.waits = true;
    qputenv("CB_SIMULATE_SIGN_FAILURE", "1");
    manager().attach(work, true);
    settle();
    qunsetenv("CB_SIMULATE_SIGN_FAILURE");
    ASSERT_EQ(dialogs.alerts.size(), 1);
    dialogs.pending(1);
    EXPECT_TRUE(dialogs.alerts.first().informativeText.endsWith(pasteboard.text));
    EXPECT_TRUE(pasteboard.text.startsWith(QStringLiteral("Group: Work\nError: ")));
}

TEST_F(StandaloneGroupManagerTest, AnApplicationThatDoesNotStartLeavesTheGroupAsItWas)
{
    workspace.bundleOutcome = Error{QStringLiteral("No program.")};
    manager().attach(work, true);
    settle();
    EXPECT_FALSE(isStandalone());
    EXPECT_TRUE(dialogs.alerts.isEmpty()) << "it was signed";
}

TEST_F(StandaloneGroupManagerTest, OpeningBuildsOnlyWhatIsMissingOrOld)
{
    manager().open(work.id);
    manager().open(work.id); // a second click
    settle();
    EXPECT_EQ(registry.registrations, 1);
    EXPECT_EQ(workspace.opened, QStringList(agentIdentifier(work.id)));
    manager().open(work.id);
    settle();
    EXPECT_EQ(registry.registrations, 1) << "it was there";
    EXPECT_EQ(workspace.opened.size(), 2);

    // The program is another one now.
    test::write(program.executable, "a newer one", true);
    QFile file(program.executable);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite) &&
                file.setFileTime(QDateTime::currentDateTime().addSecs(-60), QFileDevice::FileModificationTime));
    file.close();
    restart();
    EXPECT_EQ(manager().binaryStamp(),
              QString::number(QFileInfo(program.executable).lastModified().toSecsSinceEpoch()));
    settle();
    EXPECT_EQ(test::read(destination + QStringLiteral("/Contents/MacOS/cobblet")), QStringLiteral("a newer one"));
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CBBinaryStamp"), manager().binaryStamp());
    EXPECT_TRUE(workspace.openedBundles.isEmpty()) << "its agent did not run";
    const QDateTime built =
        QFileInfo(destination + QStringLiteral("/Contents/Resources/AppIcon.icns")).lastModified();
    restart();
    settle();
    EXPECT_EQ(QFileInfo(destination + QStringLiteral("/Contents/Resources/AppIcon.icns")).lastModified(), built)
        << "nothing is old";

    // Its application was deleted while its agent ran.
    ASSERT_TRUE(removeTree(destination));
    running.launch(agent());
    restart();
    settle();
    running.quit(agent());
    settle();
    EXPECT_EQ(nameAt(destination), work.name);
    EXPECT_EQ(workspace.openedBundles.size(), 1) << "its agent ran";
}

TEST_F(StandaloneGroupManagerTest, ChangesOfAStandaloneGroupReachItsApplicationInOneBuild)
{
    manager().attach(work, false);
    settle();
    config.renameGroup(work.id, QStringLiteral("Office"));
    config.addApps({{QStringLiteral("Notes"), QStringLiteral("org.notes")}}, work.id);
    config.setPinned(work.id, true);
    scheduler.advance(400ms);
    settle();
    EXPECT_EQ(nameAt(destination), QStringLiteral("Work"));
    running.launch(agent());
    scheduler.advance(100ms);
    settle();
    EXPECT_EQ(nameAt(destination), QStringLiteral("Office")) << "and where it was";
    EXPECT_EQ(registry.menus.value(destination).value(1).title, QStringLiteral("Notes"));
    EXPECT_TRUE(distributed.posted.contains(QStringLiteral("com.cobblet.repaintTile ") + uuidText(work.id)));
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));

    // Built from nothing, it goes to where its new name puts it, and is there once.
    manager().attach(*config.group(work.id), false);
    settle();
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Office.app")));
}

TEST_F(StandaloneGroupManagerTest, AGroupThatIsNoneAnyMoreLosesItsApplication)
{
    for (const bool deleted : {false, true}) {
        SCOPED_TRACE(deleted);
        manager().attach(work, false);
        settle();
        ASSERT_TRUE(isStandalone());
        registry.forgotten.clear();
        running.calls.clear();
        running.launch(agent());
        if (deleted)
            config.deleteGroup(work.id);
        else
            config.setStandalone(work.id, false);
        settle();
        EXPECT_EQ(leftovers(), QStringList());
        EXPECT_EQ(registry.forgotten, QStringList(agentIdentifier(work.id)));
        EXPECT_EQ(running.calls.value(0), QStringLiteral("forceTerminate %1 4711").arg(agentIdentifier(work.id)));
        running.quit(agent());
        settle();
        EXPECT_EQ(leftovers(), QStringList()) << "its end brings nothing back";
    }
}

TEST_F(StandaloneGroupManagerTest, AStartRemovesWhatIsStrandedAndNothingElse)
{
    AppGroup other;
    other.name = QStringLiteral("Other");
    config.addGroup(other);
    manager().attach(work, false);
    manager().attach(other, false);
    settle();
    test::write(agents + QStringLiteral("/Mine.app/note"), "mine");
    QFile::link(destination, agents + QStringLiteral("/Link.app"));
    registry.agents = {agentIdentifier(work.id), agentIdentifier(QUuid::createUuid()),
                           QStringLiteral("org.other")};
    registry.forgotten.clear();
    // What another process wrote while this program did not run.
    {
        ConfigManager elsewhere{{folder.path() + QStringLiteral("/support"), false, false}, defaults};
        elsewhere.deleteGroup(other.id);
    }
    ConfigManager fresh{{folder.path() + QStringLiteral("/support"), false, false}, defaults};
    config.replaceGroups(fresh.groups());
    restart();
    settle();
    EXPECT_EQ(leftovers(),
              QStringList({QStringLiteral("Link.app"), QStringLiteral("Mine.app"), QStringLiteral("Work.app")}));
    EXPECT_TRUE(registry.forgotten.contains(agentIdentifier(other.id)));
    EXPECT_TRUE(registry.forgotten.contains(registry.agents[1]));
    EXPECT_FALSE(registry.forgotten.contains(agentIdentifier(work.id)));
    EXPECT_FALSE(registry.forgotten.contains(QStringLiteral("org.other")));
}

TEST_F(StandaloneGroupManagerTest, WhatIsBeingMadeIsNotStranded)
{
    manager().attach(work, true);
    manager().reconcile(); // it looks once the bundle is there, and before the group is standalone
    manager().reconcile();
    settle();
    EXPECT_TRUE(isStandalone());
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));

    AppGroup deleted;
    deleted.name = QStringLiteral("Deleted");
    config.addGroup(deleted);
    manager().attach(deleted, false);
    config.deleteGroup(deleted.id);
    settle();
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app"))) << "nobody can make use of it any more";
}

TEST_F(StandaloneGroupManagerTest, TheEndOfAnAgentRebuildsItsApplication)
{
    manager().attach(work, false);
    settle();
    const QString icon = destination + QStringLiteral("/Contents/Resources/AppIcon.icns");
    ASSERT_TRUE(QFile::remove(icon));
    for (const RunningApplication &other : {RunningApplication{QStringLiteral("com.cobblet.agent.x"), 1},
                                            RunningApplication{QStringLiteral("org.other"), 2},
                                            RunningApplication{agentIdentifier(QUuid::createUuid()), 3}}) {
        running.launch(other);
        running.quit(other);
    }
    settle();
    EXPECT_FALSE(QFileInfo::exists(icon));
    running.launch(agent());
    running.quit(agent());
    settle();
    EXPECT_TRUE(QFileInfo::exists(icon));
}

TEST_F(StandaloneGroupManagerTest, TwoNamesThatMakeOneFileNameShareIt)
{
    AppGroup namesake;
    namesake.name = QStringLiteral("Work!");
    config.addGroup(namesake);
    manager().attach(work, false);
    manager().attach(namesake, false);
    settle();
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CFBundleIdentifier"), agentIdentifier(namesake.id));
    EXPECT_EQ(registry.forgotten, QStringList(agentIdentifier(work.id)));
}

} // namespace
} // namespace cobblet
