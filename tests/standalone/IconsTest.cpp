// The icons of applications, and the tiles of groups that are made of them.
#include "model/AppGroup.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"
#include "support/Test.h"

#include <atomic>
#include <thread>

namespace cobblet {
namespace {

using test::FakeWorkspace;

class IconProviderTest : public testing::Test {
protected:
    IconProviderTest()
    {
        for (const QString &id : {a, b})
            workspace.install(id);
        QObject::connect(&icons, &IconProvider::iconsChanged, &icons, [this] { ++changes; });
    }
    static QColor colour(const QImage &image) { return image.isNull() ? QColor() : image.pixelColor(1, 1); }

    const QString a = u"org.a"_s, b = u"org.b"_s, gone = u"org.gone"_s;
    int changes = 0;
    FakeWorkspace workspace;
    IconProvider icons{workspace, 1};
};

TEST_F(IconProviderTest, LooksEachIconUpOnceUntilThePixelRatioChanges)
{
    EXPECT_TRUE(icons.cached(a).isNull());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(colour(icons.icon(a)), FakeWorkspace::colour(a));
        EXPECT_EQ(colour(icons.icon(gone)), QColor(Qt::gray)) << "the generic icon";
    }
    EXPECT_EQ(icons.cached(gone).size(), QSize(64, 64));
    EXPECT_EQ(workspace.lookups.size(), 2);

    icons.setDevicePixelRatio(2);
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(icons.cached(a).isNull());
    EXPECT_EQ(icons.icon(a).size(), QSize(128, 128));
}

TEST_F(IconProviderTest, PreloadsInTheBackgroundWhatIsNotCached)
{
    QStringList announced;
    QObject::connect(&icons, &IconProvider::loaded, &icons, [&](const QStringList &ids) { announced += ids; });
    icons.icon(a);
    icons.preload({a, b, gone});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !announced.isEmpty(); }, 10'000));
    EXPECT_EQ(announced, QStringList{b});
    EXPECT_EQ(colour(icons.cached(b)), FakeWorkspace::colour(b));
    EXPECT_TRUE(icons.cached(gone).isNull()) << "what resolves to nothing is not kept";
    EXPECT_EQ(workspace.lookups.mid(1), (QList<std::pair<QString, bool>>{{b, false}, {gone, false}}));
}

