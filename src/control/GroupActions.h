#pragma once

#include "model/AppGroup.h"
#include "platform/Workspace.h"

#include <QObject>

#include <chrono>
#include <functional>

namespace cobblet {

class RunningApplications;
struct RunningApplication;
class Scheduler;
class UsageTracker;
class UserDefaults;
class WindowAccess;

/// Acts on one application or on all applications of a group. Stateless but for the opens that openAll() has
/// still to make. Main thread only; every call returns at once.
class GroupActions : public QObject {
    Q_OBJECT
public:
    GroupActions(Workspace &workspace, RunningApplications &running, WindowAccess &windowAccess, UsageTracker &usage,
                 UserDefaults &standardDefaults, Scheduler &scheduler, QObject *parent = nullptr);

    /// The time from one application's opening to the next one's in openAll().
    static constexpr std::chrono::milliseconds openInterval{80};

    using InstanceDone = std::function<void(const RunningApplication &, const Status &)>;
    enum class Opening { NotInstalled, BroughtForward, Launching };

    /// Brings the running application forward or asks for its launch; false when none is installed.
    bool openApp(const QString &bundleID) { return open(bundleID) != Opening::NotInstalled; }
    /// The same, for callers that report. `launched` gets the outcome of a launch, and is not called without one.
    Opening open(const QString &bundleID, Workspace::Completion launched = {});
    /// Opens each application, 0.08 s apart, so that their activations do not fight.
    void openAll(const QList<AppItem> &apps);
    /// The same for callers that open by themselves: `open` gets each index from 0 in its turn.
    void openAll(qsizetype count, const std::function<void(qsizetype)> &open);
    /// `done`, when given, is told once of each running instance.
    void hideAll(const QList<AppItem> &apps, const InstanceDone &done = {});
    /// Asks each to quit; they may refuse.
    void quitAll(const QList<AppItem> &apps);
    void forceQuitAll(const QList<AppItem> &apps);

private:
    void bringForward(const RunningApplication &application);
    /// Every running instance of these applications, in the system's order.
    QList<RunningApplication> instancesOf(const QList<AppItem> &apps) const;

    Workspace &m_workspace;
    RunningApplications &m_running;
    WindowAccess &m_windowAccess;
    UsageTracker &m_usage;
    UserDefaults &m_defaults;
    Scheduler &m_scheduler;
};

} // namespace cobblet
