#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/IconImage.h"

#include <QImage>

#include <atomic>
#include <thread>

namespace {

using namespace cobblet;
using namespace cobblet::test;

class IconTest : public DesktopFixture {
protected:
    QString icons(const QString &relative) const { return home.path(u"system/icons/"_s + relative); }
    static void png(const QString &path, int width, int height, const QColor &color)
    {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(path, "PNG"));
    }
};

const QString svgProgram = QStringLiteral(COBBLET_SVG_IMAGE);
const QByteArray redSvg = "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 20 10'>"
                          "<rect width='20' height='10' fill='red'/></svg>";

TEST_F(IconTest, TheBestFileOfTheFirstThemeIsFound)
{
    write(icons(u"Base/index.theme"_s),
          "[Icon Theme]\nName=Base\nInherits=Parent\nDirectories=32/apps,48/apps,64/places\n"
          "ScaledDirectories=48@2/apps\n[32/apps]\nSize=32\nContext=Applications\n"
          "[48/apps]\nSize=48\nContext=Applications\n[64/places]\nSize=64\nContext=Places\n"
          "[48@2/apps]\nSize=48\nScale=2\nContext=Applications\n");
    write(icons(u"Parent/index.theme"_s),
          "[Icon Theme]\nName=Parent\nInherits=Base\nDirectories=scalable/apps,../evil\n"
          "[scalable/apps]\nSize=48\nType=Scalable\nMinSize=8\nMaxSize=512\n[../evil]\nSize=48\n");
    write(icons(u"hicolor/index.theme"_s), "[Icon Theme]\nName=H\nDirectories=48x48/apps\n[48x48/apps]\nSize=48\n");
    for (const char *file :
         {"icons/Base/32/apps/many.png", "icons/Base/48/apps/many.png", "icons/Base/48@2/apps/many.png",
          "icons/Base/64/places/many.png", "icons/Base/32/apps/small.png", "icons/Parent/scalable/apps/small.svg",
          "icons/Parent/scalable/apps/vector.svg", "icons/hicolor/48x48/apps/fallback.png", "pixmaps/old.xpm",
          "icons/evil/bad.png"})
        write(home.path(u"system/"_s + QLatin1String(file)), "x");
    const IconFiles files({u"Base"_s});
    const struct {
        const char *name;
        int pixels;
        const char *expected;
    } rows[] = {{"many", 48, "icons/Base/48/apps/many.png"},
                {"many", 64, "icons/Base/48@2/apps/many.png"}, // larger, not the one of another context
                {"small", 48, "icons/Base/32/apps/small.png"}, // an inherited theme never wins over the first
                {"vector", 64, "icons/Parent/scalable/apps/vector.svg"},
                {"fallback", 64, "icons/hicolor/48x48/apps/fallback.png"},
                {"old", 64, "pixmaps/old.xpm"}};
    for (const auto &row : rows)
        EXPECT_EQ(files.find(QLatin1String(row.name), row.pixels),
                  home.path(u"system/"_s + QLatin1String(row.expected)));
    for (const QString &name : {u"bad"_s, QString(), u"../x"_s, u"/etc/passwd"_s, QString(5000, u'x')})
        EXPECT_EQ(files.find(name, 48), QString()) << qPrintable(name.left(50));
}

