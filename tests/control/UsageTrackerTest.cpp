#include "control/UsageTracker.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace std::chrono_literals;

class UsageTrackerTest : public testing::Test {
protected:
    std::unique_ptr<UsageTracker> tracker()
    {
        return std::make_unique<UsageTracker>(folder(), running, workspace, scheduler);
    }
    QString folder() const { return directory.filePath(QStringLiteral("Cobblet")); }
    QByteArray content(const char *name) const
    {
        QFile file(folder() + QLatin1Char('/') + QLatin1String(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
    }
    void put(const char *name, const QByteArray &bytes) const
    {
        QDir().mkpath(folder());
        QFile file(folder() + QLatin1Char('/') + QLatin1String(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    }
    void launch(const char *id) { running.launch({QLatin1String(id), ++pid}); }

    QTemporaryDir directory;
    qint64 pid = 0;
    test::VirtualScheduler scheduler;
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
};

TEST_F(UsageTrackerTest, PairsWhatIsLaunchedWithinOneSession)
{
    const auto usage = tracker();
    launch("a");
    launch("a"); // never paired with itself
    EXPECT_TRUE(usage->cooccurrence().isEmpty());
    scheduler.advance(29min);
    launch("b");
    scheduler.advance(29min); // gaps count from the last launch, not from the first
    launch("a");
    scheduler.advance(31min);
    launch("c");

    using Counts = UsageTracker::Counts;
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
    EXPECT_EQ(usage->counts(), (Counts{{a, 3}, {b, 1}, {c, 1}}));
    EXPECT_EQ(usage->cooccurrence(), (QMap<QString, Counts>{{a, {{b, 2}}}, {b, {{a, 2}}}}));
}

TEST_F(UsageTrackerTest, LeavesOutTheSystemsOwnProcesses)
{
    const auto usage = tracker();
    for (const char *id : {"com.apple.dock", "com.apple.finder", "com.apple.WebKit.Networking",
                           "com.apple.security.agent", "com.apple.accessibility.x", ""})
        launch(id);
    EXPECT_TRUE(usage->counts().isEmpty());
    EXPECT_EQ(scheduler.pending(), 0);
    for (const char *id : {"com.apple.finder2", "com.apple.WebKit", "com.apple.Finder"})
        launch(id);
    EXPECT_EQ(usage->counts().size(), 3);
}

TEST_F(UsageTrackerTest, ABurstOfLaunchesWritesEachFileOnceAndTheEndWritesWhatIsPending)
{
    auto usage = tracker();
    launch("a");
    scheduler.advance(1999ms);
    launch("b");
    scheduler.advance(1999ms);
    EXPECT_EQ(content("usage-stats.json"), "(missing)");
    scheduler.advance(1ms);
    EXPECT_EQ(content("usage-stats.json"), R"({"a":1,"b":1})");
    EXPECT_EQ(content("usage-cooccurrence.json"), "(missing)");
    scheduler.advance(3s);
    EXPECT_EQ(content("usage-cooccurrence.json"), R"({"a":{"b":1},"b":{"a":1}})");
    QFile::remove(folder() + QStringLiteral("/usage-stats.json"));
    scheduler.advance(1h);
    EXPECT_EQ(content("usage-stats.json"), "(missing)") << "nothing is written without a launch";

    launch("b");
    launch("c");
    const auto counts = usage->counts();
    const auto pairs = usage->cooccurrence();
    usage.reset();
    EXPECT_EQ(scheduler.pending(), 0);
    usage = tracker();
    EXPECT_EQ(usage->counts(), counts);
    EXPECT_EQ(usage->cooccurrence(), pairs);
}

TEST_F(UsageTrackerTest, ReadsOnlyWhatIsATableOfCounts)
{
    const std::pair<const char *, int> rows[] = {{R"({"a":1,"b":9223372036854775807})", 2},
                                                 {R"({"a":2.0})", 1},
                                                 {R"({"a":0,"b":-4,"c":1})", 1},
                                                 {R"({"a":1,"b":"2"})", 0},
                                                 {R"({"a":1.5})", 0},
                                                 {R"({"a":1e300})", 0},
                                                 {R"({"a":true})", 0},
                                                 {R"({"a":null})", 0},
                                                 {R"([1,2])", 0},
                                                 {R"({"a":1)", 0},
                                                 {"", 0}};
    for (const auto &[stats, entries] : rows) {
        put("usage-stats.json", stats);
        const auto usage = tracker();
        EXPECT_EQ(usage->counts().size(), entries) << stats;
        put("usage-cooccurrence.json", QByteArray(R"({"x":)") + stats + "}");
        EXPECT_EQ(tracker()->cooccurrence().value(QStringLiteral("x")).size(), entries) << stats;
        launch("b");
        EXPECT_GT(usage->counts().value(QStringLiteral("b")), 0) << "counts stop at the largest number";
    }
    put("usage-stats.json", QByteArray(17 * 1024 * 1024, ' ') + R"({"a":1})");
    EXPECT_TRUE(tracker()->counts().isEmpty()) << "a file past the bound is not read";
}

TEST_F(UsageTrackerTest, MostUsedHoldsTheInstalledApplicationsWithMostLaunches)
{
    EXPECT_TRUE(tracker()->mostUsed().apps.isEmpty());
    put("usage-stats.json",
        R"({"k":1,"j":1,"i":1,"h":1,"g":1,"f":1,"e":1,"d":1,"c":1,"b":1,"Z":1,"top":5,"gone":9})");
    for (const char *id : {"top", "Z", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k"})
        workspace.install(QLatin1String(id), QStringLiteral("Name of ") + QLatin1String(id));
    const AppGroup group = tracker()->mostUsed();
    EXPECT_EQ(group.id, AppGroup::mostUsedID);
    EXPECT_EQ(group.apps.value(0), (AppItem{QStringLiteral("Name of top"), QStringLiteral("top")}));
    QString ids;
    for (const AppItem &app : group.apps)
        ids += app.bundleID;
    EXPECT_EQ(ids, QStringLiteral("topZbcdefghi")) << "equal counts in the order of the identifiers";
}

} // namespace
} // namespace cobblet
