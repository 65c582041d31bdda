#include "control/GroupReports.h"

#include "control/GroupActions.h"
#include "platform/RunningApplications.h"
#include "platform/Workspace.h"

#include <QSet>

#include <utility>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

constexpr auto launchPatience = 8s;
constexpr auto quitPatience = 5s;

QSet<QString> runningIDs(const RunningApplications &running)
{
    QSet<QString> ids;
    for (const RunningApplication &application : running.runningApplications())
        if (!application.bundleIdentifier.isEmpty())
            ids.insert(application.bundleIdentifier);
    return ids;
}

} // namespace

/// A request whose outcomes are being collected.
struct GroupReports::Report {
    struct Entry {
        QString id; ///< resolved
        IntentOutcome outcome;
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
    const Shared report = begin(apps, std::move(done));
    const QSet<QString> running = runningIDs(m_running);
    const Availability known = m_running.availability();
    const bool sees = known.level == Availability::Level::Works;
    report->quits = true;
    for (Report::Entry &entry : report->entries)
        if (!running.contains(entry.id))
            entry.note(sees ? Kind::NotRunning : Kind::Failed, known.sentence);
    endLater(report, quitPatience, Kind::StillRunning);
    m_actions.quitAll(apps);
    finishIfKnown(report);
}

void GroupReports::hide(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const QSet<QString> running = runningIDs(m_running);
    const Availability known = m_running.availability();
    const bool sees = known.level == Availability::Level::Works;
    m_actions.hideAll(apps);
    for (Report::Entry &entry : report->entries) {
        const Kind kind = running.contains(entry.id) ? Kind::Hidden : Kind::NotRunning;
        entry.note(sees ? kind : Kind::Failed, known.sentence);
    }
    finishIfKnown(report);
}

void GroupReports::noteEnded()
{
    if (m_reports.empty())
        return;
    const QSet<QString> running = runningIDs(m_running);
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
