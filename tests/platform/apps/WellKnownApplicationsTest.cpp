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
        const char *id, *more, *wellKnown; ///< the one that it stands for, or none
    } entries[] = {
        {"mailer", "Categories=Network;Email;\nMimeType=x-scheme-handler/mailto;", "com.apple.mail"},
        {"other-mailer", "Categories=Network;Email;", nullptr},
        {"gnome-dates", "Categories=GNOME;Office;Calendar;", "com.apple.iCal"},
        {"scribble", "Keywords=Notes;paper;", "com.apple.Notes"},
        {"papers", "Categories=Office;Viewer;", "com.apple.Preview"},
        {"secret-term", "Categories=TerminalEmulator;\nNoDisplay=true", nullptr},
        {"term", "Categories=System;TerminalEmulator;", "com.apple.Terminal"},
        {"terminal-two", "Categories=System;TerminalEmulator;", nullptr},
        {"load", "Categories=GNOME;System;Monitor;", "com.apple.ActivityMonitor"},
        {"files", "Categories=System;FileManager;", "COM.APPLE.FINDER"},
    };
    for (const auto &item : entries)
        write(system(QLatin1String(item.id)), entry(item.id, "true", item.more));
    write(home.path(u"system/applications/mimeinfo.cache"_s),
          "[MIME Cache]\nx-scheme-handler/mailto=gone.desktop;mailer.desktop;other-mailer.desktop;\n"
          "inode/directory=files.desktop;\n");
    // The machine's own choice of a terminal must not decide here.
    writeProgram(home.path(u"bin/true"_s), "");
    set("PATH", home.path(u"bin"_s).toLocal8Bit());
    FreedesktopWorkspace workspace(nullptr);
    for (const auto &item : entries)
        if (item.wellKnown) {
            EXPECT_EQ(workspace.resolved(QLatin1String(item.wellKnown)), QLatin1String(item.id)) << item.wellKnown;
        }
    for (const QString &other : {u"com.apple.Chess"_s, u"org.example.App"_s, QString()})
        EXPECT_EQ(workspace.resolved(other), other);
    EXPECT_EQ(workspace.application(u"com.apple.mail"_s)->bundleID, u"mailer"_s);

    // What is chosen and installed later.
    write(home.path(u"store/applications/one.desktop"_s), entry("Of a folder that came later", "true"));
    const QString one = system(u"one"_s), ofUser = user(u"one"_s);
    const struct {
        QString file;
        QByteArray content;      ///< null: it goes; without a line's end: a link
        QString asked, expected; ///< a counterpart, or the name of "one"
    } changes[] = {
        {home.path(u".config/mimeapps.list"_s),
         "[Default Applications]\nx-scheme-handler/mailto=gone.desktop;other-mailer.desktop\n", u"com.apple.mail"_s,
         u"other-mailer"_s},
        {system(u"gambit"_s), entry("Gambit", "true", "Keywords=chess;"), u"com.apple.Chess"_s, u"gambit"_s},
        {one, entry("Rewritten in place", "true"), u"one"_s, u"Rewritten in place"_s},
        {ofUser, entry("Of the user", "true", "Hidden=true"), u"one"_s, u"-"_s},
        {ofUser, {}, u"one"_s, u"Rewritten in place"_s},
        {one, {}, u"one"_s, u"-"_s},
        {home.path(u"vendor"_s), "store", u"one"_s, u"Of a folder that came later"_s},
    };
    for (const auto &[file, content, asked, expected] : changes) {
        if (content.isNull())
            QFile::remove(file);
        else if (content.endsWith('\n'))
            write(file, content);
        else
            QFile::link(home.path(QString::fromUtf8(content)), file);
        QString answer;
        const auto isExpected = [&, &asked = asked, &expected = expected] {
            const auto application = workspace.application(asked);
            answer = asked != u"one" ? workspace.resolved(asked) : application ? application->name : u"-"_s;
            return answer == expected;
        };
        EXPECT_TRUE(waitFor(isExpected)) << qPrintable(file) << ": " << qPrintable(answer);
    }
    QSignalSpy changed(&workspace, &Workspace::installedApplicationsChanged);
    while (changed.wait(400)) {
        // Word of the last change, which a look-up does not wait for.
    }
    changed.clear();
    write(home.path(u".config/somerc"_s), "another program's preferences");
    EXPECT_FALSE(changed.wait(500));
}

} // namespace
