#include "DesktopFixture.h"

#include "platform/XSession.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/StartupNotification.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "platform/freedesktop/x11/X11Windows.h"

#include <QSignalSpy>

#include <array>
#include <csignal>

namespace {

using namespace cobblet;
using namespace cobblet::test;

/// How often the signal told of this application. Window managers, whose own windows come and go, are told of too.
qsizetype times(const QSignalSpy &signal, const QString &id)
{
    return std::count_if(signal.begin(), signal.end(), [&id](const QVariantList &arguments) {
        return arguments[0].value<RunningApplication>().bundleIdentifier == id;
    });
}

class RunningApplicationsTest : public DesktopFixture {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.x11);
        write(system(u"clock"_s), entry("Clock", "xclock -update 3600", "StartupWMClass=XClock"));
        write(system(u"term"_s), entry("Term", "xterm", "StartupWMClass=XTerm\nCategories=TerminalEmulator;"));
        write(system(u"stubborn"_s), entry("Stubborn", "/usr/bin/python3 \"" COBBLET_STUBBORN_WINDOW "\""));
        write(system(u"guest"_s), entry("Guest", "true", "StartupWMClass=guest"));
    }

    void connectToDesktop(bool windowManager)
    {
        ASSERT_TRUE(!windowManager || server.startWindowManager());
        x11 = X11Connection::open();
        windows = std::make_unique<X11Windows>(*x11);
        ASSERT_EQ(windows->hasManager(), windowManager);
        workspace = std::make_unique<FreedesktopWorkspace>(x11.get());
        running = std::make_unique<X11RunningApplications>(windows.get(), *workspace);
    }

    QProcess &startClock(const QStringList &more = {})
    {
        return server.start(u"xclock"_s, QStringList{u"-update"_s, u"3600"_s} + more);
    }
    QList<RunningApplication> all(const QString &id) const
    {
        QList<RunningApplication> found = running->runningApplications();
        found.removeIf([&](const auto &application) { return application.bundleIdentifier != id; });
        return found;
    }
    bool becomes(const QString &id, qsizetype count) const
    {
        return waitFor([&] { return all(id).size() == count; });
    }
    qint64 pidOf(xcb_window_t window) const
    {
        qint64 pid = 0;
        ClientWindow::read(*x11, window, x11.get(), [&pid](const ClientWindow &read) { pid = read.pid; });
        x11->awaitReplies();
        return pid;
    }
    xcb_window_t windowOf(qint64 pid) const
    {
        for (const xcb_window_t window : windows->windows())
            if (pidOf(window) == pid)
                return window;
        return XCB_WINDOW_NONE;
    }
    bool isIconified(xcb_window_t window) const { return windows->iconified({window}).contains(window); }

    XSession server;
    std::unique_ptr<X11Connection> x11;
    std::unique_ptr<X11Windows> windows;
    std::unique_ptr<FreedesktopWorkspace> workspace;
    std::unique_ptr<X11RunningApplications> running;
};

TEST_F(RunningApplicationsTest, FollowsWhatRunsAndLeavesAloneWhatTheUserIconified)
{
    startClock(); // before anybody looks
    const X11Windows tree(*server.x11);
    // openbox loses a window that is mapped while it takes over the screen: this one is there before.
    ASSERT_TRUE(waitFor([&] { return tree.windows().size() == 1; }));
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    ASSERT_TRUE(becomes(u"clock"_s, 1));
    QSignalSpy launches(running.get(), &RunningApplications::didLaunch);
    QSignalSpy ends(running.get(), &RunningApplications::didTerminate);

    QProcess &term = server.start(u"xterm"_s, {u"-title"_s, u"Clock"_s});
    const RunningApplication first{u"term"_s, term.processId()};
    ASSERT_TRUE(becomes(u"term"_s, 1));
    EXPECT_EQ(all(u"term"_s), QList{first});
    EXPECT_EQ(all(u"clock"_s).size(), 1) << "a title decides nothing";
    EXPECT_EQ(times(launches, u"term"_s), 1);
    QProcess &second = server.start(u"xterm"_s);
    ASSERT_TRUE(becomes(u"term"_s, 2)) << "each process is an application of its own";
    running->forceTerminate({u"term"_s, second.processId()});
    EXPECT_TRUE(becomes(u"term"_s, 1));
    EXPECT_EQ(times(ends, u"term"_s), 1);
    EXPECT_EQ(all(u"term"_s), QList{first});

    // Iconified by the user: no business of unhide(), but of unminimize.
    const RunningApplication clock = all(u"clock"_s).first();
    const xcb_window_t face = windowOf(clock.processIdentifier);
    x11->sendToRoot(face, x11->atom("WM_CHANGE_STATE"), {3});
    EXPECT_TRUE(waitFor([&] { return isIconified(face); }));
    EXPECT_EQ(all(u"clock"_s).size(), 1);
    running->unhide(clock);
    EXPECT_FALSE(waitFor([&] { return !isIconified(face); }, 300));
    running->unminimizeWindows(clock);
    EXPECT_TRUE(waitFor([&] { return !isIconified(face); }));

    // A class that comes late moves the window.
    const char late[] = "guest\0Guest";
    xcb_change_property(x11->xcb(), XCB_PROP_MODE_REPLACE, face, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof late,
                        late);
    x11->flush();
    EXPECT_TRUE(becomes(u"guest"_s, 1));
    EXPECT_TRUE(becomes(u"clock"_s, 0));
}

