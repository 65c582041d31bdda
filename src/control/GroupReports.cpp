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
    enum class State { Open, AskedToQuit, Settled };
    struct Entry {
        QString id; ///< resolved
        IntentOutcome outcome;
        State state = State::Open;

        void settle(Kind kind, const QString &reason = {})
        {
            if (std::exchange(state, State::Settled) == State::Settled)
                return;
            outcome.kind = kind;
            outcome.reason = reason;
        }
    };

    std::vector<Entry> entries;
    Done done;
    Scheduler::Handle patience;
};

GroupReports::GroupReports(GroupActions &actions, Workspace &workspace, RunningApplications &running,
                           Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_actions(actions), m_workspace(workspace), m_running(running), m_scheduler(scheduler)
{
    connect(&running, &RunningApplications::didTerminate, this, &GroupReports::settleEnded);
}

GroupReports::~GroupReports()
{
    for (const Shared &report : std::vector<Shared>(m_reports))
        settleRest(report, Kind::Failed, QStringLiteral("Cobblet ended before it was known what happened."));
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

void GroupReports::launch(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const qsizetype count = qsizetype(report->entries.size());
    if (count == 0)
        return finishIfSettled(report);
    const std::weak_ptr<Report> weak = report;
    report->patience = m_scheduler.after((count - 1) * GroupActions::openInterval + launchPatience, [this, weak] {
        if (const Shared known = weak.lock())
            settleRest(known, Kind::Failed, QStringLiteral("It hasn't answered the request to open yet."));
    });
    m_actions.openAll(count, [this, weak](qsizetype index) {
        if (const Shared known = weak.lock())
            openOne(known, size_t(index));
    });
}

void GroupReports::openOne(const Shared &report, size_t index)
{
    const auto launched = [this, weak = std::weak_ptr(report), index](const Status &status) {
        const Shared known = weak.lock();
        if (!known)
            return;
        known->entries[index].settle(status ? Kind::Launched : Kind::Failed, status.error());
        finishIfSettled(known);
    };
    Report::Entry &entry = report->entries[index];
    switch (m_actions.open(entry.outcome.bundleID, launched)) {
    case GroupActions::Opening::NotInstalled:
        entry.settle(Kind::NotInstalled);
        break;
    case GroupActions::Opening::BroughtForward:
        entry.settle(Kind::BroughtForward);
        break;
    case GroupActions::Opening::Launching:
        return;
    }
    finishIfSettled(report);
}

void GroupReports::quit(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const QSet<QString> running = runningIDs(m_running);
    const Availability known = m_running.availability();
    const bool sees = known.level == Availability::Level::Works;
    bool asks = false;
    for (Report::Entry &entry : report->entries) {
        if (running.contains(entry.id)) {
            entry.state = Report::State::AskedToQuit;
            asks = true;
        } else {
            entry.settle(sees ? Kind::NotRunning : Kind::Failed, known.sentence);
        }
    }
    if (asks) {
        report->patience = m_scheduler.after(quitPatience, [this, weak = std::weak_ptr(report)] {
            if (const Shared late = weak.lock())
                settleRest(late, Kind::StillRunning);
        });
        m_actions.quitAll(apps);
    }
    finishIfSettled(report);
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
        entry.settle(sees ? kind : Kind::Failed, known.sentence);
    }
    finishIfSettled(report);
}

void GroupReports::settleEnded()
{
    if (m_reports.empty())
        return;
    const QSet<QString> running = runningIDs(m_running);
    for (const Shared &report : std::vector<Shared>(m_reports)) {
        for (Report::Entry &entry : report->entries)
            if (entry.state == Report::State::AskedToQuit && !running.contains(entry.id))
                entry.settle(Kind::AskedToQuit);
        finishIfSettled(report);
    }
}

void GroupReports::settleRest(const Shared &report, Kind kind, const QString &reason)
{
    for (Report::Entry &entry : report->entries)
        entry.settle(kind, reason);
    finishIfSettled(report);
}

void GroupReports::finishIfSettled(const Shared &report)
{
    QList<IntentOutcome> outcomes;
    for (const Report::Entry &entry : report->entries) {
        if (entry.state != Report::State::Settled)
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
