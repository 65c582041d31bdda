#include "control/GroupReports.h"

#include "control/GroupActions.h"
#include "control/UsageTracker.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>

namespace cobblet {
namespace {

using namespace std::chrono_literals;

/// Launches finish when the test says so.
class SlowWorkspace : public test::FakeWorkspace {
public:
    using FakeWorkspace::FakeWorkspace;
    void open(const QString &bundleID, Completion done) override
    {
        opened.append(bundleID);
        pending.insert(bundleID, done);
    }
    void finish(const char *id, const Status &status = {}) { pending.take(QLatin1String(id))(status); }

    QMap<QString, Completion> pending;
};

class GroupReportsTest : public testing::Test {
protected:
    void run(const char *id, qint64 pid) { running.running.append({QLatin1String(id), pid}); }

    static QList<AppItem> items(std::initializer_list<const char *> ids)
    {
        QList<AppItem> apps;
        for (const char *id : ids)
            apps.append({QString::fromLatin1(id).toUpper(), QLatin1String(id)});
        return apps;
    }

    /// Notes the outcomes as "NAME kind; NAME kind: reason".
    GroupReports::Done noting()
    {
        return [this](const QList<IntentOutcome> &outcomes) {
            static constexpr std::array kinds{"launched",      "brought forward", "hidden",        "asked to quit",
                                              "still running", "not running",     "not installed", "failed"};
            QStringList parts;
            for (const IntentOutcome &outcome : outcomes) {
                QString part = outcome.name + QLatin1Char(' ') + QLatin1String(kinds[size_t(outcome.kind)]);
                if (!outcome.reason.isEmpty())
                    part += QStringLiteral(": ") + outcome.reason;
                parts.append(part);
            }
            told.push_back(parts.join(QStringLiteral("; ")).toStdString());
        };
    }

    using Told = std::vector<std::string>;

    QTemporaryDir folder;
    test::VirtualScheduler scheduler;
    SlowWorkspace workspace;
    test::FakeRunningApplications running;
    test::FakeWindowAccess windows;
    test::FakeDefaults defaults;
    UsageTracker usage{folder.path(), running, workspace, scheduler};
    GroupActions actions{workspace, running, windows, usage, defaults, scheduler};
    std::unique_ptr<GroupReports> reports = std::make_unique<GroupReports>(actions, workspace, running, scheduler);
    Told told;
};

TEST_F(GroupReportsTest, TellsOfEachLaunchOnceAllAreDecided)
{
    for (const char *id : {"a", "b", "real"})
        workspace.install(QLatin1String(id));
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
    workspace.install(QStringLiteral("a"));
    workspace.install(QStringLiteral("b"));
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
    EXPECT_EQ(running.calls, (QStringList{QStringLiteral("terminate a 1"), QStringLiteral("terminate b 2"),
                                          QStringLiteral("terminate a 3")}));
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
    EXPECT_EQ(running.calls, QStringList{QStringLiteral("hide started.here 1")});
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
    workspace.install(QStringLiteral("a"));
    workspace.install(QStringLiteral("b"));
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
