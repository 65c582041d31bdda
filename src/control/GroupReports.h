#pragma once

#include "model/AppGroup.h"
#include "platform/IntentsHost.h"
#include "platform/Scheduler.h"

#include <QObject>

#include <memory>
#include <vector>

namespace cobblet {

class GroupActions;
class RunningApplications;
class Workspace;

/// Launches, quits and hides the applications of a group just as GroupActions does, and tells what became of each.
/// An application that a group holds twice is acted on and told of once. Main thread only.
class GroupReports : public QObject {
    Q_OBJECT
public:
    /// Called exactly once, with one outcome for each application in the order of the group: at once when there is
    /// nothing to wait for, and at the latest when this object is destroyed.
    using Done = std::function<void(const QList<IntentOutcome> &)>;

    GroupReports(GroupActions &actions, Workspace &workspace, RunningApplications &running, Scheduler &scheduler,
                 QObject *parent = nullptr);
    /// What is still waited for is told as failed.
    ~GroupReports() override;

    /// Waits for each launch to succeed or fail, up to 8 s after the last was asked for.
    void launch(const QList<AppItem> &apps, Done done);
    /// Asks each to quit and waits up to 5 s for them to end.
    void quit(const QList<AppItem> &apps, Done done);
    /// Waits for the windows to go, up to 3 s.
    void hide(const QList<AppItem> &apps, Done done);

private:
    using Kind = IntentOutcome::Kind;
    struct Report;
    using Shared = std::shared_ptr<Report>;

    Shared begin(const QList<AppItem> &apps, Done done);
    Shared beginWithRunning(const QList<AppItem> &apps, Done done);
    /// Ends the report as it is by then.
    void endLater(const Shared &report, std::chrono::milliseconds patience, Kind kind, const QString &reason = {});
    /// Applications that were asked to quit and run no more.
    void noteEnded();
    /// Whatever is not known yet becomes this.
    void end(const Shared &report, Kind kind, const QString &reason = {});
    void finishIfKnown(const Shared &report);

    GroupActions &m_actions;
    Workspace &m_workspace;
    RunningApplications &m_running;
    Scheduler &m_scheduler;
    std::vector<Shared> m_reports; ///< those that are not finished; nobody else keeps one
};

} // namespace cobblet
