#include "platform/freedesktop/apps/WindowResolver.h"
#include "platform/freedesktop/apps/KeyFile.h"

#include <gtest/gtest.h>

namespace {

using namespace cobblet;

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

/// The applications that are installed in these cases.
const ApplicationIndex &installed()
{
    static const ApplicationIndex index = [] {
        const struct {
            const char *id;
            const char *more;
        } rows[] = {
            {"org.gnome.Nautilus", "Exec=nautilus --new-window %U"},
            {"org.gnome.Calculator", "Exec=gnome-calculator"},
            {"org.kde.konsole", "Exec=konsole\nCategories=TerminalEmulator;"},
            {"org.gnome.Terminal", "Exec=gnome-terminal\nCategories=TerminalEmulator;"},
            {"debian-xterm", "Exec=xterm\nStartupWMClass=XTerm\nCategories=TerminalEmulator;"},
            {"google-chrome", "Exec=/usr/bin/google-chrome-stable %U\nStartupWMClass=Google-chrome"},
            {"chrome-abc-Default", "Exec=/opt/google/chrome/google-chrome --profile-directory=Default --app-id=abc\n"
                                   "StartupWMClass=crx_abc"},
            {"firefox-esr", "Exec=/usr/lib/firefox-esr/firefox-esr %u\nStartupWMClass=firefox-esr"},
            {"firefox_firefox",
             "Exec=env BAMF_DESKTOP_FILE_HINT=/x /snap/bin/firefox %u\nX-SnapInstanceName=firefox"},
            {"office_writer", "Exec=/snap/bin/office.writer\nX-SnapInstanceName=office"},
            {"office_calc", "Exec=/snap/bin/office.calc\nX-SnapInstanceName=office"},
            {"org.gnome.Maps", "Exec=/usr/bin/flatpak run --branch=stable org.gnome.Maps\nX-Flatpak=org.gnome.Maps"},
            {"com.example.Renamed.Stable",
             "Exec=/usr/bin/flatpak run com.example.Renamed\nX-Flatpak=com.example.Renamed"},
            {"krita-image", "Exec=/home/u/Applications/Krita-5.AppImage %F"},
            {"meld", "Exec=meld %F"},
            {"lollypop", "Exec=/usr/bin/python3 /usr/bin/lollypop"},
            {"libreoffice-writer", "Exec=libreoffice --writer %U\nStartupWMClass=libreoffice-writer"},
            {"libreoffice-calc", "Exec=libreoffice --calc %U\nStartupWMClass=libreoffice-calc"},
            {"browser-work", "Exec=sharedbrowser --profile work"},
            {"browser-home", "Exec=sharedbrowser --profile home"},
            {"twin-a", "Exec=twin"},
            {"twin-b", "Exec=twin"},
            {"code", "Exec=/usr/share/code/code --unity-launch %F\nStartupWMClass=Code"},
            {"signal-desktop", "Exec=/opt/Signal/signal-desktop %U\nStartupWMClass=Signal"},
            {"jetbrains-idea", "Exec=\"/opt/idea/bin/idea.sh\" %f\nStartupWMClass=jetbrains-idea"},
            {"jedit", "Exec=java -Xmx512m -jar /usr/share/jedit/jedit.jar %F"},
            {"wine-Notepad", "Exec=env WINEPREFIX=\"/home/u/.wine\" wine notepad.exe\nStartupWMClass=notepad.exe"},
            {"org.gimp.GIMP", "Exec=gimp-2.10 %U"},
            {"vim", "Exec=vim %F\nTerminal=true"},
            {"org.gnome.gedit", "Exec=gedit %U"},
            {"hidden-player", "Exec=player --enqueue %U\nNoDisplay=true"},
            {"player", "Exec=player %U"},
            {"my app", "Exec=myapp"},
            {"steam-tool", "Exec=steam steam://rungameid/42"},
        };
        QList<IndexEntry> entries;
        for (const auto &row : rows) {
            const auto file = KeyFile::parse(QByteArray("[Desktop Entry]\n") + row.more);
            entries.append({s(row.id), DesktopEntry(*file), !file->flag("Desktop Entry", "NoDisplay")});
        }
        return ApplicationIndex(entries);
    }();
    return index;
}

/// Below each step, what it decides: "CASE: what window and process are like -> application", none where there is no
/// application.
constexpr const char *cases = R"(
# stated id
a stated id: gtk=org.gnome.Nautilus; instance=org.gnome.nautilus; class=Nautilus -> org.gnome.Nautilus
a stated id in other letters: gtk=org.gnome.nautilus -> org.gnome.Nautilus
KDE's file name with its ending: kde=org.kde.konsole.desktop -> org.kde.konsole
KDE's full path: kde=/usr/share/applications/org.kde.konsole.desktop -> org.kde.konsole
the stated id outweighs the class: gtk=org.gnome.Calculator; instance=xterm; class=XTerm -> org.gnome.Calculator
# window class
a stated id that is not installed: gtk=org.gone.App; instance=gedit; class=Gedit -> org.gnome.gedit
StartupWMClass: instance=xterm; class=XTerm -> debian-xterm
exact class beside a loosely fitting instance: instance=xterm; class=org.gnome.Maps -> org.gnome.Maps
StartupWMClass in other letters: instance=GOOGLE-CHROME; class=x -> google-chrome
a web application in a browser's process: instance=crx_abc; class=Google-chrome; runs=/opt/google/chrome/chrome -> chrome-abc-Default
the browser itself: instance=google-chrome; class=Google-chrome; runs=/opt/google/chrome/chrome -> google-chrome
a web application that is not installed: instance=crx_zzz; class=Google-chrome -> google-chrome
one binary, two applications: instance=libreoffice; class=libreoffice-calc; runs=/usr/lib/soffice.bin -> libreoffice-calc
the class is the id: instance=x; class=meld -> meld
the class is the id but for case: instance=Meld; class=Meld -> meld
the class ends a reverse-DNS id: instance=gimp; class=Gimp -> org.gimp.GIMP
a class with a space: instance=my app; class=My App -> my app
an Electron application: instance=signal; class=Signal; runs=/opt/Signal/signal-desktop -> signal-desktop
a Java program: instance=sun-awt-X11-XFramePeer; class=jetbrains-idea; runs=/opt/idea/jbr/bin/java x.Main -> jetbrains-idea
a Windows program: instance=notepad.exe; class=notepad.exe; runs=/usr/bin/wine64-preloader -> wine-Notepad
a terminal that shows another program: instance=xterm; class=XTerm; runs=/usr/bin/xterm -e vim -> debian-xterm
# control group
a scope of ours: runs=/usr/bin/x; group=/user.slice/app.slice/app-cobblet-org.gimp.GIMP-77.scope -> org.gimp.GIMP
escaped dashes: runs=/usr/bin/x; group=/user.slice/app-gnome-firefox\x2desr-4242.scope -> firefox-esr
dashes that nobody escaped: runs=/usr/bin/x; group=/user.slice/app-gnome-firefox-esr-4242.scope -> firefox-esr
no launcher: runs=/usr/bin/x; group=/app.slice/app-meld-9.scope -> meld
an autostarted service: runs=/usr/bin/x; group=/app.slice/app-org.gnome.Maps@autostart.service -> org.gnome.Maps
started over D-Bus: runs=/usr/bin/x; group=/app.slice/dbus-:1.2-org.gnome.Calculator@0.service -> org.gnome.Calculator
a Snap's scope: runs=/snap/x; group=/app.slice/snap.firefox.firefox-0d1f-44.scope -> firefox_firefox
the terminal in its own scope: runs=/usr/bin/konsole; group=/app.slice/app-org.kde.konsole-3.scope -> org.kde.konsole
a scope of nothing installed: runs=/usr/bin/x; group=/app.slice/app-gnome-gone-3.scope ->
# launch environment
launched from an entry: runs=/usr/bin/x; GIO_LAUNCHED_DESKTOP_FILE=/a/meld.desktop; GIO_LAUNCHED_DESKTOP_FILE_PID=100 -> meld
inherited: runs=/usr/bin/x; GIO_LAUNCHED_DESKTOP_FILE=/a/meld.desktop; GIO_LAUNCHED_DESKTOP_FILE_PID=99 ->
a Flatpak by its sandbox: runs=/usr/bin/gjs-console; flatpak=org.gnome.Maps -> org.gnome.Maps
a Flatpak under another file name: runs=/app/bin/x; flatpak=com.example.Renamed -> com.example.Renamed.Stable
a Flatpak by its environment: runs=/app/bin/maps; FLATPAK_ID=org.gnome.Maps -> org.gnome.Maps
a host program started by a Flatpak: runs=/usr/bin/x; FLATPAK_ID=org.gnome.Maps ->
a Snap with one application: runs=/snap/firefox/123/usr/lib/firefox/firefox; SNAP_INSTANCE_NAME=firefox -> firefox_firefox
one of a Snap's applications: runs=/snap/office/1/bin/calc; SNAP_NAME=office -> office_calc
a host program started in a Snap's terminal: runs=/usr/bin/x; SNAP_NAME=firefox ->
an AppImage: runs=/tmp/.mount_K/usr/bin/krita; APPIMAGE=/home/u/Applications/Krita-5.AppImage; APPDIR=/tmp/.mount_K -> krita-image
another copy of it: runs=/tmp/.mount_K/usr/bin/krita; APPIMAGE=/tmp/Krita-5.AppImage; APPDIR=/tmp/.mount_K ->
a program that it started: runs=/usr/bin/x; APPIMAGE=/home/u/Applications/Krita-5.AppImage; APPDIR=/tmp/.mount_K ->
# executable
a program in a terminal's scope: runs=/usr/bin/player; group=/app.slice/app-gnome-org.gnome.Terminal-3.scope -> player
the program of the entry: runs=/usr/bin/gnome-calculator -> org.gnome.Calculator
a Python program that the entry names alone: runs=/usr/bin/python3.11 /usr/bin/meld -> meld
and with its interpreter: runs=/usr/bin/python3.11 -u /usr/bin/lollypop -> lollypop
the Python prompt: runs=/usr/bin/python3.11 ->
a Python program that is not installed: runs=/usr/bin/python3.11 /home/u/x.py ->
a Java program by its archive: runs=/usr/lib/jvm/bin/java -cp /x -jar /usr/share/jedit/jedit.jar -> jedit
one binary told apart by its arguments: runs=/usr/bin/sharedbrowser --profile home -x -> browser-home
one binary with neither's arguments: runs=/usr/bin/sharedbrowser ->
one binary that nothing tells apart: runs=/usr/bin/twin ->
the shown entry of two: runs=/usr/bin/player -> player
the same name elsewhere: runs=/home/u/signal-desktop ->
# nothing
nothing at all: ->
unknown in every way: gtk=a.b; kde=c; instance=d; class=e; runs=/usr/bin/f; group=/g ->
separators only: gtk=/; kde=.desktop; instance=.; class=..; runs=/; group=/app--.scope/app-.scope/-.scope ->
)";