TEST_F(IconProviderTest, FollowsChangesOfTheInstalledApplications)
{
    for (const QString &id : {a, b, gone})
        icons.icon(id);
    emit workspace.installedApplicationsChanged();
    workspace.install(gone);
    workspace.uninstall(b);
    emit workspace.installedApplicationsChanged();
    EXPECT_FALSE(icons.cached(a).isNull()) << "the old icon stays until the new one is here";
    const auto isFollowed = [&] {
        return changes > 0 && colour(icons.cached(gone)) == FakeWorkspace::colour(gone) &&
               colour(icons.cached(b)) == QColor(Qt::gray);
    };
    EXPECT_TRUE(QTest::qWaitFor(isFollowed, 10'000));
}

TEST_F(IconProviderTest, ManyThreadsMayAskAtOnce)
{
    std::atomic<int> wrong = 0;
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int round = 0; round < 1000; ++round) {
                wrong +=
                    colour(icons.icon(a)) != FakeWorkspace::colour(a) || colour(icons.icon(gone)) != QColor(Qt::gray);
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

const QColor grey(0xc7, 0xc7, 0xc7), dark(16, 32, 48);

class GroupIconProviderTest : public testing::Test {
protected:
    static AppGroup group(const QString &emoji, const QString &color = {})
    {
        AppGroup group;
        group.emoji = emoji;
        group.iconColor = color;
        return group;
    }
    /// A grid of applications whose identifiers have one character.
    static AppGroup grid(const QString &apps)
    {
        AppGroup group;
        group.iconStyle = GroupIconStyle::Grid;
        for (const QChar app : apps)
            group.apps.append({{}, app});
        return group;
    }
    /// The colour at a place from 0 to 1 in both directions.
    QColor at(const AppGroup &group, double x, double y, int size = 128) const
    {
        return tiles.cgImage(group, size).pixelColor(int(x * size), int(y * size));
    }

    FakeWorkspace workspace;
    IconProvider icons{workspace, 2};
    GroupIconProvider tiles{icons, workspace};
};

TEST_F(GroupIconProviderTest, ATileIsARoundedSquareInTheGroupsColour)
{
    for (const int size : {64, 1024})
        for (const auto &[x, y, colour] :
             {std::tuple(0.5, 0.12, grey), {0.5, 0.08, Qt::transparent}, {0.12, 0.12, Qt::transparent}})
            EXPECT_EQ(at(group({}), x, y, size), colour) << size << ' ' << x << ' ' << y;
    for (const auto &[text, colour] :
         {std::pair(u" \n102030\t"_s, dark), {u"##10203"_s, grey}, {u"#1234567"_s, grey}})
        EXPECT_EQ(at(group({}, text), 0.5, 0.5), colour) << text.toStdString();
}

TEST_F(GroupIconProviderTest, FirstFourIconsFillTheGridInReadingOrder)
{
    const QString apps = u"01234"_s;
    for (const QChar app : apps)
        workspace.install(app);
    for (const int size : {64, 1024}) {
        EXPECT_EQ(at(grid(u"1"_s), 0.5, 0.5, size), FakeWorkspace::colour(u"1"_s));
        for (int count = 2; count <= 5; ++count)
            for (int i = 0; i < 4; ++i)
                EXPECT_EQ(at(grid(apps.first(count)), i % 2 ? 0.65 : 0.35, i / 2 ? 0.65 : 0.35, size),
                          i < count ? FakeWorkspace::colour(apps[i]) : grey)
                    << size << ' ' << count << ' ' << i;
    }
    EXPECT_EQ(at(grid({}), 0.5, 0.5), grey) << "the emoji tile";
}

TEST_F(GroupIconProviderTest, EmojiIsCentredAndColouredInEverySize)
{
    for (const char *emoji : {"🎨", "❤️", "1️⃣", "🇩🇪", "👨‍👩‍👧‍👦"}) {
        for (const int size : {16, 32, 64, 128, 256, 512, 1024}) {
            const QImage tile = tiles.cgImage(group(QString::fromUtf8(emoji)), size);
            const QImage plain = tiles.cgImage(group({}), size);
            QRect drawn;
            for (int y = 0; y < size; ++y)
                for (int x = 0; x < size; ++x)
                    if (tile.pixel(x, y) != plain.pixel(x, y))
                        drawn |= QRect(x, y, 1, 1);
            const QPointF off = QRectF(drawn).center() - QPointF(size, size) / 2;
            EXPECT_LE(std::max(std::abs(off.x()), std::abs(off.y())), std::max(1.0, 0.025 * size)) << emoji << size;
            EXPECT_NEAR(drawn.width(), 0.55 * size, 0.1 * size) << emoji << size;
        }
    }
    EXPECT_GT(at(group(u"⭐"_s), 0.5, 0.5).saturation(), 100) << "another font's black star";
}

TEST_F(GroupIconProviderTest, LettersStandOutFromTheColourAndOnlyTheStartOfATextIsDrawn)
{
    EXPECT_EQ(at(group(u"I"_s), 0.5, 0.5, 512), QColor(Qt::black));
    EXPECT_EQ(at(group(u"I"_s, u"#102030"_s), 0.5, 0.5, 512), QColor(Qt::white));
    const QString palette = u"🎨"_s.repeated(100000), cut = u"i"_s.repeated(31); // in the middle of a character
    EXPECT_EQ(tiles.cgImage(group(cut + palette), 64), tiles.cgImage(group(cut), 64));
}

TEST_F(GroupIconProviderTest, KeepsATileByGroupAndSizeUntilCleared)
{
    AppGroup changing = group({});
    const auto colour = [&](int size) { return tiles.image(changing, size).pixelColor(size / 2, size / 2); };
    EXPECT_EQ(colour(64), grey);
    changing.iconColor = u"#102030"_s;
    EXPECT_EQ(colour(64), grey);
    EXPECT_EQ(colour(32), dark) << "of another size there is none yet";
    tiles.clearCache();
    EXPECT_EQ(colour(64), dark);
}

} // namespace
} // namespace cobblet
