#include "control/GroupReports.h"

#include "control/GroupActions.h"
#include "platform/RunningApplications.h"
#include "platform/Workspace.h"

#include <QHash>
#include <QSet>

#include <utility>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

constexpr auto launchPatience = 8s;
constexpr auto quitPatience = 5s;
constexpr auto hidePatience = 3s;

/// How many instances of each application run.
QHash<QString, int> runningInstances(const RunningApplications &running)
{
    QHash<QString, int> instances;
    for (const RunningApplication &application : running.runningApplications())
        ++instances[application.bundleIdentifier];
    return instances;
}

} // namespace

/// A request whose outcomes are being collected.
struct GroupReports::Report {
    struct Entry {
        QString id; ///< resolved
        IntentOutcome outcome;
        int instances = 0; ///< that are still to be heard of
        bool known = false;

        /// The first outcome counts.
        void note(Kind kind, const QString &reason = {})
        {
            if (std::exchange(known, true))
                return;
            outcome.kind = kind;
            outcome.reason = kind == Kind::Failed ? reason : QString();
        }
    };

    std::vector<Entry> entries;
    Done done;
    bool quits = false; ///< what is not known yet was asked to quit
    Scheduler::Handle patience;
};

GroupReports::GroupReports(GroupActions &actions, Workspace &workspace, RunningApplications &running,
                           Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_actions(actions), m_workspace(workspace), m_running(running), m_scheduler(scheduler)
{
    connect(&running, &RunningApplications::didTerminate, this, &GroupReports::noteEnded);
}

GroupReports::~GroupReports()
{
    for (const Shared &report : std::vector<Shared>(m_reports))
        end(report, Kind::Failed, QStringLiteral("Cobblet ended before it was known what happened."));
}

GroupReports::Shared GroupReports::begin(const QList<AppItem> &apps, Done done)
{
    auto report = std::make_shared<Report>();
    QSet<QString> seen;
    for (const AppItem &app : apps) {
        const QString id = m_workspace.resolved(app.bundleID);
        if (seen.contains(id))
            continue;
        seen.insert(id);
        report->entries.push_back(
            {id, {app.bundleID, app.name.isEmpty() ? app.bundleID : app.name, Kind::Failed, {}}});
    }
    report->done = std::move(done);
    m_reports.push_back(report);
    return report;
}

void GroupReports::endLater(const Shared &report, std::chrono::milliseconds patience, Kind kind,
                            const QString &reason)
{
    report->patience = m_scheduler.after(patience, [this, weak = std::weak_ptr(report), kind, reason] {
        if (const Shared late = weak.lock())
            end(late, kind, reason);
    });
}

void GroupReports::launch(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const auto count = qsizetype(report->entries.size());
    endLater(report, count * GroupActions::openInterval - GroupActions::openInterval + launchPatience, Kind::Failed,
             QStringLiteral("It hasn't answered the request to open yet."));
    m_actions.openAll(count, [this, weak = std::weak_ptr(report)](qsizetype index) {
        const auto note = [this, weak, index](Kind kind, const QString &reason = {}) {
            if (const Shared known = weak.lock()) {
                known->entries[size_t(index)].note(kind, reason);
                finishIfKnown(known);
            }
        };
        const Shared known = weak.lock();
        if (!known)
            return;
        const auto opening =
            m_actions.open(known->entries[size_t(index)].outcome.bundleID, [note](const Status &status) {
                note(status ? Kind::Launched : Kind::Failed, status.error());
            });
        if (opening == GroupActions::Opening::NotInstalled)
            note(Kind::NotInstalled);
        else if (opening == GroupActions::Opening::BroughtForward)
            note(Kind::BroughtForward);
    });
    finishIfKnown(report);
}

void GroupReports::quit(const QList<AppItem> &apps, Done done)
{
    const Shared report = beginWithRunning(apps, std::move(done));
    report->quits = true;
    endLater(report, quitPatience, Kind::StillRunning);
    m_actions.quitAll(apps);
    finishIfKnown(report);
}

void GroupReports::hide(const QList<AppItem> &apps, Done done)
{
    const Shared report = beginWithRunning(apps, std::move(done));
    endLater(report, hidePatience, Kind::Failed, QStringLiteral("It isn't known yet whether its windows went."));
    m_actions.hideAll(
        apps, [this, weak = std::weak_ptr(report)](const RunningApplication &instance, const Status &outcome) {
            const Shared known = weak.lock();
            if (!known)
                return;
            for (Report::Entry &entry : known->entries)
                if (entry.id == instance.bundleIdentifier && (!outcome || --entry.instances == 0))
                    entry.note(outcome ? Kind::Hidden : Kind::Failed, outcome.error());
            finishIfKnown(known);
        });
    finishIfKnown(report);
}

/// What does not run is known at once, and so is that it cannot be seen whether it does.
GroupReports::Shared GroupReports::beginWithRunning(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const QHash<QString, int> running = runningInstances(m_running);
    const Availability seen = m_running.availability();
    const Kind absent = seen.level == Availability::Level::Works ? Kind::NotRunning : Kind::Failed;
    for (Report::Entry &entry : report->entries)
        if (entry.instances = entry.id.isEmpty() ? 0 : running.value(entry.id); entry.instances == 0)
            entry.note(absent, seen.sentence);
    return report;
}

void GroupReports::noteEnded()
{
    if (m_reports.empty())
        return;
    const QHash<QString, int> running = runningInstances(m_running);
    for (const Shared &report : std::vector<Shared>(m_reports)) {
        for (Report::Entry &entry : report->entries)
            if (report->quits && !running.contains(entry.id))
                entry.note(Kind::AskedToQuit);
        finishIfKnown(report);
    }
}

void GroupReports::end(const Shared &report, Kind kind, const QString &reason)
{
    for (Report::Entry &entry : report->entries)
        entry.note(kind, reason);
    finishIfKnown(report);
}

void GroupReports::finishIfKnown(const Shared &report)
{
    QList<IntentOutcome> outcomes;
    for (const Report::Entry &entry : report->entries) {
        if (!entry.known)
            return;
        outcomes.append(entry.outcome);
    }
    if (!report->done)
        return;
    std::erase(m_reports, report);
    report->patience.reset();
    std::exchange(report->done, nullptr)(outcomes);
}

} // namespace cobblet
