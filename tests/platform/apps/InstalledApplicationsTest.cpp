#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

namespace {

using namespace cobblet;
using namespace cobblet::test;

class InstalledApplicationsTest : public DesktopFixture {};

TEST_F(InstalledApplicationsTest, TheFirstFolderWinsAndItsWordIsFinal)
{
    const QByteArray localised = "# made by hand\n\n[Desktop Entry]\nType=Application\nName[fr]=Simple\nName=Plain\n"
                                 "Name[de]=Schlicht\nExec=true\n[Desktop Action x]\nName=Other\n";
    const struct {
        QString id;
        QByteArray ofUser, ofSystem;
        const char *name; ///< "-" when it is not installed
        bool shown = true;
    } rows[] = {
        {u"both"_s, entry("Mine", "true", "Categories=Graphics;2DGraphics;"), entry("Theirs", "true"), "Mine"},
        {u"deleted"_s, entry("Gone", "true", "Hidden=true"), entry("Still here", "true"), "-"},
        {u"quiet"_s, {}, entry("Quiet", "true", "NoDisplay=true"), "Quiet", false},
        {u"foreign"_s, {}, entry("Foreign", "true", "OnlyShowIn=KDE;"), "Foreign", false},
        {u"no-program"_s, {}, entry("No program", "no-such-program --x"), "-"},
        {u"huge"_s, {}, entry("Huge", "true", "X-Padding=" + QByteArray(2000000, 'x')), "-"},
        {u"localised"_s, {}, localised, "Schlicht"},
        {u"dangling"_s, {}, entry("Behind", "true"), "Behind"},
        {u"kde-deep"_s, {}, {}, "Deep"},
        {u"../both"_s, {}, {}, "-"},
    };
    for (const auto &row : rows) {
        if (!row.ofUser.isEmpty())
            write(user(row.id), row.ofUser);
        if (!row.ofSystem.isEmpty())
            write(system(row.id), row.ofSystem);
    }
    write(system(u"kde/deep"_s), entry("Deep", "true"));
    QFile::link(home.path(u"nowhere"_s), user(u"dangling"_s));
    home.set("LANGUAGE", "de_AT:de");
    FreedesktopWorkspace workspace(nullptr);
    for (const auto &row : rows) {
        const auto application = workspace.application(row.id);
        EXPECT_EQ(application ? application->name : u"-"_s, QLatin1String(row.name)) << qPrintable(row.id);
        if (const auto *inMenus = workspace.installed().index()->byId(row.id)) {
            EXPECT_EQ(inMenus->visible, row.shown) << qPrintable(row.id);
        }
    }
    EXPECT_EQ(workspace.application(u"both"_s)->categories, (QStringList{u"Graphics"_s, u"2DGraphics"_s}));
    QStringList listed;
    workspace.listApplications([&](const QList<InstalledApplication> &applications) {
        for (const InstalledApplication &application : applications)
            listed.append(application.name);
    });
    EXPECT_EQ(listed, QStringList()) << "they are read in the background";
    EXPECT_TRUE(waitFor([&] { return !listed.isEmpty(); }));
    EXPECT_EQ(listed.join(u", "_s), u"Mine, Behind, Deep, Schlicht"_s);
}

TEST_F(InstalledApplicationsTest, AFileStandsForAnApplicationOrSaysWhyNot)
{
    const QString id = u"org.example.App"_s;
    write(system(id), entry("App", "true"));
    write(home.path(u"stray.desktop"_s), entry("Stray", "true"));
    write(home.path(u"Empty.app/Contents/Info.plist"_s), "<plist");
    write(home.path(u"Some.app/Contents/Info.plist"_s),
          "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example.some"
          "</string><key>CFBundleName</key><string>Some</string></dict></plist>");
    QFile::link(system(id), home.path(u"On the desktop.desktop"_s));
    const FreedesktopWorkspace workspace(nullptr);
    const std::pair<QString, QString> rows[] = {
        // no id when it is refused
        {home.path(u"system/./x/../applications/org.example.App.desktop"_s), id},
        {home.path(u"On the desktop.desktop"_s), id},
        {home.path(u"Some.app"_s), u"com.example.some"_s},
        {home.path(u"Empty.app"_s), {}},
        {home.path(u"stray.desktop"_s), {}},
        {QString(10000, u'/'), {}}};
    for (const auto &[path, expected] : rows) {
        const auto result = workspace.applicationAt(path);
        EXPECT_EQ(result ? result.value().bundleID : QString(), expected) << qPrintable(path.left(200));
    }
}

TEST_F(InstalledApplicationsTest, CommandLinesSplitAsTheFormatSays)
{
    const ExecFields fields{u"A name"_s, u"an icon"_s, u"/a.desktop"_s, {u"file:///a%20b"_s, u"https://c"_s}};
    const std::pair<const char *, const char *> rows[] = {
        // the arguments joined by bars
        {"x %c %k %i \"\"", "x|A name|/a.desktop|--icon|an icon||/a b"},
        {"x %U -y %d %% %", "x|file:///a%20b|https://c|-y|%|%"},
        {"\"/with space/x\" 'a \"b\" $HOME \\n'", "/with space/x|a \"b\" $HOME \\n|/a b"},
        {"\"%c", ""}};
    for (const auto &[command, arguments] : rows)
        EXPECT_EQ(expandExec(QLatin1String(command), fields).join(u'|'), QLatin1String(arguments)) << command;
    EXPECT_EQ(expandExec(u"x %c %% %U"_s).join(u'|'), u"x|%"_s) << "without fields";
}

} // namespace