TEST(WindowResolver, EachWindowBelongsToItsApplication)
{
    QString step;
    int checked = 0;
    for (const QString &line : s(cases).split(u'\n', Qt::SkipEmptyParts)) {
        if (line.startsWith(u'#')) {
            step = line.mid(2);
            continue;
        }
        WindowIdentity window;
        ProcessIdentity process{100, {}, {}, {}, {}, {}};
        const QString fields = line.section(s(": "), 1), expected = line.section(s("->"), 1).trimmed();
        for (const QString &field : fields.section(s("->"), 0, 0).trimmed().split(s("; "), Qt::SkipEmptyParts)) {
            const QString name = field.section(u'=', 0, 0), value = field.section(u'=', 1);
            const QHash<QString, QString *> places{
                {s("gtk"), &window.gtkApplicationId}, {s("kde"), &window.kdeDesktopFile},
                {s("instance"), &window.wmInstance},  {s("class"), &window.wmClass},
                {s("group"), &process.controlGroup},  {s("flatpak"), &process.flatpak}};
            if (QString *place = places.value(name)) {
                *place = value;
            } else if (name == s("runs")) {
                process.arguments = value.split(u' ');
                process.executable = process.arguments[0];
            } else {
                ASSERT_TRUE(resolverEnvironment().contains(name.toLatin1())) << qPrintable(line);
                process.environment[name.toLatin1()] = value;
            }
        }
        const Resolution resolution = resolveApplication(window, process, installed());
        EXPECT_EQ(resolution.id, expected) << qPrintable(line);
        EXPECT_EQ(resolution.by, expected.isEmpty() ? s("nothing") : step) << qPrintable(line);
        ++checked;
    }
    EXPECT_GE(checked, 50);
    // What an upgrade replaced: the file's name ends in a word that is no argument.
    const ProcessIdentity replaced{
        100, s("/usr/share/code/code (deleted)"), {s("/usr/share/code/code"), s("--unity-launch")}, {}, {}, {}};
    EXPECT_EQ(resolveProcess(replaced, installed()), (Resolution{s("code"), QLatin1String("executable")}));
}

TEST(WindowResolver, InstalledFirstByIdWhenSeveralClaimAClass)
{
    DesktopEntry entry;
    entry.startupWMClass = s("Shared");
    const ApplicationIndex index({{s("b"), entry, true}, {s("a"), entry, false}, {s("c"), entry, true}});
    EXPECT_EQ(resolveWindow({{}, {}, s("shared"), {}}, index).id, s("b")); // the first that menus show
    EXPECT_EQ(resolveWindow({{}, {}, {}, {}}, ApplicationIndex()).id, QString());
}

} // namespace
