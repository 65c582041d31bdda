#include "platform/freedesktop/apps/WindowResolver.h"

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
            auto entry = parseDesktopEntry(QByteArray("[Desktop Entry]\nType=Application\nName=x\n") + row.more);
            const bool visible = !entry->noDisplay;
            entries.append({s(row.id), *entry, visible});
        }
        return ApplicationIndex(entries);
    }();
    return index;
}

struct Case {
    const char *name;
    WindowIdentity window;
    ProcessIdentity process;
    const char *id; ///< empty: no application
    ResolvedBy by;
};

ProcessIdentity program(const char *executable, QStringList arguments, const char *cgroup = "",
                        QHash<QByteArray, QString> environment = {})
{
    return {100, s(executable), std::move(arguments), s(cgroup), {}, std::move(environment)};
}

TEST(WindowResolver, EachWindowBelongsToItsApplication)
{
    using enum ResolvedBy;
    const Case rows[] = {
        // What the window states
        {"a stated id",
         {s("org.gnome.Nautilus"), {}, s("org.gnome.nautilus"), s("Nautilus")},
         {},
         "org.gnome.Nautilus",
         StatedId},
        {"a stated id in other letters", {s("org.gnome.nautilus"), {}, {}, {}}, {}, "org.gnome.Nautilus", StatedId},
        {"KDE's file name with its ending",
         {{}, s("org.kde.konsole.desktop"), {}, {}},
         {},
         "org.kde.konsole",
         StatedId},
        {"KDE's full path",
         {{}, s("/usr/share/applications/org.kde.konsole.desktop"), {}, {}},
         {},
         "org.kde.konsole",
         StatedId},
        {"a stated id that is not installed leaves it to the class",
         {s("org.gone.App"), {}, s("gedit"), s("Gedit")},
         {},
         "org.gnome.gedit",
         WindowClass},
        {"the stated id outweighs the class",
         {s("org.gnome.Calculator"), {}, s("xterm"), s("XTerm")},
         {},
         "org.gnome.Calculator",
         StatedId},
        // Its class
        {"StartupWMClass", {{}, {}, s("xterm"), s("XTerm")}, {}, "debian-xterm", WindowClass},
        {"exact class beside a loosely fitting instance",
         {{}, {}, s("xterm"), s("org.gnome.Maps")},
         {},
         "org.gnome.Maps",
         WindowClass},
        {"StartupWMClass in other letters", {{}, {}, s("GOOGLE-CHROME"), s("x")}, {}, "google-chrome", WindowClass},
        {"a web application in a browser's process",
         {{}, {}, s("crx_abc"), s("Google-chrome")},
         program("/opt/google/chrome/chrome", {s("/opt/google/chrome/chrome")}),
         "chrome-abc-Default",
         WindowClass},
        {"the browser itself",
         {{}, {}, s("google-chrome"), s("Google-chrome")},
         program("/opt/google/chrome/chrome", {s("/opt/google/chrome/chrome")}),
         "google-chrome",
         WindowClass},
        {"a web application that is not installed falls to the browser",
         {{}, {}, s("crx_zzz"), s("Google-chrome")},
         {},
         "google-chrome",
         WindowClass},
        {"two applications of one binary by class",
         {{}, {}, s("libreoffice"), s("libreoffice-calc")},
         program("/usr/lib/libreoffice/program/soffice.bin", {s("soffice.bin")}),
         "libreoffice-calc",
         WindowClass},
        {"the class is the id", {{}, {}, s("x"), s("meld")}, {}, "meld", WindowClass},
        {"the class is the id but for case", {{}, {}, s("Meld"), s("Meld")}, {}, "meld", WindowClass},
        {"the class ends a reverse-DNS id", {{}, {}, s("gimp"), s("Gimp")}, {}, "org.gimp.GIMP", WindowClass},
        {"a class with a space", {{}, {}, s("my app"), s("My App")}, {}, "my app", WindowClass},
        {"an Electron application",
         {{}, {}, s("signal"), s("Signal")},
         program("/opt/Signal/signal-desktop", {s("/opt/Signal/signal-desktop")}),
         "signal-desktop",
         WindowClass},
        {"a Java program with a class",
         {{}, {}, s("sun-awt-X11-XFramePeer"), s("jetbrains-idea")},
         program("/opt/idea/jbr/bin/java", {s("/opt/idea/jbr/bin/java"), s("com.intellij.idea.Main")}),
         "jetbrains-idea",
         WindowClass},
        {"a Windows program",
         {{}, {}, s("notepad.exe"), s("notepad.exe")},
         program("/usr/bin/wine64-preloader", {s("C:\\windows\\notepad.exe")}),
         "wine-Notepad",
         WindowClass},
        {"a terminal that shows another program",
         {{}, {}, s("xterm"), s("XTerm")},
         program("/usr/bin/xterm", {s("xterm"), s("-e"), s("vim")}),
         "debian-xterm",
         WindowClass},
        // Its control group
        {"a scope of ours",
         {},
         program("/usr/bin/x", {s("x")}, "/user.slice/app.slice/app-cobblet-org.gimp.GIMP-77.scope"),
         "org.gimp.GIMP",
         ControlGroup},
        {"a scope with escaped dashes",
         {},
         program("/usr/bin/x", {s("x")}, "/user.slice/app-gnome-firefox\\x2desr-4242.scope"),
         "firefox-esr",
         ControlGroup},
        {"a scope whose dashes nobody escaped",
         {},
         program("/usr/bin/x", {s("x")}, "/user.slice/app-gnome-firefox-esr-4242.scope"),
         "firefox-esr",
         ControlGroup},
        {"a scope without a launcher",
         {},
         program("/usr/bin/x", {s("x")}, "/app.slice/app-meld-9.scope"),
         "meld",
         ControlGroup},
        {"an autostarted service",
         {},
         program("/usr/bin/x", {s("x")}, "/app.slice/app-org.gnome.Maps@autostart.service"),
         "org.gnome.Maps",
         ControlGroup},
        {"a service started over D-Bus",
         {},
         program("/usr/bin/x", {s("x")}, "/app.slice/dbus-:1.2-org.gnome.Calculator@0.service"),
         "org.gnome.Calculator",
         ControlGroup},
        {"a Snap's scope",
         {},
         program("/snap/x", {s("x")}, "/app.slice/snap.firefox.firefox-0d1f-44.scope"),
         "firefox_firefox",
         ControlGroup},
        {"a program started in a terminal's scope is not the terminal",
         {},
         program("/usr/bin/player", {s("player")}, "/app.slice/app-gnome-org.gnome.Terminal-3.scope"),
         "player",
         Executable},
        {"the terminal in its own scope",
         {},
         program("/usr/bin/konsole", {s("konsole")}, "/app.slice/app-org.kde.konsole-3.scope"),
         "org.kde.konsole",
         ControlGroup},
        {"a scope of nothing installed",
         {},
         program("/usr/bin/x", {s("x")}, "/app.slice/app-gnome-gone-3.scope"),
         "",
         Nothing},
        // How it was launched
        {"launched from a desktop entry",
         {},
         program("/usr/bin/x", {s("x")}, "",
                 {{"GIO_LAUNCHED_DESKTOP_FILE", s("/usr/share/applications/meld.desktop")},
                  {"GIO_LAUNCHED_DESKTOP_FILE_PID", s("100")}}),
         "meld",
         LaunchEnvironment},
        {"inherited from a launch of another process",
         {},
         program("/usr/bin/x", {s("x")}, "",
                 {{"GIO_LAUNCHED_DESKTOP_FILE", s("/usr/share/applications/meld.desktop")},
                  {"GIO_LAUNCHED_DESKTOP_FILE_PID", s("99")}}),
         "",
         Nothing},
        {"a Flatpak by its sandbox",
         {},
         {100, s("/usr/bin/gjs-console"), {s("gjs")}, {}, s("org.gnome.Maps"), {}},
         "org.gnome.Maps",
         LaunchEnvironment},
        {"a Flatpak under another file name",
         {},
         {100, s("/app/bin/x"), {s("x")}, {}, s("com.example.Renamed"), {}},
         "com.example.Renamed.Stable",
         LaunchEnvironment},
        {"a Flatpak by its environment",
         {},
         program("/app/bin/maps", {s("maps")}, "", {{"FLATPAK_ID", s("org.gnome.Maps")}}),
         "org.gnome.Maps",
         LaunchEnvironment},
        {"a host program started by a Flatpak",
         {},
         program("/usr/bin/x", {s("x")}, "", {{"FLATPAK_ID", s("org.gnome.Maps")}}),
         "",
         Nothing},
        {"a Snap with one application",
         {},
         program("/snap/firefox/123/usr/lib/firefox/firefox", {s("firefox-bin")}, "",
                 {{"SNAP_INSTANCE_NAME", s("firefox")}}),
         "firefox_firefox",
         LaunchEnvironment},
        {"one of a Snap's applications",
         {},
         program("/snap/office/1/bin/calc", {s("x")}, "", {{"SNAP_NAME", s("office")}}),
         "office_calc",
         LaunchEnvironment},
        {"a host program started in a Snap's terminal",
         {},
         program("/usr/bin/x", {s("x")}, "", {{"SNAP_NAME", s("firefox")}}),
         "",
         Nothing},
        {"an AppImage",
         {},
         program("/tmp/.mount_Krita/usr/bin/krita", {s("krita")}, "",
                 {{"APPIMAGE", s("/home/u/Applications/Krita-5.AppImage")}, {"APPDIR", s("/tmp/.mount_Krita")}}),
         "krita-image",
         LaunchEnvironment},
        {"another copy of an AppImage",
         {},
         program("/tmp/.mount_Krita/usr/bin/krita", {s("krita")}, "",
                 {{"APPIMAGE", s("/tmp/Krita-5.AppImage")}, {"APPDIR", s("/tmp/.mount_Krita")}}),
         "",
         Nothing},
        {"a program started by an AppImage",
         {},
         program("/usr/bin/x", {s("x")}, "",
                 {{"APPIMAGE", s("/home/u/Applications/Krita-5.AppImage")}, {"APPDIR", s("/tmp/.mount_Krita")}}),
         "",
         Nothing},
        // What it runs
        {"the program of the entry",
         {},
         program("/usr/bin/gnome-calculator", {s("gnome-calculator")}),
         "org.gnome.Calculator",
         Executable},
        {"a Python program that the entry names alone",
         {},
         program("/usr/bin/python3.11", {s("/usr/bin/python3"), s("/usr/bin/meld")}),
         "meld",
         Executable},
        {"a Python program that the entry names with its interpreter",
         {},
         program("/usr/bin/python3.11", {s("python3"), s("-u"), s("/usr/bin/lollypop")}),
         "lollypop",
         Executable},
        {"the Python prompt", {}, program("/usr/bin/python3.11", {s("python3")}), "", Nothing},
        {"a Python program that is not installed",
         {},
         program("/usr/bin/python3.11", {s("python3"), s("/home/u/x.py")}),
         "",
         Nothing},
        {"a Java program by its archive",
         {},
         program("/usr/lib/jvm/java-17/bin/java",
                 {s("java"), s("-cp"), s("/x"), s("-jar"), s("/usr/share/jedit/jedit.jar")}),
         "jedit",
         Executable},
        {"one binary told apart by its arguments",
         {},
         program("/usr/bin/sharedbrowser", {s("sharedbrowser"), s("--profile"), s("home"), s("-x")}),
         "browser-home",
         Executable},
        {"one binary with neither's arguments",
         {},
         program("/usr/bin/sharedbrowser", {s("sharedbrowser")}),
         "",
         Nothing},
        {"one binary that nothing tells apart", {}, program("/usr/bin/twin", {s("twin")}), "", Nothing},
        {"the shown entry of two", {}, program("/usr/bin/player", {s("/usr/bin/player")}), "player", Executable},
        {"the same name elsewhere",
         {},
         program("/home/u/signal-desktop", {s("/home/u/signal-desktop")}),
         "",
         Nothing},
        {"a program that an upgrade replaced",
         {},
         program("/usr/share/code/code (deleted)", {s("/usr/share/code/code"), s("--unity-launch")}),
         "code",
         Executable},
        // Nothing to go by
        {"nothing at all", {}, {}, "", Nothing},
        {"unknown in every way",
         {s("a.b"), s("c"), s("d"), s("e")},
         program("/usr/bin/f", {s("f")}, "/g", {}),
         "",
         Nothing},
        {"marks of separators only",
         {s("/"), s(".desktop"), s("."), s("..")},
         program("/", {s("/")}, "/app--.scope/app-.scope/-.scope"),
         "",
         Nothing},
    };
    for (const Case &row : rows) {
        const Resolution resolution = resolveApplication(row.window, row.process, installed());
        EXPECT_EQ(resolution.id, s(row.id)) << row.name;
        EXPECT_EQ(resolution.by, row.by) << row.name << ", decided by " << qPrintable(resolution.reason());
    }
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
