#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"

#include <QCoreApplication>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>

namespace cobblet {
namespace {

/// Icons are one colour per application; look-ups are counted. Safe to use from several threads.
class CountingWorkspace : public test::FakeWorkspace {
public:
    QImage icon(const QString &bundleID, int points, qreal ratio) const override
    {
        const std::lock_guard lock(mutex);
        ++lookups[bundleID];
        threads.insert(std::this_thread::get_id());
        const auto it = colours.find(bundleID);
        if (it == colours.end())
            return {};
        QImage image(qRound(points * ratio), qRound(points * ratio), QImage::Format_ARGB32_Premultiplied);
        image.fill(it->second);
        return image;
    }
    void put(const QString &bundleID, Qt::GlobalColor colour)
    {
        const std::lock_guard lock(mutex);
        colours[bundleID] = colour;
    }
    size_t count() const
    {
        const std::lock_guard lock(mutex);
        return lookups.size();
    }

    mutable std::mutex mutex;
    std::map<QString, Qt::GlobalColor> colours;
    mutable std::map<QString, int> lookups;
    mutable std::set<std::thread::id> threads;
};

class IconProviderTest : public testing::Test {
protected:
    IconProviderTest()
    {
        workspace.put(a, Qt::red);
        workspace.put(b, Qt::blue);
        QObject::connect(&icons, &IconProvider::loaded, &icons, [this](const QStringList &ids) { announced += ids; });
        QObject::connect(&icons, &IconProvider::iconsChanged, &icons, [this] { ++changes; });
    }
    static QColor colour(const QImage &image) { return image.isNull() ? QColor() : image.pixelColor(1, 1); }

    const QString a = QStringLiteral("org.a"), b = QStringLiteral("org.b"), gone = QStringLiteral("org.gone");
    QStringList announced;
    int changes = 0;
    CountingWorkspace workspace;
    IconProvider icons{workspace, 1};
};

TEST_F(IconProviderTest, LooksEachIconUpOnceUntilThePixelRatioChanges)
{
    EXPECT_TRUE(icons.cached(a).isNull());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(colour(icons.icon(a)), QColor(Qt::red));
        EXPECT_EQ(colour(icons.icon(gone)), QColor(Qt::gray)) << "the generic icon";
    }
    EXPECT_EQ(icons.cached(gone).size(), QSize(64, 64));
    EXPECT_EQ(workspace.lookups, (std::map<QString, int>{{a, 1}, {gone, 1}}));

    icons.setDevicePixelRatio(1);
    EXPECT_EQ(changes, 0);
    icons.setDevicePixelRatio(2);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(icons.cached(a).isNull());
    for (const QString &id : {a, gone})
        EXPECT_EQ(icons.icon(id).size(), QSize(128, 128));
}

TEST_F(IconProviderTest, PreloadsInTheBackgroundWhatIsNotCached)
{
    icons.icon(a);
    icons.preload({a, b, gone});
    ASSERT_TRUE(QTest::qWaitFor([this] { return !announced.isEmpty(); }, 10'000));
    EXPECT_EQ(announced, QStringList{b});
    EXPECT_EQ(colour(icons.cached(b)), QColor(Qt::blue));
    EXPECT_TRUE(icons.cached(gone).isNull()) << "what resolves to nothing is not kept";
    EXPECT_EQ(workspace.lookups[a], 1);
    EXPECT_EQ(workspace.threads.size(), 2U);
}

TEST_F(IconProviderTest, FollowsChangesOfTheInstalledApplications)
{
    for (const QString &id : {a, b, gone})
        icons.icon(id);
    emit workspace.installedApplicationsChanged();
    {
        const std::lock_guard lock(workspace.mutex);
        workspace.colours.erase(b);
    }
    workspace.put(gone, Qt::green);
    emit workspace.installedApplicationsChanged();
    EXPECT_FALSE(icons.cached(a).isNull()) << "the old icon stays until the new one is here";
    EXPECT_TRUE(QTest::qWaitFor(
        [this] {
            return colour(icons.cached(gone)) == QColor(Qt::green) && colour(icons.cached(b)) == QColor(Qt::gray) &&
                   changes > 0;
        },
        10'000));
    EXPECT_EQ(colour(icons.cached(a)), QColor(Qt::red));
    EXPECT_TRUE(announced.isEmpty());
}

TEST_F(IconProviderTest, ManyThreadsMayAskAtOnce)
{
    QStringList ids;
    for (int i = 0; i < 100; ++i) {
        ids.append(QStringLiteral("org.%1").arg(i));
        if (i % 3)
            workspace.put(ids.last(), Qt::yellow);
    }
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) {
                for (int i = 0; i < ids.size(); ++i)
                    wrong += colour(icons.icon(ids[i])) != QColor(i % 3 ? Qt::yellow : Qt::gray);
                if (t == 0)
                    icons.preload(ids);
            }
        });
    }
    for (int round = 0; round < 20; ++round) {
        icons.clear();
        emit workspace.installedApplicationsChanged();
        QCoreApplication::processEvents();
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(IconProviderTest, EndsInTheMiddleOfALoad)
{
    auto provider = std::make_unique<IconProvider>(workspace, 1);
    QStringList ids;
    for (int i = 0; i < 10000; ++i)
        ids.append(QStringLiteral("org.%1").arg(i));
    provider->preload(ids);
    provider.reset();
    const size_t done = workspace.count();
    QTest::qSleep(20);
    EXPECT_EQ(workspace.count(), done);
    EXPECT_LT(done, 10000U);
}

} // namespace
} // namespace cobblet
