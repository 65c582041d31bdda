#include "DesktopFixture.h"

#include "platform/XSession.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/StartupNotification.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "platform/freedesktop/x11/X11Windows.h"

#include <QSignalSpy>

#include <algorithm>
#include <map>

namespace {

using namespace cobblet;
using namespace cobblet::test;

class RunningApplicationsTest : public DesktopFixture {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(server.isReady());
        write(system(QStringLiteral("clock")), entry("Clock", "xclock -update 3600", "StartupWMClass=XClock"));
        write(system(QStringLiteral("term")),
              entry("Term", "xterm", "StartupWMClass=XTerm\nCategories=TerminalEmulator;"));
        write(system(QStringLiteral("stubborn")),
              entry("Stubborn", "/usr/bin/python3 \"" COBBLET_STUBBORN_WINDOW "\""));
        write(system(QStringLiteral("guest")), entry("Guest", "true", "StartupWMClass=guest"));
    }

    void connectToDesktop(bool windowManager)
    {
        ASSERT_TRUE(!windowManager || server.startWindowManager());
        x11 = X11Connection::open();
        ASSERT_TRUE(x11);
        windows = std::make_unique<X11Windows>(*x11);
        ASSERT_EQ(windows->hasManager(), windowManager);
        workspace = std::make_unique<FreedesktopWorkspace>(x11.get());
        running = std::make_unique<X11RunningApplications>(windows.get(), *workspace);
    }

    QProcess &startClock(const QStringList &more = {})
    {
        return server.start(QStringLiteral("xclock"),
                            QStringList{QStringLiteral("-update"), QStringLiteral("3600")} + more);
    }
    int count(const char *id) const
    {
        const auto list = running->runningApplications();
        return int(std::count_if(list.begin(), list.end(),
                                 [&](const auto &a) { return a.bundleIdentifier == QLatin1String(id); }));
    }
    RunningApplication first(const char *id) const
    {
        for (const auto &application : running->runningApplications())
            if (application.bundleIdentifier == QLatin1String(id))
                return application;
        return {};
    }
    ClientWindow read(xcb_window_t window) const
    {
        ClientWindow seen;
        ClientWindow::read(*x11, window, x11.get(), [&seen](const ClientWindow &read) { seen = read; });
        x11->awaitReplies();
        return seen;
    }
    std::vector<xcb_window_t> windowsOf(qint64 pid) const
    {
        std::vector<xcb_window_t> found = windows->windows();
        std::erase_if(found, [&](xcb_window_t window) { return read(window).pid != pid; });
        return found;
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
    {
        // openbox loses a window that is mapped while it takes over the screen: this one is there before.
        const auto early = X11Connection::open();
        ASSERT_TRUE(early);
        const X11Windows tree(*early);
        ASSERT_TRUE(waitFor([&] { return tree.windows().size() == 1; }, 15000));
    }
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    ASSERT_TRUE(waitFor([&] { return count("clock") == 1; }, 10000));
    QSignalSpy launches(running.get(), &RunningApplications::didLaunch);
    QSignalSpy ends(running.get(), &RunningApplications::didTerminate);

    QProcess &term = server.start(QStringLiteral("xterm"), {QStringLiteral("-title"), QStringLiteral("Clock")});
    ASSERT_TRUE(waitFor([&] { return count("term") == 1; }, 10000));
    EXPECT_EQ(first("term").processIdentifier, term.processId());
    EXPECT_EQ(count("clock"), 1) << "a title decides nothing";
    EXPECT_EQ(launches.count(), 1);
    QProcess &second = server.start(QStringLiteral("xterm"));
    ASSERT_TRUE(waitFor([&] { return count("term") == 2; }, 10000)) << "each process is an application of its own";

    const RunningApplication clock = first("clock");
    const std::vector<xcb_window_t> face = windowsOf(clock.processIdentifier);
    ASSERT_EQ(face.size(), 1u);
    // Iconified by the user: no business of unhide(), but of unminimize.
    x11->sendToRoot(face[0], x11->atom("WM_CHANGE_STATE"), {3});
    EXPECT_TRUE(waitFor([&] { return isIconified(face[0]); }));
    EXPECT_EQ(count("clock"), 1);
    running->unhide(clock);
    EXPECT_FALSE(waitFor([&] { return !isIconified(face[0]); }, 300));
    running->unminimizeWindows(clock);
    EXPECT_TRUE(waitFor([&] { return !isIconified(face[0]); }));

    running->forceTerminate({QStringLiteral("term"), second.processId()});
    EXPECT_TRUE(waitFor([&] { return count("term") == 1; }));
    EXPECT_EQ(ends.count(), 1);
    EXPECT_EQ(first("term").processIdentifier, term.processId());
}

TEST_F(RunningApplicationsTest, KillingOneOfTwoApplicationsInAProcessLeavesTheOther)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    QProcess &shared = server.start(QStringLiteral("/usr/bin/python3"),
                                    {QStringLiteral(COBBLET_STUBBORN_WINDOW), QStringLiteral("guest")});
    ASSERT_TRUE(waitFor([&] { return count("guest") == 1 && count("stubborn") == 1; }, 10000));
    EXPECT_EQ(count("term"), 0) << "they are only titled like one";
    running->forceTerminate(first("guest"));
    EXPECT_FALSE(waitFor([&] { return shared.state() == QProcess::NotRunning; }, 500));
    EXPECT_EQ(count("stubborn"), 1);
}

