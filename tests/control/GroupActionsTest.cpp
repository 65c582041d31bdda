#include "support/GroupsFixture.h"

#include <array>

namespace cobblet {
namespace {

QList<AppItem> items(std::initializer_list<const char *> ids)
{
    QList<AppItem> apps;
    for (const char *id : ids)
        apps.append({QString::fromLatin1(id).toUpper(), QLatin1String(id)});
    return apps;
}

class GroupActionsTest : public testing::Test, protected test::GroupsFixture {
protected:
    void run(const char *id, qint64 pid) { running.running.append({QLatin1String(id), pid}); }
    void install(std::initializer_list<const char *> ids)
    {
        for (const char *id : ids)
            workspace.install(QLatin1String(id));
    }
    /// What was asked of the desktop since the last call.
    std::string asked() { return std::exchange(log, {}).join(u", "_s).toStdString(); }

    qint64 pid = 0;
};

TEST_F(GroupActionsTest, BringsForwardWhatRunsAndLaunchesWhatIsInstalled)
{
    install({"org.installed"});
    workspace.aliases[u"com.apple.mail"_s] = u"org.a"_s;
    run("org.b", 1);
    run("org.a", 2);
    run("org.a", 3);
    for (const char *id : {"org.a", "com.apple.mail"}) {
        EXPECT_TRUE(actions.openApp(QLatin1String(id)));
        EXPECT_EQ(asked(), "unhide org.a 2, unminimize org.a, reopen org.a, activate org.a 2");
    }
    EXPECT_TRUE(actions.openApp(u"org.installed"_s));
    EXPECT_EQ(asked(), "open org.installed");
    EXPECT_EQ(usage.counts(), (UsageTracker::Counts{{u"com.apple.mail"_s, 2}})) << "a launch's signal counts it";
    for (const char *id : {"org.gone", "", "ORG.A"})
        EXPECT_FALSE(actions.openApp(QLatin1String(id))) << id;
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(GroupActionsTest, AsksForTrustOnceInTheLifeOfTheInstallation)
{
    windowAccess.trusted = false;
    run("org.a", 1);
    actions.openApp(u"org.a"_s);
    EXPECT_EQ(asked(), "unhide org.a 1, reopen org.a, activate org.a 1");
    actions.openApp(u"org.a"_s);
    GroupActions nextRun(workspace, running, windowAccess, usage, standardDefaults, scheduler);
    nextRun.openApp(u"org.a"_s);
    EXPECT_EQ(windowAccess.prompts, 1);
}

TEST_F(GroupActionsTest, OpenAllStaggersTheOpensWhileTheObjectLives)
{
    install({"a", "b", "c"});
    std::optional<GroupActions> ending;
    ending.emplace(workspace, running, windowAccess, usage, standardDefaults, scheduler)
        .openAll(items({"a", "b", "c"}));
    EXPECT_TRUE(log.isEmpty()) << "even the first opens on the event loop, not within the call";
    scheduler.advance(79ms);
    EXPECT_EQ(asked(), "open a");
    scheduler.advance(1ms);
    EXPECT_EQ(asked(), "open b");
    ending.reset();
    scheduler.advance(1s);
    EXPECT_TRUE(log.isEmpty());
}

TEST_F(GroupActionsTest, MessagesReachEveryInstanceOnceInTheSystemsOrder)
{
    for (const char *id : {"z", "", "a", "other", "z"})
        run(id, ++pid);
    const QList<AppItem> apps = items({"a", "z", "z", "", "gone"});
    actions.hideAll(apps);
    EXPECT_EQ(asked(), "hide z 1, hide a 3, hide z 5");
    actions.quitAll(apps);
    EXPECT_EQ(asked(), "terminate z 1, terminate a 3, terminate z 5");
    actions.forceQuitAll(apps);
    EXPECT_EQ(asked(), "forceTerminate z 1, forceTerminate a 3, forceTerminate z 5");
}

class GroupReportsTest : public GroupActionsTest {
protected:
    GroupReportsTest() { workspace.waits = true; }
    /// Notes the outcomes as "NAME KIND; NAME KIND: REASON".
    GroupReports::Done noting()
    {
        return [this](const QList<IntentOutcome> &outcomes) {
            static constexpr std::array kinds{"launched",      "brought forward", "hidden",        "asked to quit",
                                              "still running", "not running",     "not installed", "failed"};
            QString line;
            for (const auto &[bundleID, name, kind, reason] : outcomes)
                line += (line.isEmpty() ? u""_s : u"; "_s) + name + u' ' + QLatin1String(kinds[size_t(kind)]) +
                        (reason.isEmpty() ? u""_s : u": "_s) + reason;
            told.append(line);
        };
    }

    void finish(const char *id, const Status &status = {}) { workspace.opening.take(QLatin1String(id))(status); }

    QStringList told;
};

TEST_F(GroupReportsTest, TellsOfEachLaunchOnceAllAreDecidedOrAfterEightSeconds)
{
    install({"a", "b", "real"});
    workspace.aliases[u"alias"_s] = u"real"_s;
    run("c", 7);
    reports.launch(items({"a", "b", "c", "gone", "a", "alias", "real"}), noting());
    scheduler.advance(1s);
    EXPECT_EQ(workspace.opened.size(), 3) << "the same application is opened once";
    finish("alias");
    finish("b", Error{u"No."_s});
    EXPECT_TRUE(told.isEmpty());
    finish("a");
    EXPECT_EQ(told,
              QStringList(u"A launched; B failed: No.; C brought forward; GONE not installed; ALIAS launched"_s));

    reports.launch(items({"a"}), noting());
    scheduler.advance(7999ms);
    EXPECT_EQ(told.size(), 1);
    scheduler.advance(1ms);
    finish("a");
    scheduler.advance(60s);
    EXPECT_EQ(told.mid(1), QStringList(u"A failed: It hasn't answered the request to open yet."_s));
}

TEST_F(GroupReportsTest, AQuitEndsWithTheLastApplicationOrAfterFiveSeconds)
{
    for (const char *id : {"a", "b", "a"})
        run(id, ++pid);
    const int before = scheduler.pending();
    reports.quit(items({"a", "b", "c", "a"}), noting());
    EXPECT_EQ(asked(), "terminate a 1, terminate b 2, terminate a 3");
    for (const RunningApplication &ended : {RunningApplication{u"b"_s, 2}, {u"a"_s, 1}, {u"a"_s, 3}}) {
        EXPECT_TRUE(told.isEmpty());
        running.quit(ended);
    }
    EXPECT_EQ(told, QStringList(u"A asked to quit; B asked to quit; C not running"_s));
    EXPECT_EQ(scheduler.pending(), before) << "nothing is waited for any more";

    run("a", 4);
    reports.quit(items({"a"}), noting());
    scheduler.advance(4999ms);
    EXPECT_EQ(told.size(), 1);
    scheduler.advance(1ms);
    EXPECT_EQ(told.last(), u"A still running"_s);
}

TEST_F(GroupReportsTest, TellsOfHidingWhatWasSeenOfIt)
{
    running.available = Availability::partly(u"Only some are seen."_s);
    for (const char *id : {"a", "a", "b", "c"})
        run(id, ++pid);
    reports.hide(items({"a", "b", "c", "d"}), noting());
    running.hiding.take(1)({});
    running.hiding.take(3)(Error{u"No icons."_s});
    EXPECT_TRUE(told.isEmpty());
    running.hiding.take(2)({});
    scheduler.advance(3s);
    EXPECT_EQ(told, QStringList(u"A hidden; B failed: No icons.; C failed: It isn't known yet whether its windows "
                                "went.; D failed: Only some are seen."_s));
    reports.quit(items({"d"}), noting());
    EXPECT_EQ(told.last(), u"D failed: Only some are seen."_s);
}

TEST_F(GroupReportsTest, TellsOfWhatItWaitsForWhenItIsDestroyed)
{
    install({"a", "b"});
    run("c", 1);
    {
        GroupReports ending(actions, workspace, running, scheduler);
        ending.launch(items({"a", "b"}), noting());
        ending.quit(items({"c", "d"}), noting());
        scheduler.advance(0ms);
    }
    const QString unknown = u" failed: Cobblet ended before it was known what happened."_s;
    EXPECT_EQ(told, (QStringList{u"A%1; B%1"_s.arg(unknown), u"C%1; D not running"_s.arg(unknown)}));
    finish("a");
    running.quit({u"c"_s, 1});
    scheduler.advance(60s);
    EXPECT_EQ(told.size(), 2);
}

} // namespace
} // namespace cobblet
