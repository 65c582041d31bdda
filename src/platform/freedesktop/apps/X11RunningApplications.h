#pragma once

#include "platform/WindowAccess.h"
#include "platform/freedesktop/apps/ClientWindow.h"
#include "platform/freedesktop/apps/Processes.h"
#include "platform/freedesktop/apps/StoredCorrections.h"
#include "platform/freedesktop/x11/X11Windows.h"

#include <QElapsedTimer>
#include <QHash>
#include <QScopedPointer>

#include <memory>
#include <vector>

namespace cobblet {

class FreedesktopWorkspace;

/// The running applications: the windows of an X display joined with their processes, and the processes that
/// this one launched. One application is one identifier in one main process; it runs until that process ends,
/// or, where the process belongs to another application too (a web application in a browser), until its last
/// window is gone. Windows of this process are left out. Everything is told by events. X asks nobody for leave to
/// reach into the windows of others.
class X11RunningApplications : public RunningApplications, public WindowAccess {
    Q_OBJECT
public:
    /// Which windows of the desktop are X11's.
    enum class Share { All, Some };

    /// `windows` may be null: only what was launched from here is known then. Both must outlive this object.
    X11RunningApplications(X11Windows *windows, FreedesktopWorkspace &workspace, Share share = Share::All);

    QList<RunningApplication> runningApplications() const override;
    Availability availability() const override;
    Recognition recognition(const RunningApplication &application) const override;
    QList<Correction> corrections() const override;
    Status correct(const Correction &correction) override;
    void hide(const RunningApplication &application, Completion done = {}) override;
    void unhide(const RunningApplication &application) override { tell(application, &X11Windows::unhide); }
    void activate(const RunningApplication &application) override { tell(application, &X11Windows::bringToFront); }
    void terminate(const RunningApplication &application) override;
    /// Kills the main process, its descendants in the same session, and the processes of its windows; never
    /// those of another application. An application that lives in another one's process is asked to close.
    void forceTerminate(const RunningApplication &application) override;

    bool isTrusted(bool) override { return true; }
    void unminimizeWindows(const RunningApplication &application) override
    {
        tell(application, &X11Windows::unminimize);
    }
    void reopen(const RunningApplication &application) override;

    /// From now on these go before every rule. They outlive this object.
    void setCorrections(StoredCorrections &corrections);
    /// Takes in an application that runs without a window and was not launched from here, unless it is known. `by` is
    /// the rule that found it.
    void addUnseen(const RunningApplication &application, QLatin1String by);
    /// It runs, has no window, and is not just being started.
    bool lacksWindows(const RunningApplication &application) const;

private:
    struct Window {
        ClientWindow seen;
        Resolution resolution;
        bool processEnded = false; ///< its owner is gone and the list does not say so yet
    };
    struct Application {
        RunningApplication self;
        std::vector<xcb_window_t> windows;                          ///< ordinary ones, in the order they were mapped
        std::unique_ptr<ProcessEnd, QScopedPointerDeleteLater> end; ///< deleted later: it may be the one that tells
        ProcessEntry process;
        QElapsedTimer startedHere; ///< valid when launched by this process
        Resolution unseen;         ///< of what was found without a window, before corrections
        bool hadWindows = false;

        bool isStarting() const;
    };

    void read(xcb_window_t window);
    void regroupSoon();
    /// `origin` is that of applications that nobody was seen to launch.
    void regroup(Origin origin = Origin::Elsewhere);
    void applyCorrections();
    void launchedHere(const QString &id, qint64 pid, bool inTerminal);
    void processEnded(const RunningApplication &application);

    Resolution resolve(const ClientWindow &window) const;
    Resolution corrected(const Resolution &found, qint64 pid) const;
    static QString markOf(const ClientWindow &window);
    RunningApplication ownerOf(const Window &window) const;
    Application *find(const RunningApplication &application) const;
    Application *withoutWindowYet(const QString &id) const;
    bool handedOver(const QString &id);
    using Verb = void (X11Windows::*)(const std::vector<xcb_window_t> &);
    void tell(const RunningApplication &application, Verb verb);
    Application &add(const RunningApplication &application);
    void watchProcess(Application &application, qint64 pid);
    bool sharesProcess(const Application &application) const;
    bool closeWindows(const Application &application);

    X11Windows *m_display; ///< null without an X server
    FreedesktopWorkspace &m_workspace;
    const Share m_share;
    StoredCorrections *m_corrections = nullptr;
    QHash<xcb_window_t, Window> m_windows; ///< those that have been read
    QHash<qint64, QString> m_terminals;    ///< terminals started here, by pid, to show an application
    QHash<QString, QElapsedTimer> m_ended; ///< launches from here that ended before a window came, by identifier
    std::vector<std::unique_ptr<Application>> m_applications;
    bool m_regroupQueued = false;
};

} // namespace cobblet
