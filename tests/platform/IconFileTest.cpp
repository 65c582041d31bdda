#include "platform/IconFile.h"

#include <QBuffer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

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

QByteArray iconFile(const QList<int> &wanted)
{
    QList<IconFileImage> images;
    for (const int side : wanted) {
        IconFileImage image{side, {}, picture(side)};
        QBuffer buffer(&image.png);
        image.pixels.save(&buffer, "PNG");
        images.append(image);
    }
    return encodeIconFile(images);
}

/// The icon file of the seven sizes as other programs read it.
class ForeignReaders : public testing::Test {
protected:
    void read(const QString &program, const QStringList &arguments)
    {
        QFile file(folder.filePath(QStringLiteral("icon.icns")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(iconFile({std::begin(sides), std::end(sides)}));
        file.close();
        QProcess process;
        process.setWorkingDirectory(folder.path());
        process.start(program, arguments);
        ASSERT_TRUE(process.waitForFinished()) << qPrintable(program + QStringLiteral(" is needed"));
        ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
    }
    QImage image(const QString &name) const
    {
        return QImage(folder.filePath(name)).convertToFormat(QImage::Format_RGBA8888);
    }

    QTemporaryDir folder;
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
    read(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), script});
    for (const int side : sides)
        EXPECT_EQ(image(QStringLiteral("%1.png").arg(side)), picture(side)) << side;
}

TEST_F(ForeignReaders, Icns2pngReadsExactlyWhatItKnows)
{
    read(QStringLiteral("icns2png"), {QStringLiteral("-x"), QStringLiteral("icon.icns")});
    for (const int side : {16, 32, 128, 256, 512, 1024}) // it knows no type of 64 pixels
        EXPECT_EQ(image(QStringLiteral("icon_%1x%1x32.png").arg(side)), picture(side)) << side;
}

TEST(IconFile, LeavesOutWhatHasNoType)
{
    EXPECT_EQ(iconFile({100, 256}), iconFile({256}));
    EXPECT_EQ(encodeIconFile({{16, "png"}, {100, "png"}}), QByteArray("icns\0\0\0\x08", 8));
}

} // namespace
