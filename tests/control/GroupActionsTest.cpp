#include "control/GroupActions.h"
#include "control/UsageTracker.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace cobblet {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

QList<AppItem> items(std::initializer_list<const char *> ids)
{
    QList<AppItem> apps;
    for (const char *id : ids)
        apps.append({QLatin1String(id), QLatin1String(id)});
    return apps;
}

class GroupActionsTest : public testing::Test {
protected:
    void run(const char *id, qint64 pid) { running.running.append({QLatin1String(id), pid}); }
    std::vector<std::string> lines() const
    {
        std::vector<std::string> result;
        for (const QString &line : log)
            result.push_back(line.toStdString());
        return result;
    }

    QTemporaryDir folder;
    test::Log log;
    test::VirtualScheduler scheduler;
    test::FakeWorkspace workspace{&log};
    test::FakeRunningApplications running{&log};
    test::FakeWindowAccess windows{&log};
    test::FakeDefaults defaults;
    UsageTracker usage{folder.path(), running, workspace, scheduler};
    std::unique_ptr<GroupActions> actions =
        std::make_unique<GroupActions>(workspace, running, windows, usage, defaults, scheduler);
};

TEST_F(GroupActionsTest, BringsForwardWhatRunsAndLaunchesWhatIsInstalled)
{
    workspace.install(QStringLiteral("org.installed"));
    workspace.aliases[QStringLiteral("com.apple.mail")] = QStringLiteral("org.a");
    run("", 7); // a process that is no application
    run("org.b", 1);
    run("org.a", 2);
    run("org.a", 3);
    for (const char *id : {"org.a", "com.apple.mail"}) {
        log.clear();
        EXPECT_TRUE(actions->openApp(QLatin1String(id)));
        EXPECT_THAT(lines(), ElementsAre("unhide org.a 2", "unminimize org.a", "reopen org.a", "activate org.a 2"));
    }
    log.clear();
    EXPECT_TRUE(actions->openApp(QStringLiteral("org.installed")));
    EXPECT_THAT(lines(), ElementsAre("open org.installed"));
    EXPECT_EQ(usage.counts(), (UsageTracker::Counts{{QStringLiteral("org.a"), 2}})) << "a launch's signal counts it";
    log.clear();
    for (const char *id : {"org.gone", "", "ORG.A"})
        EXPECT_FALSE(actions->openApp(QLatin1String(id))) << id;
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(GroupActionsTest, AsksForTrustOnceInTheLifeOfTheInstallation)
{
    windows.trusted = false;
    run("org.a", 1);
    actions->openApp(QStringLiteral("org.a"));
    EXPECT_THAT(lines(), ElementsAre("unhide org.a 1", "reopen org.a", "activate org.a 1"));
    actions->openApp(QStringLiteral("org.a"));
    EXPECT_EQ(windows.prompts, 1);
    EXPECT_EQ(defaults.stored.value(QStringLiteral("didPromptAccessibility")), QVariant(true));

    GroupActions nextRun(workspace, running, windows, usage, defaults, scheduler);
    nextRun.openApp(QStringLiteral("org.a"));
    EXPECT_EQ(windows.prompts, 1);
}

TEST_F(GroupActionsTest, OpenAllStaggersTheOpensWhileTheObjectLives)
{
    for (const char *id : {"a", "b", "c"})
        workspace.install(QLatin1String(id));
    actions->openAll(items({"a", "b", "c"}));
    EXPECT_TRUE(log.isEmpty()) << "even the first opens on the event loop, not within the call";
    scheduler.advance(79ms);
    EXPECT_THAT(lines(), ElementsAre("open a"));
    scheduler.advance(1ms);
    EXPECT_THAT(lines(), ElementsAre("open a", "open b"));
    actions.reset();
    scheduler.advance(1s);
    EXPECT_EQ(log.size(), 2);
}

TEST_F(GroupActionsTest, MessagesReachEveryInstanceOnceInTheSystemsOrder)
{
    run("z", 1);
    run("", 2);
    run("a", 3);
    run("other", 4);
    run("z", 5);
    const QList<AppItem> apps = items({"a", "z", "z", "", "gone"});

    struct Row {
        void (GroupActions::*verb)(const QList<AppItem> &);
        const char *message;
    };
    for (const Row &row : {Row{&GroupActions::hideAll, "hide"}, Row{&GroupActions::quitAll, "terminate"},
                           Row{&GroupActions::forceQuitAll, "forceTerminate"}}) {
        log.clear();
        ((*actions).*row.verb)(apps);
        const std::string m = row.message;
        EXPECT_THAT(lines(), ElementsAre(m + " z 1", m + " a 3", m + " z 5"));
    }
}

} // namespace
} // namespace cobblet
