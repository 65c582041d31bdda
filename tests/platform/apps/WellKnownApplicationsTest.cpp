#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

#include <QSignalSpy>

namespace {

using namespace cobblet;
using namespace cobblet::test;

class WellKnownApplicationsTest : public DesktopFixture {};

TEST_F(WellKnownApplicationsTest, CounterpartsComeFromDefaultsThenFromTraitsAndFollowChanges)
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
        {"editor", "Categories=Utility;TextEditor;\nMimeType=text/plain;"},
    };
    for (const auto &item : entries)
        write(system(QLatin1String(item.id)), entry(item.id, "true", item.more));
    write(home.path(QStringLiteral("system/applications/mimeinfo.cache")),
          "[MIME Cache]\nx-scheme-handler/mailto=gone.desktop;mailer.desktop;other-mailer.desktop;\n"
          "inode/directory=files.desktop;\ntext/html=web.desktop;\ntext/plain=editor.desktop;\n");
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

    qputenv("PATH", path);
    // What is chosen and installed later.
    const QString vendorStore = home.path(QStringLiteral("store/applications/one.desktop"));
    write(vendorStore, entry("Of a folder that came later", "true"));
    const struct {
        QString file;
        QByteArray content; ///< null: it goes
        const char *asked;
        const char *expected; ///< a counterpart, or the name of "one"
    } changes[] = {
        {home.path(QStringLiteral(".config/mimeapps.list")),
         "[Default Applications]\nx-scheme-handler/mailto=gone.desktop;other-mailer.desktop\n", "com.apple.mail",
         "other-mailer"},
        {home.path(QStringLiteral(".config/gnome-mimeapps.list")),
         "[Default Applications]\nx-scheme-handler/mailto=mailer.desktop\n", "com.apple.mail", "mailer"},
        {system(QStringLiteral("gambit")), entry("Gambit", "true", "Keywords=chess;"), "com.apple.Chess", "gambit"},
        {system(QStringLiteral("one")), entry("Added", "true"), "one", "Added"},
        {system(QStringLiteral("one")), entry("Rewritten in place", "true"), "one", "Rewritten in place"},
        {user(QStringLiteral("one")), entry("Of the user", "true"), "one", "Of the user"},
        {user(QStringLiteral("one")), entry("Of the user", "true", "Hidden=true"), "one", "-"},
        {user(QStringLiteral("one")), {}, "one", "Rewritten in place"},
        {system(QStringLiteral("one")), {}, "one", "-"},
        {home.path(QStringLiteral("vendor")), "a link", "one", "Of a folder that came later"},
    };
    for (const auto &change : changes) {
        if (change.content.isNull())
            QFile::remove(change.file);
        else if (change.content == "a link")
            QFile::link(home.path(QStringLiteral("store")), change.file);
        else
            write(change.file, change.content);
        const QString asked = QLatin1String(change.asked);
        const auto answer = [&] {
            const auto application = workspace.application(asked);
            if (asked != u"one")
                return workspace.resolved(asked);
            return application ? application->name : QStringLiteral("-");
        };
        EXPECT_TRUE(waitFor([&] { return answer() == QLatin1String(change.expected); }, 5000))
            << qPrintable(change.file) << ": " << qPrintable(answer());
    }
    QSignalSpy changed(&workspace, &Workspace::installedApplicationsChanged);
    while (waitFor([&] { return !changed.isEmpty(); }, 400))
        changed.clear(); // word of the last change, which a look-up does not wait for
    write(home.path(QStringLiteral(".config/somerc")), "another program's preferences");
    EXPECT_FALSE(waitFor([&] { return !changed.isEmpty(); }, 500));
}

} // namespace
