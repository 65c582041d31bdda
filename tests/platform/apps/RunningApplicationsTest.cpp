#include "DesktopFixture.h"

#include "platform/XSession.h"
#include "support/FakeDesktop.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/StartupNotification.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "platform/freedesktop/x11/X11Windows.h"

#include <array>
#include <csignal>

namespace {

using namespace cobblet;
using namespace cobblet::test;

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

    void startClock() { server.start(u"xclock"_s, {u"-update"_s, u"3600"_s}); }
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
    /// The clock that runs, once it is known.
    RunningApplication runningClock() const
    {
        EXPECT_TRUE(becomes(u"clock"_s, 1));
        return all(u"clock"_s).value(0);
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
    const RunningApplication clock = runningClock();
    const xcb_window_t face = windowOf(clock.processIdentifier);
    const RunningApplication term{u"term"_s, server.start(u"xterm"_s, {u"-title"_s, u"Clock"_s}).processId()};
    ASSERT_TRUE(becomes(u"term"_s, 1));
    EXPECT_EQ(all(u"clock"_s).size(), 1) << "a title decides nothing";
    const RunningApplication second{u"term"_s, server.start(u"xterm"_s).processId()};
    ASSERT_TRUE(becomes(u"term"_s, 2)) << "each process is an application of its own";
    running->forceTerminate(second);
    EXPECT_TRUE(becomes(u"term"_s, 1));
    EXPECT_EQ(all(u"term"_s), QList{term});

    // Iconified by the user: no business of unhide(), but of unminimize.
    x11->sendToRoot(face, x11->atom("WM_CHANGE_STATE"), {3});
    EXPECT_TRUE(waitFor([&] { return isIconified(face); }));
    running->unhide(clock);
    EXPECT_FALSE(waitFor([&] { return !isIconified(face); }, 300));
    running->unminimizeWindows(clock);
    EXPECT_TRUE(waitFor([&] { return !isIconified(face); }));

    // A class that comes late moves the window.
    const char late[] = "guest\0Guest";
    xcb_change_property(x11->xcb(), XCB_PROP_MODE_REPLACE, face, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof late,
                        late);
    x11->flush();
    EXPECT_TRUE(becomes(u"guest"_s, 1) && becomes(u"clock"_s, 0));
}

TEST_F(RunningApplicationsTest, ACorrectionCountsAtOnceInEveryProcessUntilItIsTakenBack)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    FakeDefaults shared;
    StoredCorrections here(shared), there(shared);
    running->setCorrections(here);
    X11RunningApplications other(windows.get(), *workspace);
    other.setCorrections(there);
    startClock();
    ASSERT_TRUE(becomes(u"clock"_s, 1));
    const RunningApplication clock = all(u"clock"_s).first(), guest{u"guest"_s, clock.processIdentifier};
    ASSERT_TRUE(waitFor([&] { return other.runningApplications().contains(clock); }));
    const Recognition byClass = running->recognition(clock);
    EXPECT_EQ(byClass.mark, u"class xclock, XClock"_s);
    QSignalSpy launches(&other, &RunningApplications::didLaunch);
    ASSERT_TRUE(running->correct({byClass.mark, u"guest"_s}));
    for (const auto &list : {running->runningApplications(), other.runningApplications()})
        EXPECT_TRUE(list.contains(guest) && !list.contains(clock));
    EXPECT_EQ(launches.at(0).at(1).value<RunningApplications::Origin>(), RunningApplications::Origin::Unlaunched);
    EXPECT_EQ(other.recognition(guest).reason, u"You said so."_s);
    EXPECT_EQ(other.corrections(), (QList<Correction>{{byClass.mark, u"guest"_s}}));
    ASSERT_TRUE(other.correct({byClass.mark, {}}));
    EXPECT_EQ(all(u"clock"_s), QList{clock});
    EXPECT_TRUE(all(u"guest"_s).isEmpty() && shared.stored.isEmpty());

