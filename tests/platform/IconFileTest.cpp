#include "platform/IconFile.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace cobblet;

namespace {

constexpr int sides[] = {16, 32, 64, 128, 256, 512, 1024};

/// Noise, and areas of one colour, with every opacity: what survives packing and unpacking only bit by bit.
QImage picture(int side)
{
    QImage image(side, side, QImage::Format_RGBA8888);
    quint32 noise = quint32(side);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            noise = noise * 1664525 + 1013904223;
            const bool flat = (y / 4) % 2 == 1;
            const QColor colour = flat ? QColor(200, y % 256, 7) : QColor::fromRgb(noise >> 8);
            image.setPixelColor(x, y, QColor(colour.red(), colour.green(), colour.blue(), 1 + (x * 254 / side)));
        }
    }
    return image;
}

QByteArray png(const QImage &image)
{
    QByteArray data;
    QBuffer buffer(&data);
    image.save(&buffer, "PNG");
    return data;
}

QImage image(const QByteArray &png)
{
    return QImage::fromData(png, "PNG").convertToFormat(QImage::Format_RGBA8888);
}

QByteArray sevenSizes()
{
    QList<IconFileImage> images;
    for (const int side : sides)
        images.append({side, png(picture(side))});
    return encodeIconFile(images);
}

QByteArray chunk(const char *type, const QByteArray &data)
{
    QByteArray bytes(type, 4);
    bytes.resize(8);
    qToBigEndian(quint32(8 + data.size()), bytes.data() + 4);
    return bytes + data;
}

QList<int> sidesOf(const QByteArray &file)
{
    const auto images = decodeIconFile(file);
    QList<int> result;
    for (const IconFileImage &image : images.value())
        result.append(image.side);
    return result;
}

class ForeignReaders : public testing::Test {
protected:
    void SetUp() override
    {
        QFile file(folder.filePath(QStringLiteral("icon.icns")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(sevenSizes());
    }

    void run(const QString &program, const QStringList &arguments)
    {
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start(program, arguments);
        ASSERT_TRUE(process.waitForFinished()) << qPrintable(program + QStringLiteral(" is needed"));
        output = process.readAllStandardOutput();
        ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    }

    QImage read(const QString &name) const
    {
        return QImage(folder.filePath(name)).convertToFormat(QImage::Format_RGBA8888);
    }

    QTemporaryDir folder;
    QByteArray output;
};

TEST_F(ForeignReaders, PillowReadsEverySizeExactly)
{
    const auto script = QStringLiteral(R"(
from PIL import Image
for points in Image.open("icon.icns").info["sizes"]:
    icon = Image.open("icon.icns")
    icon.size = points
    icon.load()
    icon.convert("RGBA").save("%d.png" % icon.width)
)");
    run(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), script});
    for (const int side : sides)
        EXPECT_EQ(read(QStringLiteral("%1.png").arg(side)), picture(side)) << side;
}

TEST_F(ForeignReaders, Icns2pngReadsExactlyWhatItKnows)
{
    run(QStringLiteral("icns2png"), {QStringLiteral("-x"), QStringLiteral("icon.icns")});
    for (const int side : {16, 32, 128, 256, 512, 1024}) // it knows no type of 64 pixels
        EXPECT_EQ(read(QStringLiteral("icon_%1x%1x32.png").arg(side)), picture(side)) << side;
}

TEST(IconFile, HoldsItsImagesInOrder)
{
    const QList<IconFileImage> images = decodeIconFile(sevenSizes()).value();
    ASSERT_EQ(images.size(), std::size(sides));
    for (qsizetype i = 0; i < images.size(); ++i) {
        EXPECT_EQ(images[i].side, sides[i]);
        EXPECT_EQ(image(images[i].png), picture(sides[i])) << sides[i];
    }
}

TEST(IconFile, LeavesOutWhatIsNoImageOfItsSize)
{
    const QByteArray good = png(picture(256));
    EXPECT_EQ(sidesOf(encodeIconFile({{100, png(picture(100))}, {512, good}, {16, "no image"}, {256, good}})),
              QList<int>{256});
    EXPECT_TRUE(sidesOf(encodeIconFile({})).isEmpty());
}

TEST(IconFile, ReadsThePngTypesAndLeavesOutTheRest)
{
    const QByteArray body = chunk("TOC ", "x") + chunk("icp5", png(picture(32))) + chunk("ic07", png(picture(64))) +
                            chunk("ic11", png(picture(32))) + chunk("is32", "packed, with no mask") +
                            chunk("ic13", png(picture(256)));
    EXPECT_EQ(sidesOf(chunk("icns", body)), (QList<int>{32, 256}));
}

TEST(IconFile, RefusesDamagedFiles)
{
    const QByteArray file = sevenSizes();
    QByteArray lying = file;
    qToBigEndian<quint32>(7, lying.data() + 12); // shorter than its own header: a careless reader never ends
    QByteArray reaching = file;
    qToBigEndian<quint32>(0xffffffff, reaching.data() + 12);
    QByteArray many;
    for (int i = 0; i < 1000; ++i)
        many += chunk("is32", {});
    const QByteArray huge(64 * 1024 * 1024, '\0');
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("icns"), file.chopped(1), file + '\0', QByteArray("ICNS") + file.mid(4), lying,
          reaching, chunk("icns", many), chunk("icns", chunk("free", huge)), chunk("icns", "icp4")})
        EXPECT_FALSE(decodeIconFile(bytes)) << bytes.left(32).toHex().constData();
}

TEST(IconFile, DamagedPackedColoursAreLeftOut)
{
    const QByteArray mask(256, '\xff');
    const QByteArray plane = QByteArray("\xff\x10\xfb\x10", 4); // 130 and 126 bytes
    const auto with = [&](const QByteArray &colours, const QByteArray &alpha) {
        return sidesOf(chunk("icns", chunk("is32", colours) + chunk("s8mk", alpha)));
    };
    EXPECT_EQ(with(plane + plane + plane, mask), QList<int>{16});
    EXPECT_TRUE(with(plane + plane + plane.chopped(1), mask).isEmpty());
    EXPECT_TRUE(with(plane + plane + plane.chopped(2) + QByteArray("\x7f\x10", 2), mask).isEmpty());
    EXPECT_TRUE(with(plane + plane + QByteArray("\xff\x10\xff\x10", 4), mask).isEmpty());
    EXPECT_TRUE(with({}, mask).isEmpty());
    EXPECT_TRUE(with(plane + plane + plane, mask.chopped(1)).isEmpty());
    EXPECT_TRUE(sidesOf(chunk("icns", chunk("it32", "abc") + chunk("t8mk", QByteArray(128 * 128, 'x')))).isEmpty());
}

} // namespace
