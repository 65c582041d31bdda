#include "standalone/GroupIconProvider.h"
#include "model/AppGroup.h"
#include "platform/IconFile.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

const QColor grey(0xc7, 0xc7, 0xc7);
const QColor dark(16, 32, 48);
const QColor none(Qt::transparent);
const QList<int> sizes{16, 32, 64, 128, 256, 512, 1024};
const QString palette = u"🎨"_s;
constexpr Qt::GlobalColor colours[] = {Qt::red, Qt::green, Qt::blue, Qt::yellow, Qt::black};

/// Icons are coloured by their number; others have none, and the generic one is white.
class ColouredWorkspace : public test::FakeWorkspace {
public:
    QImage icon(const QString &bundleID, int points, qreal ratio) const override
    {
        if (whileDrawing)
            whileDrawing();
        bool isNumber = false;
        const int number = bundleID.toInt(&isNumber);
        pixels = qRound(points * ratio);
        return isNumber ? filled(pixels, ratio, colours[number]) : QImage();
    }
    QImage genericIcon(int points, qreal ratio) const override
    {
        return filled(qRound(points * ratio), ratio, Qt::white);
    }

    std::function<void()> whileDrawing;
    mutable int pixels = 0; ///< of the icon that was asked for last

private:
    static QImage filled(int pixels, qreal ratio, const QColor &colour)
    {
        QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(colour);
        image.setDevicePixelRatio(ratio);
        return image;
    }
};

class GroupIconProviderTest : public testing::Test {
protected:
    static AppGroup group(const QString &emoji = {})
    {
        AppGroup group;
        group.emoji = emoji;
        return group;
    }
    static AppGroup grid(int count)
    {
        AppGroup group;
        group.iconStyle = GroupIconStyle::Grid;
        for (int i = 0; i < count; ++i)
            group.apps.append({{}, QString::number(i)});
        return group;
    }
    /// What differs from the plain tile in this size.
    QRect drawn(const AppGroup &group, int size) const
    {
        const QImage tile = tiles.cgImage(group, size);
        const QImage plain = tiles.cgImage(AppGroup{}, size);
        QRect box;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                if (tile.pixel(x, y) != plain.pixel(x, y))
                    box |= QRect(x, y, 1, 1);
        return box;
    }

    ColouredWorkspace workspace;
    IconProvider icons{workspace, 2};
    GroupIconProvider tiles{icons, workspace};
};

TEST_F(GroupIconProviderTest, RoundedSquareFillsEightTenthsOfEverySize)
{
    for (const int size : {128, 1024}) {
        const QImage tile = tiles.cgImage(group(), size);
        ASSERT_EQ(tile.size(), QSize(size, size));
        const double inset = 0.1 * size, arc = inset + 0.22 * 0.8 * size * (1 - std::sqrt(0.5));
        // Just inside and just outside of an edge, and of a corner's arc where it crosses its diagonal.
        for (const auto &[edge, along] : {std::pair(inset, size / 2.0), {arc, 0.0}}) {
            for (const double step : {2, -2}) {
                const QPoint point(int(edge + step), int(along > 0 ? along : edge + step));
                for (const QPoint &at : {point, QPoint(point.y(), point.x()), QPoint(size - 1, size - 1) - point})
                    EXPECT_EQ(tile.pixelColor(at), step > 0 ? grey : none) << size << ' ' << at.x();
            }
        }
    }
    EXPECT_TRUE(tiles.cgImage(group(), 0).isNull());
}

TEST_F(GroupIconProviderTest, ColourIsSixHexadecimalDigitsOrGrey)
{
    const std::pair<const char *, QColor> cases[] = {
        {"#102030", dark}, {"102030", dark},  {" \n#aBcDeF\t", {171, 205, 239}},
        {"", grey},        {"##10203", grey}, {"#1234567", grey},
        {"#0x1234", grey}, {"#-12345", grey}};
    for (const auto &[text, colour] : cases) {
        AppGroup coloured = group();
        coloured.iconColor = QString::fromUtf8(text);
        EXPECT_EQ(tiles.cgImage(coloured, 64).pixelColor(32, 32), colour) << text;
    }
}

