// Which application a window belongs to, and which processes an application.
#include "platform/freedesktop/apps/KeyFile.h"
#include "platform/freedesktop/apps/Processes.h"
#include "platform/freedesktop/apps/WindowResolver.h"
#include "support/Test.h"

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace cobblet;

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

/// The applications that are installed in these cases: "ID: KEY=VALUE; KEY=VALUE".
constexpr const char *entries = R"(
org.gnome.Calculator: Exec=gnome-calculator
org.kde.konsole: Exec=konsole; Categories=TerminalEmulator
org.gnome.Terminal: Exec=gnome-terminal; Categories=TerminalEmulator
debian-xterm: Exec=xterm; StartupWMClass=XTerm; Categories=TerminalEmulator
google-chrome: Exec=/usr/bin/google-chrome-stable %U; StartupWMClass=Google-chrome
chrome-abc-Default: Exec=/opt/google/chrome/google-chrome --profile-directory=Default --app-id=abc; StartupWMClass=crx_abc
firefox-esr: Exec=/usr/lib/firefox-esr/firefox-esr %u; StartupWMClass=firefox-esr
office_writer: Exec=/snap/bin/office.writer; X-SnapInstanceName=office
office_calc: Exec=/snap/bin/office.calc; X-SnapInstanceName=office
org.gnome.Maps: Exec=/usr/bin/flatpak run --branch=stable org.gnome.Maps; X-Flatpak=org.gnome.Maps
com.example.Renamed.Stable: Exec=/usr/bin/flatpak run com.example.Renamed; X-Flatpak=com.example.Renamed
krita-image: Exec=/home/u/Applications/Krita-5.AppImage %F
meld: Exec=meld %F
browser-work: Exec=sharedbrowser --profile work
browser-home: Exec=sharedbrowser --profile home
code: Exec=/usr/share/code/code --unity-launch %F; StartupWMClass=Code
jedit: Exec=java -Xmx512m -jar /usr/share/jedit/jedit.jar %F
org.gimp.GIMP: Exec=gimp-2.10 %U
vim: Exec=vim %F; Terminal=true
hidden-player: Exec=player --enqueue %U; NoDisplay=true
player: Exec=player %U
)";

QStringList linesOf(const char *table)
{
    return s(table).split(u'\n', Qt::SkipEmptyParts);
}

const ApplicationIndex &installed()
{
    static const ApplicationIndex index = [] {
        QList<IndexEntry> list;
        for (const QString &line : linesOf(entries)) {
            const QString keys = line.section(s(": "), 1).replace(s("; "), s("\n"));
            const auto file = KeyFile::parse("[Desktop Entry]\n" + keys.toUtf8());
            list.append(
                {line.section(s(": "), 0, 0), DesktopEntry(*file), !file->flag("Desktop Entry", "NoDisplay")});
        }
        return ApplicationIndex(list);
    }();
    return index;
}

/// Below each step, what it decides: "CASE: what window and process are like -> application", none where there is no
/// application.
constexpr const char *cases = R"(
# correction
before what the window states: gtk=org.gnome.Calculator; instance=x; class=Y; said=class x, Y is meld -> meld
the program of a window without a class: kde=vim; runs=/usr/bin/python3 /opt/tool.py; said=program /opt/tool.py is meld -> meld
# stated id
a stated id in other letters: gtk=org.gimp.gimp -> org.gimp.GIMP
KDE's full path: kde=/usr/share/applications/org.kde.konsole.desktop -> org.kde.konsole
the stated id outweighs the class: gtk=org.gnome.Calculator; instance=xterm; class=XTerm -> org.gnome.Calculator
# window class
a class outweighs a corrected program: instance=xterm; class=XTerm; runs=/usr/bin/x; said=program /usr/bin/x is meld -> debian-xterm
corrected to what is gone since: instance=xterm; class=XTerm; said=class xterm, XTerm is gone -> debian-xterm
a web application in a browser's process: instance=crx_abc; class=Google-chrome; runs=/opt/google/chrome/chrome -> chrome-abc-Default
a terminal that shows another program: instance=xterm; class=XTerm; runs=/usr/bin/xterm -e vim -> debian-xterm
# control group
a scope of ours: runs=/usr/bin/x; group=/user.slice/app.slice/app-cobblet-org.gimp.GIMP-77.scope -> org.gimp.GIMP
escaped dashes: runs=/usr/bin/x; group=/user.slice/app-gnome-firefox\x2desr-4242.scope -> firefox-esr
started over D-Bus: runs=/usr/bin/x; group=/app.slice/dbus-:1.2-org.gnome.Calculator@0.service -> org.gnome.Calculator
# launch environment
launched from an entry: runs=/usr/bin/x; GIO_LAUNCHED_DESKTOP_FILE=/a/meld.desktop; GIO_LAUNCHED_DESKTOP_FILE_PID=100 -> meld
inherited: runs=/usr/bin/x; GIO_LAUNCHED_DESKTOP_FILE=/a/meld.desktop; GIO_LAUNCHED_DESKTOP_FILE_PID=99 ->
a Flatpak under another file name: runs=/app/bin/x; flatpak=com.example.Renamed -> com.example.Renamed.Stable
one of a Snap's applications: runs=/snap/office/1/bin/calc; SNAP_NAME=office -> office_calc
an AppImage: runs=/tmp/.mount_K/usr/bin/krita; APPIMAGE=/home/u/Applications/Krita-5.AppImage; APPDIR=/tmp/.mount_K -> krita-image
# executable
a program in a terminal's scope: runs=/usr/bin/player; group=/app.slice/app-gnome-org.gnome.Terminal-3.scope -> player
a Python program that the entry names alone: runs=/usr/bin/python3.11 /usr/bin/meld -> meld
a Java program by its archive: runs=/usr/lib/jvm/bin/java -cp /x -jar /usr/share/jedit/jedit.jar -> jedit
one binary told apart by its arguments: runs=/usr/bin/sharedbrowser --profile home -x -> browser-home
the shown entry of two: runs=/usr/bin/player -> player
# nothing
separators only: gtk=/; kde=.desktop; instance=.; class=..; runs=/; group=/app--.scope/app-.scope/-.scope ->
)";

