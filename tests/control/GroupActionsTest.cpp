#include "control/GroupActions.h"
#include "control/GroupReports.h"
#include "control/UsageTracker.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <array>

namespace cobblet {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Launches finish when the test says so.
class SlowWorkspace : public test::FakeWorkspace {
public:
    using FakeWorkspace::FakeWorkspace;
    void open(const QString &bundleID, Completion done, const QString &) override
    {
        FakeWorkspace::open(bundleID, {}, {});
        pending.insert(bundleID, done);
    }
    void finish(const char *id, const Status &status = {}) { pending.take(QLatin1String(id))(status); }

    QMap<QString, Completion> pending;
};

QList<AppItem> items(std::initializer_list<const char *> ids)
{
    QList<AppItem> apps;
    for (const char *id : ids)
        apps.append({QString::fromLatin1(id).toUpper(), QLatin1String(id)});
    return apps;
}

class GroupActionsTest : public testing::Test {
protected:
    void run(const char *id, qint64 pid) { running.running.append({QLatin1String(id), pid}); }
    void install(std::initializer_list<const char *> ids)
    {
        for (const char *id : ids)
            workspace.install(QLatin1String(id));
    }
    /// What was asked of the desktop since the last call.
    std::vector<std::string> asked()
    {
        std::vector<std::string> result;
        for (const QString &line : std::exchange(log, {}))
            result.push_back(line.toStdString());
        return result;
    }

    QTemporaryDir folder;
    test::Log log;
    test::VirtualScheduler scheduler;
    SlowWorkspace workspace{&log};
    test::FakeRunningApplications running{&log};
    test::FakeWindowAccess windows{&log};
    test::FakeDefaults defaults;
    UsageTracker usage{folder.path(), running, workspace, scheduler};
    std::unique_ptr<GroupActions> actions =
        std::make_unique<GroupActions>(workspace, running, windows, usage, defaults, scheduler);
};

TEST_F(GroupActionsTest, BringsForwardWhatRunsAndLaunchesWhatIsInstalled)
{
    install({"org.installed"});
    workspace.aliases[QStringLiteral("com.apple.mail")] = QStringLiteral("org.a");
    run("", 7); // a process that is no application
    run("org.b", 1);
    run("org.a", 2);
    run("org.a", 3);
    for (const char *id : {"org.a", "com.apple.mail"}) {
        EXPECT_TRUE(actions->openApp(QLatin1String(id)));
        EXPECT_THAT(asked(), ElementsAre("unhide org.a 2", "unminimize org.a", "reopen org.a", "activate org.a 2"));
    }
    EXPECT_TRUE(actions->openApp(QStringLiteral("org.installed")));
    EXPECT_THAT(asked(), ElementsAre("open org.installed"));
    EXPECT_EQ(usage.counts(), (UsageTracker::Counts{{QStringLiteral("org.a"), 2}})) << "a launch's signal counts it";
    for (const char *id : {"org.gone", "", "ORG.A"})
        EXPECT_FALSE(actions->openApp(QLatin1String(id))) << id;
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(GroupActionsTest, AsksForTrustOnceInTheLifeOfTheInstallation)
{
    windows.trusted = false;
    run("org.a", 1);
    actions->openApp(QStringLiteral("org.a"));
    EXPECT_THAT(asked(), ElementsAre("unhide org.a 1", "reopen org.a", "activate org.a 1"));
    actions->openApp(QStringLiteral("org.a"));
    EXPECT_EQ(windows.prompts, 1);
    EXPECT_EQ(defaults.stored.value(QStringLiteral("didPromptAccessibility")), QVariant(true));

    GroupActions nextRun(workspace, running, windows, usage, defaults, scheduler);
    nextRun.openApp(QStringLiteral("org.a"));
    EXPECT_EQ(windows.prompts, 1);
}

TEST_F(GroupActionsTest, OpenAllStaggersTheOpensWhileTheObjectLives)
{
    install({"a", "b", "c"});
    actions->openAll(items({"a", "b", "c"}));
    EXPECT_TRUE(log.isEmpty()) << "even the first opens on the event loop, not within the call";
    scheduler.advance(79ms);
    EXPECT_THAT(asked(), ElementsAre("open a"));
    scheduler.advance(1ms);
    EXPECT_THAT(asked(), ElementsAre("open b"));
    actions.reset();
    scheduler.advance(1s);
    EXPECT_TRUE(log.isEmpty());
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
        EXPECT_THAT(asked(), ElementsAre(m + " z 1", m + " a 3", m + " z 5"));
    }
}

class GroupReportsTest : public GroupActionsTest {
protected:
    /// Notes the outcomes as "NAME kind; NAME kind: reason".
    GroupReports::Done noting()
    {
        return [this](const QList<IntentOutcome> &outcomes) {
            static constexpr std::array kinds{"launched",      "brought forward", "hidden",        "asked to quit",
                                              "still running", "not running",     "not installed", "failed"};
            QStringList parts;
            for (const IntentOutcome &outcome : outcomes)
                parts.append(outcome.name + QLatin1Char(' ') + QLatin1String(kinds[size_t(outcome.kind)]) +
                             (outcome.reason.isEmpty() ? QString() : QStringLiteral(": ") + outcome.reason));
            told.push_back(parts.join(QStringLiteral("; ")).toStdString());
        };
    }

