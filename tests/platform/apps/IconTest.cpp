#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/IconImage.h"

#include <QImage>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace cobblet;
using namespace cobblet::test;

class IconTest : public DesktopFixture {
protected:
    QString icons(const QString &relative) const { return home.path(QStringLiteral("system/icons/") + relative); }

    static void png(const QString &path, int width, int height, const QColor &color)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(path, "PNG"));
    }

    void makeThemes() const
    {
        write(icons(QStringLiteral("Base/index.theme")),
              "[Icon Theme]\nName=Base\nInherits=Parent\nDirectories=32/apps,48/apps,128/apps,64/places\n"
              "ScaledDirectories=48@2/apps\n"
              "[32/apps]\nSize=32\nContext=Applications\n[48/apps]\nSize=48\nContext=Applications\n"
              "[128/apps]\nSize=128\nContext=Applications\n[64/places]\nSize=64\nContext=Places\n"
              "[48@2/apps]\nSize=48\nScale=2\nContext=Applications\n");
        write(icons(QStringLiteral("Parent/index.theme")),
              "[Icon Theme]\nName=Parent\nInherits=Base\nDirectories=scalable/apps,16/apps,../evil\n"
              "[scalable/apps]\nSize=48\nType=Scalable\nMinSize=8\nMaxSize=512\n[16/apps]\nSize=16\n[../"
              "evil]\nSize=48\n");
        write(icons(QStringLiteral("hicolor/index.theme")),
              "[Icon Theme]\nName=Hicolor\nDirectories=48x48/apps\n[48x48/apps]\nSize=48\nContext=Applications\n");
    }
};

const QByteArray redSvg = "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 20 10'>"
                          "<rect width='20' height='10' fill='red'/></svg>";

TEST_F(IconTest, TheBestFileOfTheFirstThemeIsFound)
{
    makeThemes();
    for (const char *size : {"32", "48", "128", "48@2"})
        write(icons(QStringLiteral("Base/%1/apps/many.png").arg(QLatin1String(size))), "x");
    write(icons(QStringLiteral("Base/64/places/many.png")), "x");
    write(icons(QStringLiteral("Base/32/apps/small.png")), "x");
    write(icons(QStringLiteral("Parent/scalable/apps/small.svg")), "x");
    write(icons(QStringLiteral("Parent/16/apps/vector.png")), "x");
    write(icons(QStringLiteral("Parent/scalable/apps/vector.svg")), "x");
    write(icons(QStringLiteral("hicolor/48x48/apps/fallback.png")), "x");
    write(home.path(QStringLiteral("system/pixmaps/old.xpm")), "x");
    write(icons(QStringLiteral("evil/48/bad.png")), "x");
    const IconFiles files({QStringLiteral("Base")});
    const struct {
        const char *name;
        int pixels;
        const char *expected;
    } rows[] = {{"many", 48, "icons/Base/48/apps/many.png"},
                {"many", 64, "icons/Base/48@2/apps/many.png"}, // larger, not the one of another context
                {"many", 96, "icons/Base/48@2/apps/many.png"},
                {"many", 300, "icons/Base/128/apps/many.png"},
                {"many", 16, "icons/Base/32/apps/many.png"},
                {"many.png", 32, "icons/Base/32/apps/many.png"},
                {"small", 48, "icons/Base/32/apps/small.png"}, // an inherited theme never wins over the first
                {"vector", 64, "icons/Parent/scalable/apps/vector.svg"},
                {"vector", 16, "icons/Parent/16/apps/vector.png"},
                {"fallback", 64, "icons/hicolor/48x48/apps/fallback.png"},
                {"old", 64, "pixmaps/old.xpm"}};
    for (const auto &row : rows)
        EXPECT_EQ(files.find(QLatin1String(row.name), row.pixels),
                  home.path(QStringLiteral("system/") + QLatin1String(row.expected)))
            << row.name << " at " << row.pixels;
    for (const QString &name : {QStringLiteral("unknown"), QStringLiteral("bad"), QString(), QStringLiteral("../x"),
                                QStringLiteral("/etc/passwd"), QString(5000, u'x')})
        EXPECT_EQ(files.find(name, 48), QString()) << qPrintable(name.left(50));
}