TEST_F(RunningApplicationsTest, AClassThatComesLateMovesTheWindow)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    QProcess &clock = startClock({QStringLiteral("-name"), QStringLiteral("clock-face")});
    ASSERT_TRUE(waitFor([&] { return count("clock") == 1; }, 10000));
    const xcb_window_t window = windowsOf(clock.processId()).front();
    const char late[] = "guest\0Guest";
    xcb_change_property(x11->xcb(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof late,
                        late);
    x11->flush();
    EXPECT_TRUE(waitFor([&] { return count("guest") == 1 && count("clock") == 0; }));
}

TEST_F(RunningApplicationsTest, WhatIsLaunchedBecomesOneApplicationWithItsWindow)
{
    // A wrapper that stays: the window comes from its child. What is launched gets this process's first
    // environment, which knows another display.
    QFile::remove(system(QStringLiteral("clock")));
    write(system(QStringLiteral("wrapper")),
          entry("Wrapper", "env DISPLAY=" + qgetenv("DISPLAY") + " sh -c \"xclock -update 3600; true\"",
                "StartupWMClass=XClock"));
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(true));
    QSignalSpy launches(running.get(), &RunningApplications::didLaunch);
    QSignalSpy ends(running.get(), &RunningApplications::didTerminate);
    for (const bool force : {false, true}) {
        launches.clear();
        ends.clear();
        workspace->open(QStringLiteral("wrapper"));
        EXPECT_EQ(count("wrapper"), 1) << "it runs from the launch on";
        const RunningApplication application = first("wrapper");
        EXPECT_FALSE(running->lacksWindows(application)) << "it is only starting";
        ASSERT_TRUE(waitFor([&] { return windows->windows().size() == 1; }, 10000));
        EXPECT_FALSE(waitFor([&] { return count("wrapper") != 1; }, 300));
        EXPECT_EQ(first("wrapper"), application);
        const qint64 child = read(windows->windows().front()).pid;
        EXPECT_NE(child, application.processIdentifier);
        force ? running->forceTerminate(application) : running->terminate(application);
        EXPECT_TRUE(waitFor([&] { return count("wrapper") == 0; }));
        EXPECT_TRUE(waitFor([&] { return !processEntry(child) && !processEntry(application.processIdentifier); }));
        EXPECT_EQ(launches.count(), 1);
        EXPECT_EQ(ends.count(), 1);
    }
}

TEST_F(RunningApplicationsTest, WorksWithoutAWindowManagerAndWithOneThatComesLater)
{
    ASSERT_NO_FATAL_FAILURE(connectToDesktop(false));
    startClock();
    ASSERT_TRUE(waitFor([&] { return count("clock") == 1; }, 10000));
    const RunningApplication clock = first("clock");
    const xcb_window_t face = windowsOf(clock.processIdentifier).front();
    running->hide(clock);
    EXPECT_TRUE(waitFor([&] { return isIconified(face); }));
    running->unhide(clock);
    running->activate(clock);
    EXPECT_TRUE(waitFor([&] { return !isIconified(face); }));

    server.start(QStringLiteral("openbox"), {QStringLiteral("--sm-disable")});
    server.start(QStringLiteral("xterm"));
    EXPECT_TRUE(waitFor([&] { return count("term") == 1; }, 15000));
    EXPECT_TRUE(waitFor([&] { return count("clock") == 1; }));
    running->terminate(clock);
    EXPECT_TRUE(waitFor([&] { return count("clock") == 0; }));
}

TEST_F(RunningApplicationsTest, TheDesktopHearsAMessageAboutALaunchInPieces)
{
    const auto here = X11Connection::open();
    const auto desktop = X11Connection::open();
    ASSERT_TRUE(here && desktop);
    desktop->select(desktop->root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
    desktop->cardinals(desktop->root(), XCB_ATOM_WM_NAME); // the server has read the request by now
    QHash<xcb_window_t, QByteArray> heard;
    QObject::connect(desktop.get(), &X11Connection::eventArrived, [&](const xcb_generic_event_t *event) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return;
        const bool begins = message->type == desktop->atom("_NET_STARTUP_INFO_BEGIN");
        EXPECT_EQ(begins, !heard.contains(message->window));
        heard[message->window] += QByteArray(reinterpret_cast<const char *>(message->data.data8), 20);
    });
    StartupNotification startup(here.get());
    for (const int size : {0, 4, 5, 45}) { // of 20 bytes, as a piece is, at 5
        heard.clear();
        startup.remove(QString(size, u'x') + QStringLiteral("\n\""));
        ASSERT_TRUE(waitFor([&] { return heard.size() == 1 && heard.begin()->endsWith('\0'); }, 5000)) << size;
        EXPECT_EQ(QByteArray(heard.begin()->constData()), "remove: ID=\"" + QByteArray(size, 'x') + "\\\"\"");
    }
    EXPECT_GT(StartupNotification::timeOf(startup.mint()), 0u) << "the server's clock";
    EXPECT_EQ(StartupNotification::timeOf(QStringLiteral("a_TIME1_TIMEx")), 0u);
}

} // namespace
