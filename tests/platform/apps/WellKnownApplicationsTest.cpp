#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

namespace {

using namespace cobblet;
using namespace cobblet::test;

class WellKnownApplicationsTest : public DesktopFixture {};

TEST_F(WellKnownApplicationsTest, CounterpartsComeFromDefaultsThenFromTraits)
{
    const struct {
        const char *id;
        const char *more;
    } entries[] = {
        {"mailer", "Categories=Network;Email;\nMimeType=x-scheme-handler/mailto;"},
        {"other-mailer", "Categories=Network;Email;"},
        {"gnome-dates", "Categories=GNOME;Office;Calendar;"},
        {"dates", "Categories=Office;Calendar;"},
        {"scribble", "Keywords=Notes;paper;"},
        {"doit", "Keywords=todo;"},
        {"album", "Categories=Graphics;Photography;"},
        {"papers", "Categories=Office;Viewer;"},
        {"secret-term", "Categories=TerminalEmulator;\nNoDisplay=true"},
        {"term", "Categories=System;TerminalEmulator;"},
        {"terminal-two", "Categories=System;TerminalEmulator;"},
        {"load", "Categories=GNOME;System;Monitor;"},
        {"org.gnome.DiskUtility", "Categories=System;"},
        {"web", "Categories=Network;WebBrowser;"},
        {"files", "Categories=System;FileManager;"},
    };
    for (const auto &item : entries)
        write(system(QLatin1String(item.id)), entry(item.id, "true", item.more));
    write(home.path(QStringLiteral("system/applications/mimeinfo.cache")),
          "[MIME Cache]\nx-scheme-handler/mailto=gone.desktop;mailer.desktop;other-mailer.desktop;\n"
          "inode/directory=files.desktop;\ntext/html=web.desktop;\n");
    // An empty PATH entry for the terminal choice: the machine's own one must not decide here.
    const QByteArray path = qgetenv("PATH");
    const QString tools = home.path(QStringLiteral("bin"));
    QDir().mkpath(tools);
    QFile::link(QStringLiteral("/bin/true"), tools + QStringLiteral("/true"));
    qputenv("PATH", tools.toLocal8Bit());
    FreedesktopWorkspace workspace(nullptr);

    const struct {
        const char *wellKnown;
        const char *here;
    } rows[] = {{"com.apple.mail", "mailer"},
                {"com.apple.iCal", "gnome-dates"},
                {"com.apple.Notes", "scribble"},
                {"com.apple.reminders", "doit"},
                {"com.apple.Photos", "album"},
                {"com.apple.Preview", "papers"},
                {"com.apple.Terminal", "term"},
                {"com.apple.ActivityMonitor", "load"},
                {"com.apple.DiskUtility", "org.gnome.DiskUtility"},
                {"com.apple.Safari", "web"},
                {"com.apple.finder", "files"},
                {"COM.APPLE.FINDER", "files"},
                {"com.apple.Chess", "com.apple.Chess"},
                {"org.example.App", "org.example.App"},
                {"", ""}};
    for (const auto &row : rows)
        EXPECT_EQ(workspace.resolved(QLatin1String(row.wellKnown)), QLatin1String(row.here)) << row.wellKnown;
    EXPECT_EQ(workspace.application(QStringLiteral("com.apple.mail"))->bundleID, QStringLiteral("mailer"));

    // The user's choice outweighs what is announced, and a choice of something that is gone does not.
    write(home.path(QStringLiteral(".config/mimeapps.list")),
          "[Default Applications]\nx-scheme-handler/mailto=gone.desktop;other-mailer.desktop\n");
    EXPECT_TRUE(waitFor([&] { return workspace.resolved(QStringLiteral("com.apple.mail")) == u"other-mailer"; }));
    write(home.path(QStringLiteral(".config/gnome-mimeapps.list")),
          "[Default Applications]\nx-scheme-handler/mailto=mailer.desktop\n");
    EXPECT_TRUE(waitFor([&] { return workspace.resolved(QStringLiteral("com.apple.mail")) == u"mailer"; }));
    // Something installed later becomes a counterpart.
    write(system(QStringLiteral("gambit")), entry("Gambit", "true", "Keywords=chess;"));
    EXPECT_TRUE(waitFor([&] { return workspace.resolved(QStringLiteral("com.apple.Chess")) == u"gambit"; }));
    qputenv("PATH", path);
}

} // namespace
