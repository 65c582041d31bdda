#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

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
        {"scribble", "Keywords=Notes;paper;", "com.apple.Notes"},
        {"secret-term", "Categories=TerminalEmulator;\nNoDisplay=true", nullptr},
        {"term", "Categories=System;TerminalEmulator;", "com.apple.Terminal"},
        {"terminal-two", "Categories=System;TerminalEmulator;", nullptr},
        {"files", "Categories=System;FileManager;", "COM.APPLE.FINDER"},
    };
    for (const auto &item : entries)
        write(system(QLatin1String(item.id)), entry(item.id, "true", item.more));
    write(home.path(u"system/applications/mimeinfo.cache"_s),
          "[MIME Cache]\nx-scheme-handler/mailto=gone.desktop;mailer.desktop;other-mailer.desktop;\n"
          "inode/directory=files.desktop;\n");
    // The machine's own choice of a terminal must not decide here.
    writeProgram(home.path(u"bin/true"_s), "");
    home.set("PATH", home.path(u"bin"_s).toLocal8Bit());
    FreedesktopWorkspace workspace(nullptr);
    for (const auto &item : entries)
        if (item.wellKnown) {
            EXPECT_EQ(workspace.resolved(QLatin1String(item.wellKnown)), QLatin1String(item.id)) << item.wellKnown;
        }
    EXPECT_EQ(workspace.resolved(u"com.apple.Chess"_s), u"com.apple.Chess"_s);

    // What is chosen, installed, rewritten and removed later.
    const struct {
        QString file;
        QByteArray content; ///< null: it goes
        QString asked, expected;
    } changes[] = {
        {home.path(u".config/mimeapps.list"_s),
         "[Default Applications]\nx-scheme-handler/mailto=gone.desktop;other-mailer.desktop\n", u"com.apple.mail"_s,
         u"other-mailer"_s},
        {system(u"gambit"_s), entry("Gambit", "true", "Keywords=chess;"), u"com.apple.Chess"_s, u"gambit"_s},
        {system(u"gambit"_s), entry("Gambit", "true"), u"com.apple.Chess"_s, u"com.apple.Chess"_s},
        {system(u"term"_s), {}, u"com.apple.Terminal"_s, u"terminal-two"_s},
    };
    for (const auto &change : changes) {
        if (change.content.isNull())
            QFile::remove(change.file);
        else
            write(change.file, change.content);
        EXPECT_TRUE(waitFor([&] { return workspace.resolved(change.asked) == change.expected; }))
            << qPrintable(change.file) << ": " << qPrintable(workspace.resolved(change.asked));
    }
}

} // namespace
