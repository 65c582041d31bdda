#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

namespace {

using namespace cobblet;
using namespace cobblet::test;

class InstalledApplicationsTest : public DesktopFixture {};

QString nameOf(const Workspace &workspace, const QString &id)
{
    const auto application = workspace.application(id);
    return application ? application->name : QStringLiteral("-");
}

TEST_F(InstalledApplicationsTest, TheFirstFolderWinsAndItsWordIsFinal)
{
    write(user(QStringLiteral("both")), entry("Mine", "true"));
    write(system(QStringLiteral("both")), entry("Theirs", "true"));
    write(user(QStringLiteral("deleted")), entry("Gone", "true", "Hidden=true"));
    write(system(QStringLiteral("deleted")), entry("Still here", "true"));
    write(vendor(QStringLiteral("last")), entry("Vendor", "true"));
    write(system(QStringLiteral("quiet")), entry("Quiet", "true", "NoDisplay=true"));
    write(system(QStringLiteral("foreign")), entry("Foreign", "true", "OnlyShowIn=KDE;"));
    write(system(QStringLiteral("no-program")), entry("No program", "no-such-program --x"));
    write(system(QStringLiteral("no-try")), entry("No try", "true", "TryExec=no-such-program"));
    write(system(QStringLiteral("link")), "[Desktop Entry]\nType=Link\nName=Link\nURL=http://localhost\n");
    write(system(QStringLiteral("garbage")), QByteArray(5000, '\xff'));
    write(system(QStringLiteral("kde/deep")), entry("Deep", "true"));
    write(system(QStringLiteral("huge")), entry("Huge", "true", "X-Padding=" + QByteArray(2000000, 'x')));
    write(system(QStringLiteral("localised")),
          "# made by hand\n\n[Desktop "
          "Entry]\nType=Application\nName[fr]=Simple\nName=Plain\nName[de]=Schlicht\nExec=true\n"
          "[Desktop Action x]\nName=Other\n");
    QDir().mkpath(home.path(QStringLiteral("system/applications/folder.desktop")));
    QFile::link(home.path(QStringLiteral("nowhere")), user(QStringLiteral("dangling")));
    write(system(QStringLiteral("dangling")), entry("Behind", "true"));
    const QByteArray language = qgetenv("LANGUAGE");
    qputenv("LANGUAGE", "de_AT:de");
    const FreedesktopWorkspace workspace(nullptr);

    const struct {
        const char *id;
        const char *name; ///< "-" when it is not installed
    } rows[] = {{"both", "Mine"},         {"deleted", "-"},     {"last", "Vendor"}, {"quiet", "Quiet"},
                {"foreign", "Foreign"},   {"no-program", "-"},  {"no-try", "-"},    {"link", "-"},
                {"garbage", "-"},         {"kde-deep", "Deep"}, {"huge", "-"},      {"folder", "-"},
                {"dangling", "Behind"},   {"unknown", "-"},     {"../both", "-"},   {"", "-"},
                {"localised", "Schlicht"}};
    for (const auto &row : rows)
        EXPECT_EQ(nameOf(workspace, QLatin1String(row.id)), QLatin1String(row.name)) << row.id;
    qputenv("LANGUAGE", language);
    // Menus are what visibility is about.
    const auto index = workspace.installed().index();
    EXPECT_TRUE(index->byId(QStringLiteral("both"))->visible);
    EXPECT_FALSE(index->byId(QStringLiteral("quiet"))->visible);
    EXPECT_FALSE(index->byId(QStringLiteral("foreign"))->visible);
    EXPECT_EQ(index->byId(QStringLiteral("deleted")), nullptr);
}

TEST_F(InstalledApplicationsTest, AFileStandsForAnApplicationOrSaysWhyNot)
{
    write(system(QStringLiteral("org.example.App")), entry("App", "true"));
    write(home.path(QStringLiteral("stray.desktop")), entry("Stray", "true"));
    write(home.path(QStringLiteral("text.txt")), "text");
    write(home.path(QStringLiteral("Empty.app/Contents/Info.plist")), "<plist");
    write(home.path(QStringLiteral("Some.app/Contents/Info.plist")),
          "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example.some"
          "</string><key>CFBundleName</key><string>Some</string></dict></plist>");
    QFile::link(system(QStringLiteral("org.example.App")), home.path(QStringLiteral("On the desktop.desktop")));
    const FreedesktopWorkspace workspace(nullptr);
    const struct {
        QString path;
        const char *id; ///< empty when it is refused
    } rows[] = {{system(QStringLiteral("org.example.App")), "org.example.App"},
                {home.path(QStringLiteral("system/./x/../applications/org.example.App.desktop")), "org.example.App"},
                {home.path(QStringLiteral("On the desktop.desktop")), "org.example.App"},
                {home.path(QStringLiteral("Some.app")), "com.example.some"},
                {home.path(QStringLiteral("Empty.app")), ""},
                {home.path(QStringLiteral("stray.desktop")), ""},
                {home.path(QStringLiteral("text.txt")), ""},
                {home.path(), ""},
                {home.path(QStringLiteral("missing.desktop")), ""},
                {QStringLiteral("relative.desktop"), ""},
                {QString(10000, u'/'), ""},
                {QString(), ""}};
    for (const auto &row : rows) {
        const auto result = workspace.applicationAt(row.path);
        EXPECT_EQ(result ? result.value().bundleID : QString(), QLatin1String(row.id))
            << qPrintable(row.path.left(200));
        EXPECT_EQ(result.error().isEmpty(), result.ok());
    }
    EXPECT_EQ(workspace.applicationsFolder(), home.path(QStringLiteral("system/applications")));
}

TEST_F(InstalledApplicationsTest, CommandLinesSplitAsTheFormatSays)
{
    const ExecFields fields{QStringLiteral("A name"),
                            QStringLiteral("an icon"),
                            QStringLiteral("/a.desktop"),
                            {QStringLiteral("file:///a%20b"), QStringLiteral("https://c")}};
    const struct {
        const char *command;
        const char *arguments; ///< joined by bars
        const char *bare;      ///< the same without fields
    } rows[] = {{"x %c %k \"\"", "x|A name|/a.desktop||/a b", "x|"},
                {"x %i", "x|--icon|an icon|/a b", "x"},
                {"x %u", "x|file:///a%20b", "x"},
                {"x %U -y", "x|file:///a%20b|https://c|-y", "x|-y"},
                {"x --f=%f", "x|--f=/a b", "x|--f="},
                {"x %F", "x|/a b", "x"},
                {"x %d %m %% %", "x|%|%|/a b", "x|%|%"},
                {"\"/with space/x\" 'a \"b\" $HOME \\n'", "/with space/x|a \"b\" $HOME \\n|/a b",
                 "/with space/x|a \"b\" $HOME \\n"},
                {"\"%c", "", ""},
                {"", "", ""}};
    for (const auto &row : rows) {
        const QString command = QString::fromUtf8(row.command);
        EXPECT_EQ(expandExec(command, fields).join(u'|'), QString::fromUtf8(row.arguments)) << row.command;
        EXPECT_EQ(expandExec(command).join(u'|'), QString::fromUtf8(row.bare)) << row.command;
    }
}

} // namespace