TEST_F(IconTest, PicturesComeInExactlyTheAskedSize)
{
    png(home.path(QStringLiteral("big.png")), 256, 256, Qt::blue);
    png(home.path(QStringLiteral("wide.png")), 64, 32, Qt::blue);
    png(home.path(QStringLiteral("tiny.png")), 16, 16, Qt::blue);
    write(home.path(QStringLiteral("vector.svg")), redSvg);
    write(home.path(QStringLiteral("pixels.xpm")),
          "/* XPM */\nstatic char *a[]={\"2 2 1 1\",\"a c #00ff00\",\"aa\",\"aa\"};\n");
    const struct {
        const char *file;
        QColor middle;
        bool filled; ///< covers the square up to its upper edge
    } rows[] = {{"big.png", Qt::blue, true},
                {"wide.png", Qt::blue, false},
                {"tiny.png", Qt::blue, true},
                {"vector.svg", Qt::red, false},
                {"pixels.xpm", Qt::green, true}};
    for (const auto &row : rows)
        for (const auto &[points, ratio, pixels] : {std::tuple{64, 1.0, 64}, {64, 2.0, 128}, {36, 1.25, 45}}) {
            const QImage image = iconImage(home.path(QLatin1String(row.file)), points, ratio);
            ASSERT_EQ(image.size(), QSize(pixels, pixels)) << row.file;
            EXPECT_EQ(image.devicePixelRatio(), ratio) << row.file;
            EXPECT_EQ(image.pixelColor(pixels / 2, pixels / 2), row.middle) << row.file;
            EXPECT_EQ(image.pixelColor(pixels / 2, 1).alpha() > 0, row.filled) << row.file;
        }
}

TEST_F(IconTest, WhatIsNoPictureIsRefused)
{
    write(home.path(QStringLiteral("garbage.png")), QByteArray(1000, 'x'));
    write(home.path(QStringLiteral("garbage.svg")), "<svg");
    write(home.path(QStringLiteral("bomb.svg")), qCompress(redSvg).mid(4).prepend("\x1f\x8b"));
    write(home.path(QStringLiteral("huge.png")), QByteArray(9 * 1024 * 1024, 'x'));
    write(home.path(QStringLiteral("empty.png")), "");
    png(home.path(QStringLiteral("sheet.png")), 5000, 4, Qt::blue);
    for (const char *name :
         {"garbage.png", "garbage.svg", "bomb.svg", "huge.png", "empty.png", "sheet.png", "missing.png"})
        EXPECT_TRUE(iconImage(home.path(QLatin1String(name)), 64, 1).isNull()) << name;
}

TEST_F(IconTest, ApplicationsHaveTheirIconOrNoneOnAnyThread)
{
    write(icons(QStringLiteral("hicolor/index.theme")),
          "[Icon Theme]\nName=Hicolor\nDirectories=48x48/apps\n[48x48/apps]\nSize=48\n");
    png(icons(QStringLiteral("hicolor/48x48/apps/named.png")), 48, 48, Qt::blue);
    png(home.path(QStringLiteral("absolute.png")), 48, 48, Qt::red);
    write(system(QStringLiteral("named")), entry("Named", "true", "Icon=named"));
    write(system(QStringLiteral("absolute")),
          entry("Absolute", "true", "Icon=" + home.path(QStringLiteral("absolute.png")).toLocal8Bit()));
    write(system(QStringLiteral("iconless")), entry("Iconless", "true"));
    const FreedesktopWorkspace workspace(nullptr);
    std::atomic<int> right = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round)
                right += workspace.icon(QStringLiteral("named"), 64, 2).pixelColor(64, 64) == QColor(Qt::blue) &&
                         workspace.icon(QStringLiteral("absolute"), 64, 1).pixelColor(5, 5) == QColor(Qt::red) &&
                         workspace.icon(QStringLiteral("iconless"), 64, 1).isNull() &&
                         workspace.icon(QStringLiteral("unknown"), 64, 1).isNull() &&
                         workspace.genericIcon(64, 2).size() == QSize(128, 128);
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 80);
}

} // namespace