TEST_F(RunningApplicationsTest, KillingOneOfTwoApplicationsInAProcessLeavesTheOther)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    QProcess &shared = server.start(u"/usr/bin/python3"_s, {QStringLiteral(COBBLET_STUBBORN_WINDOW), u"guest"_s});
    ASSERT_TRUE(becomes(u"guest"_s, 1) && becomes(u"stubborn"_s, 1));
    EXPECT_EQ(all(u"term"_s).size(), 0) << "they are only titled like one";
    running->forceTerminate(all(u"guest"_s).first());
    EXPECT_FALSE(waitFor([&] { return shared.state() == QProcess::NotRunning; }, 500));
    EXPECT_EQ(all(u"stubborn"_s).size(), 1);
}

TEST_F(RunningApplicationsTest, WhatIsLaunchedBecomesOneApplicationWithItsWindow)
{
    // A wrapper that stays: the window comes from its child. It gets this process's first environment.
    QFile::remove(system(u"clock"_s));
    write(system(u"wrapper"_s),
          entry("Wrapper", "env DISPLAY=" + qgetenv("DISPLAY") + " sh -c \"xclock -update 3600; true\"",
                "StartupWMClass=XClock"));
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    QSignalSpy launches(running.get(), &RunningApplications::didLaunch);
    QSignalSpy ends(running.get(), &RunningApplications::didTerminate);
    for (const bool force : {false, true}) {
        launches.clear();
        ends.clear();
        workspace->open(u"wrapper"_s);
        const auto launched = all(u"wrapper"_s);
        ASSERT_EQ(launched.size(), 1) << "it runs from the launch on";
        EXPECT_FALSE(running->lacksWindows(launched[0])) << "it is only starting";
        qint64 child = 0; // the window's; windows of the last round may still be listed
        ASSERT_TRUE(waitFor([&] {
            for (const xcb_window_t window : windows->windows())
                if (const qint64 pid = pidOf(window); isOrDescendsFrom(pid, launched[0].processIdentifier))
                    child = pid;
            return child > 0;
        }));
        EXPECT_FALSE(waitFor([&] { return all(u"wrapper"_s).size() != 1; }, 300));
        EXPECT_EQ(all(u"wrapper"_s), launched);
        EXPECT_NE(child, launched[0].processIdentifier);
        force ? running->forceTerminate(launched[0]) : running->terminate(launched[0]);
        EXPECT_TRUE(becomes(u"wrapper"_s, 0));
        EXPECT_TRUE(waitFor([&] { return !processEntry(child) && !processEntry(launched[0].processIdentifier); }));
        EXPECT_EQ(times(launches, u"wrapper"_s), 1);
        EXPECT_EQ(times(ends, u"wrapper"_s), 1);
    }
}

TEST_F(RunningApplicationsTest, ALaunchThatHandsOverToAnotherProcessIsOneLaunch)
{
    using Origin = RunningApplications::Origin;
    const auto daemon = [](const QByteArray &name) {
        return "setsid -f env DISPLAY=" + qgetenv("DISPLAY") + " xclock -update 3600 -name " + name;
    };
    write(system(u"quick"_s), entry("Quick", daemon("quick"), "StartupWMClass=quick"));
    write(system(u"slow"_s), entry("Slow", "sh -c \"" + daemon("slow") + "; exec sleep 60\"", "StartupWMClass=slow"));
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    QSignalSpy launches(running.get(), &RunningApplications::didLaunch);
    QSignalSpy given(windows.get(), &X11Windows::activationSent);
    for (const QString &id : {u"quick"_s, u"slow"_s}) {
        launches.clear();
        workspace->open(id);
        const qint64 started = launches.value(0).value(0).value<RunningApplication>().processIdentifier;
        ASSERT_TRUE(waitFor([&] {
            const auto now = all(id);
            return now.size() == 1 && windowOf(now[0].processIdentifier) != XCB_WINDOW_NONE;
        }));
        EXPECT_EQ(
            std::count_if(launches.begin(), launches.end(),
                          [](const auto &told) { return told[1].template value<Origin>() != Origin::Unlaunched; }),
            1);
        running->forceTerminate(all(id).first());
        EXPECT_TRUE(becomes(id, 0));
        ::kill(pid_t(started), SIGKILL);
    }
    EXPECT_EQ(given.size(), 2) << "the focus is the launched ones'";
}

