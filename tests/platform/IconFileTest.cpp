#include "platform/IconFile.h"
#include "support/Test.h"

#include <QBuffer>
#include <QProcess>

using namespace cobblet;

namespace {

/// Noise, and areas of one colour, with every opacity: what survives packing and unpacking only bit by bit.
QImage picture(int side)
{
    QImage image(side, side, QImage::Format_RGBA8888);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            image.setPixel(x, y, qRgba(y / 4 % 2 ? 200 : x * x * 31 % 251, y % 256, 7, 1 + x * 254 / side));
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

TEST(IconFile, AnotherProgramReadsEverySizeExactly)
{
    const QList<int> sides{16, 32, 64, 128, 256, 512, 1024};
    EXPECT_EQ(iconFile({100, 256}), iconFile({256})) << "a size without a type is left out";
    const QTemporaryDir folder;
    test::write(folder.filePath(u"icon.icns"_s), iconFile(sides));
    QProcess python;
    python.setWorkingDirectory(folder.path());
    python.start(u"/usr/bin/python3"_s, {u"-c"_s, uR"(
from PIL import Image
for points in Image.open("icon.icns").info["sizes"]:
    icon = Image.open("icon.icns")
    icon.size = points
    icon.load()
    icon.convert("RGBA").save("%d.png" % icon.width)
)"_s});
    ASSERT_TRUE(python.waitForFinished());
    ASSERT_EQ(python.exitCode(), 0) << python.readAllStandardError().constData();
    for (const int side : sides)
        EXPECT_EQ(QImage(folder.filePath(u"%1.png"_s.arg(side))).convertToFormat(QImage::Format_RGBA8888),
                  picture(side));
}

} // namespace