    for (int i = 0; i < StoredCorrections::maximumNumber; ++i)
        ASSERT_TRUE(here.set(QString::number(i), u"guest"_s));
    EXPECT_FALSE(here.set(u"one more"_s, u"guest"_s));
    EXPECT_TRUE(here.set(u"7"_s, u"clock"_s)) << "one that is there can still be changed";
    EXPECT_FALSE(here.set(QString(StoredCorrections::maximumText + 1, u'x'), u"guest"_s));
    for (const auto &[json, number] : {std::pair("[]", 0), {"{\"\": \"a\", \"b\": 7, \"c\": \"d\"}", 1}, {"{", 0}}) {
        ASSERT_TRUE(shared.set(u"applicationCorrections"_s, QString::fromLatin1(json)));
        EXPECT_EQ(there.all().size(), number) << json;
    }
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
    int launches = 0, ends = 0; // window managers, whose own windows come and go, are told of too
    const auto counting = [](int &count) {
        return [&count](const RunningApplication &told) { count += told.bundleIdentifier == u"wrapper"_s; };
    };
    QObject::connect(running.get(), &RunningApplications::didLaunch, running.get(), counting(launches));
    QObject::connect(running.get(), &RunningApplications::didTerminate, running.get(), counting(ends));
    for (const bool force : {false, true}) {
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
        EXPECT_FALSE(waitFor([&] { return all(u"wrapper"_s) != launched; }, 300));
        force ? running->forceTerminate(launched[0]) : running->terminate(launched[0]);
        EXPECT_TRUE(becomes(u"wrapper"_s, 0));
        EXPECT_TRUE(waitFor([&] { return !processEntry(child) && !processEntry(launched[0].processIdentifier); }));
    }
    EXPECT_EQ(launches, 2);
    EXPECT_EQ(ends, 2);
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
        const auto counts = [](const auto &told) { return told[1].template value<Origin>() != Origin::Unlaunched; };
        EXPECT_EQ(std::count_if(launches.begin(), launches.end(), counts), 1);
        running->forceTerminate(all(id).first());
        EXPECT_TRUE(becomes(id, 0));
        ::kill(pid_t(started), SIGKILL);
    }
    EXPECT_EQ(given.size(), 2) << "the focus is the launched ones'";
}

TEST_F(RunningApplicationsTest, HidingAmongWindowsOfAnotherKindTellsWhatWasDone)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    startClock();
    const RunningApplication clock = runningClock();
    const xcb_window_t face = windowOf(clock.processIdentifier);
    X11RunningApplications some(windows.get(), *workspace, X11RunningApplications::Share::Some);
    std::optional<Status> told;
    const auto hide = [&](const RunningApplication &application) {
        told.reset();
        some.hide(application, [&](const Status &outcome) { told = outcome; });
        EXPECT_TRUE(waitFor([&] { return told.has_value(); }));
        return told.value_or(Error{});
    };
    EXPECT_TRUE(hide(clock));
    EXPECT_TRUE(isIconified(face));
    EXPECT_EQ(hide({u"term"_s, 1}).error(), some.availability().sentence);
}

TEST_F(RunningApplicationsTest, WorksWithoutAWindowManagerAndWithOneThatComesLater)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(false));
    startClock();
    const RunningApplication clock = runningClock();
    const xcb_window_t face = windowOf(clock.processIdentifier);
    running->hide(clock);
    EXPECT_TRUE(waitFor([&] { return isIconified(face); }));
    running->unhide(clock);
    running->activate(clock);
    EXPECT_TRUE(waitFor([&] { return !isIconified(face); }));

    server.start(u"openbox"_s, {u"--sm-disable"_s});
    server.start(u"xterm"_s);
    EXPECT_TRUE(becomes(u"term"_s, 1) && becomes(u"clock"_s, 1));
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
    for (const int size : {4, 5, 45}) { // of 20 bytes, as a piece is, at 5
        heard.clear();
        startup.remove(QString(size, u'x') + u"\n\""_s);
        ASSERT_TRUE(waitFor([&] { return heard.endsWith('\0'); })) << size;
        EXPECT_EQ(QByteArray(heard.constData()), "remove: ID=\"" + QByteArray(size, 'x') + "\\\"\"");
    }
    EXPECT_GT(StartupNotification::timeOf(startup.mint()), 0u) << "the server's clock";
    EXPECT_EQ(StartupNotification::timeOf(u"a_TIME1_TIMEx"_s), 0u);
}

} // namespace