TEST_F(RunningApplicationsTest, HidingTellsWhetherTheWindowsWent)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    startClock();
    ASSERT_TRUE(becomes(u"clock"_s, 1));
    const RunningApplication clock = all(u"clock"_s).first();
    const xcb_window_t face = windowOf(clock.processIdentifier);
    std::optional<Status> told;
    const auto hide = [&](RunningApplications &applications, const RunningApplication &application) {
        told.reset();
        applications.hide(application, [&](const Status &outcome) { told = outcome; });
        EXPECT_TRUE(waitFor([&] { return told.has_value(); }));
        return told && told->ok();
    };
    // A toolbar, which the window manager does not iconify.
    const xcb_window_t bar = xcb_generate_id(x11->xcb());
    xcb_create_window(x11->xcb(), XCB_COPY_FROM_PARENT, bar, x11->root(), 0, 0, 99, 99, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const xcb_atom_t type = x11->atom("_NET_WM_WINDOW_TYPE_TOOLBAR");
    xcb_change_property(x11->xcb(), XCB_PROP_MODE_REPLACE, bar, x11->atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32,
                        1, &type);
    xcb_change_property(x11->xcb(), XCB_PROP_MODE_REPLACE, bar, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, 12,
                        "guest\0Guest");
    xcb_map_window(x11->xcb(), bar);
    x11->flush();
    ASSERT_TRUE(becomes(u"guest"_s, 1));
    EXPECT_FALSE(hide(*running, all(u"guest"_s).first()));
    EXPECT_TRUE(told && told->error().contains(u"minimized"));
    EXPECT_TRUE(hide(*running, clock));
    EXPECT_TRUE(isIconified(face));

    // Among windows of another kind nobody knows of those.
    X11RunningApplications some(windows.get(), *workspace, X11RunningApplications::Share::Some);
    EXPECT_TRUE(hide(some, clock));
    EXPECT_FALSE(hide(some, {u"term"_s, 1}));
    EXPECT_EQ(told->error(), some.availability().sentence);
}

TEST_F(RunningApplicationsTest, WorksWithoutAWindowManagerAndWithOneThatComesLater)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(false));
    startClock();
    ASSERT_TRUE(becomes(u"clock"_s, 1));
    const RunningApplication clock = all(u"clock"_s).first();
    const xcb_window_t face = windowOf(clock.processIdentifier);
    running->hide(clock);
    EXPECT_TRUE(waitFor([&] { return isIconified(face); }));
    running->unhide(clock);
    running->activate(clock);
    EXPECT_TRUE(waitFor([&] { return !isIconified(face); }));

    server.start(u"openbox"_s, {u"--sm-disable"_s});
    server.start(u"xterm"_s);
    EXPECT_TRUE(becomes(u"term"_s, 1));
    EXPECT_TRUE(becomes(u"clock"_s, 1));
    running->terminate(clock);
    EXPECT_TRUE(becomes(u"clock"_s, 0));
}

TEST_F(RunningApplicationsTest, AWindowManagersOwnWindowsAreNoApplications)
{
    X11Connection &manager = *server.x11; // which this test plays
    const xcb_window_t root = manager.root(), own = server.makeWindow(), more = server.makeWindow();
    const auto say = [&](xcb_window_t window, const char *name, xcb_atom_t type,
                         const std::vector<uint32_t> &values) {
        xcb_change_property(manager.xcb(), XCB_PROP_MODE_REPLACE, window, manager.atom(name), type, 32,
                            uint32_t(values.size()), values.data());
    };
    startClock();
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(false));
    ASSERT_TRUE(becomes(u"clock"_s, 1) && becomes({}, 1)) << "nobody says yet that they are a manager's";
    say(root, "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, {more, own});
    say(root, "_NET_SUPPORTED", XCB_ATOM_ATOM, {manager.atom("_NET_CLIENT_LIST")});
    for (const xcb_window_t window : {own, root})
        say(window, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, {own});
    manager.flush();
    EXPECT_TRUE(becomes({}, 0));
    EXPECT_EQ(windows->windows().size(), 2u) << "their docks are places to keep free";
}

TEST_F(RunningApplicationsTest, TheDesktopHearsAMessageAboutALaunchInPieces)
{
    const auto here = X11Connection::open();
    X11Connection &desktop = *server.x11;
    desktop.select(desktop.root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
    desktop.cardinals(desktop.root(), XCB_ATOM_WM_NAME); // the server has read the request by now
    QByteArray heard;
    QObject::connect(&desktop, &X11Connection::eventArrived, [&](const xcb_generic_event_t *event) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return;
        EXPECT_EQ(message->type == desktop.atom("_NET_STARTUP_INFO_BEGIN"), heard.isEmpty());
        heard += QByteArray(reinterpret_cast<const char *>(message->data.data8), 20);
    });
    StartupNotification startup(here.get());
    for (const int size : {0, 4, 5, 45}) { // of 20 bytes, as a piece is, at 5
        heard.clear();
        startup.remove(QString(size, u'x') + u"\n\""_s);
        ASSERT_TRUE(waitFor([&] { return heard.endsWith('\0'); })) << size;
        EXPECT_EQ(QByteArray(heard.constData()), "remove: ID=\"" + QByteArray(size, 'x') + "\\\"\"");
    }
    EXPECT_GT(StartupNotification::timeOf(startup.mint()), 0u) << "the server's clock";
    EXPECT_EQ(StartupNotification::timeOf(u"a_TIME1_TIMEx"_s), 0u);
}

} // namespace
