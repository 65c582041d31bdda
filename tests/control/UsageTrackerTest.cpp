#include "control/UsageTracker.h"
#include "support/FakeDesktop.h"
#include "support/Test.h"
#include "support/VirtualScheduler.h"

namespace cobblet {
namespace {

using test::content;
using test::write;

class UsageTrackerTest : public testing::Test {
protected:
    auto tracker() { return std::make_unique<UsageTracker>(directory.path(), running, workspace, scheduler); }
    void launch(const char *id) { running.launch({QLatin1String(id), ++pid}); }

    QTemporaryDir directory;
    const QString stats = directory.filePath(u"usage-stats.json"_s);
    const QString pairs = directory.filePath(u"usage-cooccurrence.json"_s);
    qint64 pid = 0;
    test::VirtualScheduler scheduler;
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
};

TEST_F(UsageTrackerTest, PairsWhatIsLaunchedWithinOneSessionButForTheSystemsOwn)
{
    const auto usage = tracker();
    for (const char *id : {"com.apple.dock", "com.apple.WebKit.Networking", ""})
        launch(id);
    EXPECT_EQ(scheduler.pending(), 0);
    launch("a");
    launch("a"); // never paired with itself
    for (const char *id : {"b", "a"}) {
        scheduler.advance(29min); // gaps count from the last launch, not from the first
        launch(id);
    }
    scheduler.advance(31min);
    launch("com.apple.dock2");

    using Counts = UsageTracker::Counts;
    EXPECT_EQ(usage->counts(), (Counts{{u"a"_s, 3}, {u"b"_s, 1}, {u"com.apple.dock2"_s, 1}}));
    EXPECT_EQ(usage->cooccurrence(), (QMap<QString, Counts>{{u"@2026-01-01 09:00"_s, {{u"a"_s, 3}, {u"b"_s, 1}}},
                                                            {u"@2026-01-01 10:29"_s, {{u"com.apple.dock2"_s, 1}}},
                                                            {u"a"_s, {{u"b"_s, 2}}},
                                                            {u"b"_s, {{u"a"_s, 2}}}}));
    EXPECT_EQ(UsageTracker::sessionDay(u"@2026-01-01 10:29"_s), QDate(2026, 1, 1));
    EXPECT_FALSE(UsageTracker::sessionDay(u"2026-01-01"_s).isValid());
}

TEST_F(UsageTrackerTest, ABurstOfLaunchesWritesEachFileOnceAndTheEndWritesWhatIsPending)
{
    auto usage = tracker();
    launch("a");
    scheduler.advance(1999ms);
    launch("b");
    scheduler.advance(1999ms);
    EXPECT_EQ(content(stats), "");
    scheduler.advance(1ms);
    EXPECT_EQ(content(stats), R"({"a":1,"b":1})");
    EXPECT_EQ(content(pairs), "");
    scheduler.advance(3s);
    EXPECT_EQ(content(pairs), R"({"@2026-01-01 09:00":{"a":1,"b":1},"a":{"b":1},"b":{"a":1}})");
    scheduler.advance(43 * 24h);
    launch("c");
    usage.reset();
    EXPECT_EQ(scheduler.pending(), 0);
    EXPECT_EQ(content(stats), R"({"a":1,"b":1,"c":1})");
    EXPECT_EQ(content(pairs), R"({"@2026-02-13 09:00":{"c":1},"a":{"b":1},"b":{"a":1}})") << "old sessions go";
    EXPECT_EQ(tracker()->counts().size(), 3);
}

TEST_F(UsageTrackerTest, ProcessesAddToTheSameFilesAndOneCountsWhatAllSee)
{
    using Counts = UsageTracker::Counts;
    const auto first = tracker(), second = tracker();
    launch("seen");
    second->recordLaunch(u"own"_s);
    first->recordLaunch(u"own"_s);
    scheduler.advance(10s);
    const Counts expected{{u"own"_s, 2}, {u"seen"_s, 1}};
    EXPECT_EQ(tracker()->counts(), expected);
    launch("seen");
    scheduler.advance(10s);
    EXPECT_EQ(first->counts().value(u"seen"_s), 2);
    EXPECT_EQ(second->counts(), first->counts()) << "it reads what the other one has written";
    EXPECT_EQ(content(pairs), R"({"@2026-01-01 09:00":{"own":2,"seen":2},"own":{"seen":3},"seen":{"own":3}})");

    // Where each sees little but its own launches, each counts those.
    running.available = Availability::partly(u"Some."_s);
    for (const auto origin : {RunningApplications::Origin::Here, RunningApplications::Origin::Elsewhere})
        running.launch({u"own"_s, ++pid}, origin);
    scheduler.advance(10s);
    EXPECT_EQ(tracker()->counts().value(u"own"_s), 4) << "two trackers in this process";
}

TEST_F(UsageTrackerTest, KeepsIdentifiersAsTheyWereToldAndKnowsWhatTheyStandFor)
{
    workspace.aliases = {{u"com.apple.mail"_s, u"org.mail"_s}, {u"com.apple.finder"_s, u"org.files"_s}};
    workspace.install(u"org.mail"_s, u"Mail"_s);
    const auto usage = tracker();
    launch("org.files");
    usage->recordLaunch(u"com.apple.finder"_s);
    EXPECT_EQ(scheduler.pending(), 0) << "neither the excluded one nor what stands for it";
    usage->recordLaunch(u"com.apple.mail"_s);
    usage->recordLaunch(u"com.apple.mail"_s);
    launch("org.mail");
    running.launch({u"org.mail"_s, ++pid}, RunningApplications::Origin::Unlaunched);
    usage->flush();
    EXPECT_EQ(content(stats), R"({"com.apple.mail":2,"org.mail":1})");
    EXPECT_EQ(content(pairs), R"({"@2026-01-01 09:00":{"com.apple.mail":2,"org.mail":1}})")
        << "it is no pair with itself";
    EXPECT_EQ(usage->counts(), (UsageTracker::Counts{{u"com.apple.mail"_s, 3}}));
    EXPECT_EQ(usage->mostUsed().apps, (QList<AppItem>{{u"Mail"_s, u"com.apple.mail"_s}}));
}

TEST_F(UsageTrackerTest, ReadsOnlyWhatIsATableOfCounts)
{
    const std::pair<QByteArray, int> rows[] = {{R"({"a":2.0,"b":9223372036854775807})", 2},
                                               {R"({"a":0,"b":-4,"c":1})", 1},
                                               {R"({"a":1,"b":"2"})", 0},
                                               {R"({"a":1.5})", 0},
                                               {R"([1,2])", 0},
                                               {QByteArray(17 * 1024 * 1024, ' ') + R"({"a":1})", 0}};
    for (const auto &[table, entries] : rows) {
        SCOPED_TRACE(table.left(40).constData());
        write(stats, table);
        write(pairs, R"({"x":)" + table + "}");
        const auto usage = tracker();
        EXPECT_EQ(usage->counts().size(), entries);
        EXPECT_EQ(usage->cooccurrence().value(u"x"_s).size(), entries);
        launch("b");
        EXPECT_GT(usage->counts().value(u"b"_s), 0) << "counts stop at the largest number";
    }
}

TEST_F(UsageTrackerTest, MostUsedHoldsTheInstalledApplicationsWithMostLaunches)
{
    EXPECT_TRUE(tracker()->mostUsed().apps.isEmpty());
    write(stats, R"({"k":1,"j":1,"i":1,"h":1,"g":1,"f":1,"e":1,"d":1,"c":1,"b":1,"Z":1,"t":5,"gone":9})");
    const QString installed = u"tZbcdefghijk"_s;
    for (const QChar id : installed)
        workspace.install(id, u"Name of "_s + id);
    const AppGroup group = tracker()->mostUsed();
    EXPECT_EQ(group.id, AppGroup::mostUsedID);
    EXPECT_EQ(group.apps.value(0), (AppItem{u"Name of t"_s, u"t"_s}));
    QString ids;
    for (const AppItem &app : group.apps)
        ids += app.bundleID;
    EXPECT_EQ(ids, installed.first(10)) << "equal counts in the order of the identifiers";
}

} // namespace
} // namespace cobblet