TEST_F(IconTest, DocumentsAreDrawnWholeAndHostileOnesHoldNothingUp)
{
    const auto document = [](const QByteArray &content) {
        return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:x='http://www.w3.org/1999/xlink' viewBox='0 0 9 9'>" +
               content + "</svg>";
    };
    QByteArray loop = "<filter id='f'><feGaussianBlur stdDeviation='1'/></filter><rect id='u0' width='9' height='9' "
                      "filter='url(#f)'/>";
    for (int i = 1; i < 18; ++i)
        loop += QStringLiteral("<g id='u%1'><use x:href='#u%2'/><use x:href='#u%2'/></g>").arg(i).arg(i - 1).toUtf8();
    png(home.path(u"outside.png"_s), 9, 9, Qt::red);
    const std::pair<QByteArray, std::optional<QColor>> rows[] = {
        // and the colour in the middle, or none where nothing is drawn
        {document("<style>.a{fill:#00f}</style><mask id='m'><path d='M3 3h3v3H3z' fill='#fff'/></mask>"
                  "<path class='a' mask='url(#m)' d='M0 0h9v9H0z'/>"),
         QColor(Qt::blue)},
        {document("<filter id='f'><feFlood flood-color='#0f0'/></filter><path filter='url(#f)' d='M3 3h3v3H3z'/>"),
         QColor(Qt::green)},
        {document("<image width='9' height='9' x:href='file://" + home.path(u"outside.png"_s).toUtf8() + "'/>"),
         QColor(Qt::transparent)},
        {"<!DOCTYPE svg [<!ENTITY e SYSTEM 'file:///etc/passwd'>]>" + document("<text>&e;</text>"), std::nullopt},
        {document(loop), std::nullopt},
        {redSvg, QColor(Qt::red)}, // after the one that ended the program
    };
    std::thread([&] {
        for (const auto &[content, middle] : rows) {
            write(home.path(u"icon.svg"_s), content);
            const QImage image = iconImage(home.path(u"icon.svg"_s), 32, 1, svgProgram);
            EXPECT_EQ(image.isNull(), !middle) << content.left(200).constData();
            EXPECT_TRUE(image.isNull() ||
                        (image.pixelColor(16, 16) == *middle && image.pixelColor(16, 1).alpha() == 0))
                << content.left(200).constData();
        }
    }).join();
}

TEST_F(IconTest, PicturesComeInExactlyTheAskedSizeAndWhatIsNoneIsRefused)
{
    png(home.path(u"wide.png"_s), 64, 32, Qt::blue);
    png(home.path(u"sheet.png"_s), 5000, 4, Qt::blue);
    const std::pair<const char *, QByteArray> files[] = {
        {"vector.svg", redSvg},
        {"pixels.xpm", "/* XPM */\nstatic char *a[]={\"2 2 1 1\",\"a c #00ff00\",\"aa\",\"aa\"};\n"},
        {"garbage.png", QByteArray(1000, 'x')},
        {"bomb.svg", qCompress(redSvg).mid(4).prepend("\x1f\x8b")},
        {"huge.png", QByteArray(9 * 1024 * 1024, 'x')}};
    for (const auto &[name, bytes] : files)
        write(home.path(QLatin1String(name)), bytes);
    const auto drawn = [this](const char *name) {
        return iconImage(home.path(QLatin1String(name)), 36, 1.25, svgProgram);
    };
    // The colour in the middle, and whether the square is covered up to its upper edge.
    for (const auto &[name, middle, isFilled] : {std::tuple("wide.png", QColor(Qt::blue), false),
                                                 {"vector.svg", Qt::red, false},
                                                 {"pixels.xpm", Qt::green, true}}) {
        const QImage image = drawn(name);
        ASSERT_EQ(image.size(), QSize(45, 45)) << name;
        EXPECT_EQ(image.devicePixelRatio(), 1.25) << name;
        EXPECT_EQ(image.pixelColor(22, 22), middle) << name;
        EXPECT_EQ(image.pixelColor(22, 1).alpha() > 0, isFilled) << name;
    }
    for (const char *name : {"garbage.png", "bomb.svg", "huge.png", "sheet.png", "missing.png"})
        EXPECT_TRUE(drawn(name).isNull()) << name;
}

TEST_F(IconTest, ApplicationsHaveTheirIconOrTheGenericOneOnAnyThread)
{
    const QString absolute = home.path(u"absolute.png"_s);
    png(absolute, 48, 48, Qt::red);
    write(system(u"absolute"_s), entry("Absolute", "true", "Icon=" + absolute.toLocal8Bit()));
    write(system(u"iconless"_s), entry("Iconless", "true"));
    const FreedesktopWorkspace workspace(nullptr);
    std::atomic<int> right = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round)
                right += workspace.icon(u"absolute"_s, 64, 1).pixelColor(5, 5) == QColor(Qt::red) &&
                         workspace.icon(u"iconless"_s, 64, 2) == workspace.genericIcon(64, 2) &&
                         workspace.genericIcon(64, 2).size() == QSize(128, 128) &&
                         workspace.icon(u"missing"_s, 64, 1).isNull();
        });
    threads.clear();
    EXPECT_EQ(right, 80);
}

} // namespace
