#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"

#include <QCoreApplication>
#include <QTest>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

/// Icons are one colour per application; look-ups are counted. Safe to use from several threads.
class CountingWorkspace : public test::FakeWorkspace {
public:
    QImage icon(const QString &bundleID, int points, qreal ratio) const override
    {
        const std::lock_guard lock(mutex);
        lookups.append(bundleID);
        onMainThread = QThread::currentThread() == thread();
        if (!colours.contains(bundleID))
            return {};
        QImage image(qRound(points * ratio), qRound(points * ratio), QImage::Format_ARGB32_Premultiplied);
        image.fill(colours[bundleID]);
        return image;
    }

    mutable std::mutex mutex;
    QMap<QString, Qt::GlobalColor> colours;
    mutable QStringList lookups;
    mutable bool onMainThread = false; ///< the last look-up
};

class IconProviderTest : public testing::Test {
protected:
    IconProviderTest()
    {
        workspace.colours = {{a, Qt::red}, {b, Qt::blue}};
        QObject::connect(&icons, &IconProvider::loaded, &icons, [this](const QStringList &ids) { announced += ids; });
        QObject::connect(&icons, &IconProvider::iconsChanged, &icons, [this] { ++changes; });
    }
    static QColor colour(const QImage &image) { return image.isNull() ? QColor() : image.pixelColor(1, 1); }
    const QString a = u"org.a"_s, b = u"org.b"_s, gone = u"org.gone"_s;
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
    EXPECT_EQ(workspace.lookups, (QStringList{a, gone}));

    icons.setDevicePixelRatio(2);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(icons.cached(a).isNull());
    EXPECT_EQ(icons.icon(a).size(), QSize(128, 128));
}

TEST_F(IconProviderTest, PreloadsInTheBackgroundWhatIsNotCached)
{
    icons.icon(a);
    icons.preload({a, b, gone});
    ASSERT_TRUE(QTest::qWaitFor([this] { return !announced.isEmpty(); }, 10'000));
    EXPECT_EQ(announced, QStringList{b});
    EXPECT_EQ(colour(icons.cached(b)), QColor(Qt::blue));
    EXPECT_TRUE(icons.cached(gone).isNull()) << "what resolves to nothing is not kept";
    EXPECT_EQ(workspace.lookups.count(a), 1);
    EXPECT_FALSE(workspace.onMainThread);
}

TEST_F(IconProviderTest, FollowsChangesOfTheInstalledApplications)
{
    for (const QString &id : {a, b, gone})
        icons.icon(id);
    emit workspace.installedApplicationsChanged();
    {
        const std::lock_guard lock(workspace.mutex);
        workspace.colours = {{a, Qt::red}, {gone, Qt::green}};
    }
    emit workspace.installedApplicationsChanged();
    EXPECT_FALSE(icons.cached(a).isNull()) << "the old icon stays until the new one is here";
    const auto isColoured = [this](auto &id, auto expected) { return colour(icons.cached(id)) == QColor(expected); };
    const auto isFollowed = [&] { return changes > 0 && isColoured(gone, Qt::green) && isColoured(b, Qt::gray); };
    EXPECT_TRUE(QTest::qWaitFor(isFollowed, 10'000));
}

TEST_F(IconProviderTest, ManyThreadsMayAskAtOnce)
{
    std::atomic<int> wrong = 0;
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                wrong += colour(icons.icon(a)) != QColor(Qt::red) || colour(icons.icon(gone)) != QColor(Qt::gray);
                icons.preload({a, b, QString::number(round)});
            }
        });
    for (int round = 0; round < 20; ++round) {
        icons.clear();
        emit workspace.installedApplicationsChanged();
        QCoreApplication::processEvents();
    }
    threads.clear();
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace cobblet