    using Told = std::vector<std::string>;

    std::unique_ptr<GroupReports> reports = std::make_unique<GroupReports>(*actions, workspace, running, scheduler);
    Told told;
};

TEST_F(GroupReportsTest, TellsOfEachLaunchOnceAllAreDecided)
{
    install({"a", "b", "real"});
    workspace.aliases[QStringLiteral("alias")] = QStringLiteral("real");
    run("c", 7);
    reports->launch(items({"a", "b", "c", "gone", "a", "alias", "real"}), noting());
    scheduler.advance(79ms);
    EXPECT_EQ(workspace.opened, QStringList{QStringLiteral("a")}) << "one after the other, as a click does";
    scheduler.advance(1s);
    EXPECT_EQ(workspace.opened.size(), 3) << "the same application is opened once";
    workspace.finish("alias");
    workspace.finish("b", Error{QStringLiteral("No.")});
    EXPECT_EQ(told, Told{});
    workspace.finish("a");
    EXPECT_EQ(told, Told{"A launched; B failed: No.; C brought forward; GONE not installed; ALIAS launched"});
    scheduler.advance(60s);
    EXPECT_EQ(told.size(), 1u);
}

TEST_F(GroupReportsTest, DoesNotWaitForeverForALaunch)
{
    install({"a", "b"});
    reports->launch(items({"a", "b"}), noting());
    scheduler.advance(8079ms);
    workspace.finish("a");
    EXPECT_EQ(told, Told{});
    scheduler.advance(1ms);
    workspace.finish("b");
    EXPECT_EQ(told, Told{"A launched; B failed: It hasn't answered the request to open yet."});
    reports->launch({}, noting());
    EXPECT_EQ(told.back(), "");
}

TEST_F(GroupReportsTest, AQuitEndsWithTheLastApplicationOrAfterFiveSeconds)
{
    run("a", 1);
    run("b", 2);
    run("a", 3);
    const int before = scheduler.pending();
    reports->quit(items({"a", "b", "c", "a"}), noting());
    EXPECT_THAT(asked(), ElementsAre("terminate a 1", "terminate b 2", "terminate a 3"));
    running.quit({QStringLiteral("b"), 2});
    running.quit({QStringLiteral("a"), 1});
    EXPECT_EQ(told, Told{}) << "another instance of it runs";
    running.quit({QStringLiteral("a"), 3});
    EXPECT_EQ(told, Told{"A asked to quit; B asked to quit; C not running"});
    EXPECT_EQ(scheduler.pending(), before) << "nothing is waited for any more";

    run("a", 4);
    run("b", 5);
    reports->quit(items({"a", "b"}), noting());
    running.quit({QStringLiteral("b"), 5});
    scheduler.advance(4999ms);
    EXPECT_EQ(told.size(), 1u);
    scheduler.advance(1ms);
    ASSERT_EQ(told.size(), 2u);
    EXPECT_EQ(told[1], "A still running; B asked to quit");
}

TEST_F(GroupReportsTest, HidesAtOnceAndSaysWhyApplicationsCannotBeReached)
{
    run("started.here", 1);
    reports->hide(items({"started.here", "b"}), noting());
    EXPECT_THAT(asked(), ElementsAre("hide started.here 1"));
    EXPECT_EQ(told, Told{"STARTED.HERE hidden; B not running"});
    told.clear();
    running.seen = Availability::partly(QStringLiteral("No display."));
    reports->hide(items({"started.here"}), noting());
    reports->quit(items({"started.here", "b"}), noting());
    running.quit({QStringLiteral("started.here"), 1});
    EXPECT_EQ(told, (Told{"STARTED.HERE failed: No display.", "STARTED.HERE asked to quit; B failed: No display."}));
}

TEST_F(GroupReportsTest, TellsOfWhatItWaitsForWhenItIsDestroyed)
{
    install({"a", "b"});
    run("c", 1);
    reports->launch(items({"a", "b"}), noting());
    reports->quit(items({"c", "d"}), noting());
    scheduler.advance(0ms);
    reports.reset();
    const std::string unknown = " failed: Cobblet ended before it was known what happened.";
    EXPECT_EQ(told, (Told{"A" + unknown + "; B" + unknown, "C" + unknown + "; D not running"}));
    workspace.finish("a");
    running.quit({QStringLiteral("c"), 1});
    scheduler.advance(60s);
    EXPECT_EQ(told.size(), 2u);
    EXPECT_EQ(workspace.opened, QStringList{QStringLiteral("a")});
}

} // namespace
} // namespace cobblet