TEST(WindowResolver, EachWindowBelongsToItsApplication)
{
    QString step;
    int checked = 0;
    for (const QString &line : linesOf(cases)) {
        if (line.startsWith(u'#')) {
            step = line.mid(2);
            continue;
        }
        WindowIdentity window;
        ProcessIdentity process{100, {}, {}, {}, {}, {}};
        Corrections corrections;
        const QString fields = line.section(s(": "), 1), expected = line.section(s("->"), 1).trimmed();
        for (const QString &field : fields.section(s("->"), 0, 0).trimmed().split(s("; "), Qt::SkipEmptyParts)) {
            const QString name = field.section(u'=', 0, 0), value = field.section(u'=', 1);
            const QHash<QString, QString *> places{
                {s("gtk"), &window.gtkApplicationId}, {s("kde"), &window.kdeDesktopFile},
                {s("instance"), &window.wmInstance},  {s("class"), &window.wmClass},
                {s("group"), &process.controlGroup},  {s("flatpak"), &process.flatpak}};
            if (QString *place = places.value(name)) {
                *place = value;
            } else if (name == s("said")) {
                corrections.insert(value.section(s(" is "), 0, 0), value.section(s(" is "), 1));
            } else if (name == s("runs")) {
                process.arguments = value.split(u' ');
                process.executable = process.arguments[0];
            } else {
                ASSERT_TRUE(resolverEnvironment().contains(name.toLatin1())) << qPrintable(line);
                process.environment[name.toLatin1()] = value;
            }
        }
        const Resolution resolution = resolveApplication(window, process, installed(), corrections);
        EXPECT_EQ(resolution.id, expected) << qPrintable(line);
        EXPECT_EQ(resolution.by, expected.isEmpty() ? s("nothing") : step) << qPrintable(line);
        ++checked;
    }
    EXPECT_GE(checked, 23);
    // What an upgrade replaced: the file's name ends in a word that is no argument.
    const ProcessIdentity replaced{
        100, s("/usr/share/code/code (deleted)"), {s("/usr/share/code/code"), s("--unity-launch")}, {}, {}, {}};
    EXPECT_EQ(resolveProcess(replaced, installed()), (Resolution{s("code"), "executable"_L1}));
}

TEST(Processes, AnApplicationsOwnAreItsDescendantsInItsSession)
{
    const QList<ProcessEntry> all{
        {10, 1, 10, 0},  // the application
        {11, 10, 10, 0}, // its helper
        {13, 10, 13, 0}, // a shell in a session of its own
        {14, 13, 13, 0}, // what runs in the shell
        {15, 10, 10, 0}, // another application, started by this one
        {16, 15, 10, 0}, // and its helper
        {17, 1, 10, 0},  // a neighbour in the session
    };
    const auto own = [&](const QList<qint64> &roots, const QList<qint64> &others) {
        QList<qint64> found;
        for (const ProcessEntry &process : ownProcesses(roots, all, others))
            found.append(process.pid);
        return found;
    };
    EXPECT_EQ(own({10}, {}), (QList<qint64>{10, 11, 15, 16}));
    EXPECT_EQ(own({10, 13, 15}, {15}), (QList<qint64>{10, 13, 11, 14}));
}

TEST(Processes, ASignalReachesOnlyTheProcessThatWasSeen)
{
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const auto seen = processEntry(child);
    ASSERT_TRUE(seen.has_value());
    EXPECT_TRUE(isOrDescendsFrom(child, getpid()));
    EXPECT_FALSE(isOrDescendsFrom(getpid(), child));
    ProcessEntry later = *seen; // a later process with the same number
    later.started += 1;
    EXPECT_FALSE(sendSignal(later, SIGKILL));
    EXPECT_TRUE(sendSignal(*seen, SIGTERM));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

} // namespace