TEST_F(GroupIconProviderTest, FirstFourIconsFillTheGridInReadingOrder)
{
    for (const int size : {64, 1024}) {
        const double inset = 0.1 * size + 0.14 * 0.8 * size, width = size - 2 * inset;
        for (int count = 2; count <= 5; ++count) {
            const QImage tile = tiles.cgImage(grid(count), size);
            const double cell = (width - 0.1 * width) / 2, step = cell + 0.1 * width;
            for (int i = 0; i < 4; ++i) {
                const QColor icon = i < count ? QColor(colours[i]) : grey;
                const auto at = [&](double x, double y) {
                    return tile.pixelColor(int(inset + step * (i % 2) + x), int(inset + step * (i / 2) + y));
                };
                for (const double inside : {1.5, cell - 2})
                    EXPECT_EQ(at(inside, inside), icon) << size << ' ' << count << ' ' << i;
                for (const double outside : {-1.5, cell + 1.5})
                    EXPECT_TRUE(at(outside, cell / 2) == grey && at(cell / 2, outside) == grey) << size << ' ' << i;
            }
        }
        const QRect one = drawn(grid(1), size);
        EXPECT_NEAR(one.width(), 0.64 * width, 1);
        EXPECT_EQ(one.topLeft(), QPoint(size - 1, size - 1) - one.bottomRight());
    }
    EXPECT_EQ(workspace.pixels, 378) << "a large tile asks for a large icon";
    AppGroup unknown = grid(1);
    unknown.apps[0].bundleID = u"gone"_s;
    EXPECT_EQ(tiles.cgImage(unknown, 64).pixelColor(32, 32), QColor(Qt::white));
    EXPECT_EQ(tiles.cgImage(grid(0), 128), tiles.cgImage(group(), 128)) << "the emoji tile";
}

TEST_F(GroupIconProviderTest, EmojiIsCentredAndColouredInEverySize)
{
    for (const char *emoji : {"🎨", "❤️", "1️⃣", "🇩🇪", "👨‍👩‍👧‍👦"}) {
        for (const int size : sizes) {
            const QRectF box = drawn(group(QString::fromUtf8(emoji)), size);
            const double slack = std::max(1.0, 0.025 * size);
            EXPECT_NEAR(box.center().x(), size / 2.0, slack) << emoji << size;
            EXPECT_NEAR(box.center().y(), size / 2.0, slack) << emoji << size;
            EXPECT_NEAR(box.width(), 0.55 * size, 0.1 * size) << emoji << size;
        }
    }
    const QImage star = tiles.cgImage(group(u"⭐"_s), 128);
    EXPECT_GT(star.pixelColor(64, 64).saturation(), 100) << "another font's black star";
}

TEST_F(GroupIconProviderTest, TextIsDrawnInBlackAndOnlyItsStart)
{
    EXPECT_EQ(tiles.cgImage(group(u"I"_s), 512).pixelColor(256, 256), QColor(Qt::black));
    EXPECT_EQ(tiles.cgImage(group(palette.repeated(100000)), 64), tiles.cgImage(group(palette.repeated(16)), 64));
    // Cut in the middle of a character.
    EXPECT_EQ(tiles.cgImage(group(u"i"_s.repeated(31) + palette), 64), tiles.cgImage(group(u"i"_s.repeated(31)), 64));
}

TEST_F(GroupIconProviderTest, KeepsATileByGroupAndSizeUntilCleared)
{
    AppGroup changing = group();
    const auto colour = [&](int size) { return tiles.image(changing, size).pixelColor(size / 2, size / 2); };
    EXPECT_EQ(colour(64), grey);
    changing.iconColor = u"#102030"_s;
    EXPECT_EQ(colour(64), grey);
    EXPECT_EQ(colour(32), dark) << "of another size there is none yet";
    tiles.clearCache();
    EXPECT_EQ(colour(64), dark);

    // One that was begun before the clearing is not kept.
    AppGroup other = grid(1);
    workspace.whileDrawing = [this] { tiles.clearCache(); };
    EXPECT_EQ(tiles.image(other, 512).pixelColor(256, 256), QColor(Qt::red));
    workspace.whileDrawing = {};
    other.apps[0].bundleID = u"1"_s;
    EXPECT_EQ(tiles.image(other, 512).pixelColor(256, 256), QColor(Qt::green));
}

TEST_F(GroupIconProviderTest, IconsAreTheTileInSevenSizes)
{
    QList<int> sides;
    for (const IconFileImage &image : tiles.images(grid(4))) {
        sides.append(image.side);
        const QImage tile = tiles.cgImage(grid(4), image.side);
        EXPECT_EQ(QImage::fromData(image.png), tile.convertToFormat(QImage::Format_ARGB32)) << image.side;
    }
    EXPECT_EQ(sides, sizes);
}

} // namespace
} // namespace cobblet
