#include "control/GroupReports.h"

#include "control/GroupActions.h"
#include "platform/RunningApplications.h"
#include "platform/Workspace.h"

#include <QSet>

#include <algorithm>

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

/// A request whose outcomes are being collected. Entries with the same index belong together.
struct GroupReports::Report {
    enum class State { Open, AskedToQuit, Settled };

    QList<AppItem> apps;
    QStringList ids; ///< resolved
    QList<State> states;
    QList<IntentOutcome> outcomes;
    Done done;
    Scheduler::Handle patience;

    void settle(qsizetype index, Kind kind, const QString &reason = {})
    {
        if (states[index] == State::Settled)
            return;
        states[index] = State::Settled;
        outcomes[index].kind = kind;
        outcomes[index].reason = reason;
    }
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
        report->apps.append(app);
        report->ids.append(id);
        report->states.append(Report::State::Open);
        report->outcomes.append({app.bundleID, app.name.isEmpty() ? app.bundleID : app.name, Kind::Failed, {}});
    }
    report->done = std::move(done);
    m_reports.push_back(report);
    return report;
}

void GroupReports::launch(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const qsizetype count = report->apps.size();
    if (count == 0)
        return finishIfSettled(report);
    const std::weak_ptr<Report> weak = report;
    report->patience = m_scheduler.after((count - 1) * GroupActions::openInterval + launchPatience, [this, weak] {
        if (const Shared known = weak.lock())
            settleRest(known, Kind::Failed, QStringLiteral("It hasn't answered the request to open yet."));
    });
    m_actions.openAll(report->apps, [this, weak](qsizetype index) {
        if (const Shared known = weak.lock())
            openOne(known, index);
    });
}

void GroupReports::openOne(const Shared &report, qsizetype index)
{
    const auto launched = [this, weak = std::weak_ptr(report), index](const Status &status) {
        const Shared known = weak.lock();
        if (!known)
            return;
        known->settle(index, status ? Kind::Launched : Kind::Failed, status.error());
        finishIfSettled(known);
    };
    switch (m_actions.open(report->apps[index].bundleID, launched)) {
    case GroupActions::Opening::NotInstalled:
        report->settle(index, Kind::NotInstalled);
        break;
    case GroupActions::Opening::BroughtForward:
        report->settle(index, Kind::BroughtForward);
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
    const Status known = m_running.availability();
    bool asks = false;
    for (qsizetype i = 0; i < report->ids.size(); ++i) {
        if (running.contains(report->ids[i])) {
            report->states[i] = Report::State::AskedToQuit;
            asks = true;
        } else {
            report->settle(i, known ? Kind::NotRunning : Kind::Failed, known.error());
        }
    }
    if (asks) {
        report->patience = m_scheduler.after(quitPatience, [this, weak = std::weak_ptr(report)] {
            if (const Shared late = weak.lock())
                settleRest(late, Kind::StillRunning);
        });
        m_actions.quitAll(report->apps);
    }
    finishIfSettled(report);
}

void GroupReports::hide(const QList<AppItem> &apps, Done done)
{
    const Shared report = begin(apps, std::move(done));
    const QSet<QString> running = runningIDs(m_running);
    const Status known = m_running.availability();
    m_actions.hideAll(report->apps);
    for (qsizetype i = 0; i < report->ids.size(); ++i) {
        const Kind kind = running.contains(report->ids[i]) ? Kind::Hidden : Kind::NotRunning;
        report->settle(i, known ? kind : Kind::Failed, known.error());
    }
    finishIfSettled(report);
}

void GroupReports::settleEnded()
{
    if (m_reports.empty())
        return;
    const QSet<QString> running = runningIDs(m_running);
    for (const Shared &report : std::vector<Shared>(m_reports)) {
        for (qsizetype i = 0; i < report->ids.size(); ++i)
            if (report->states[i] == Report::State::AskedToQuit && !running.contains(report->ids[i]))
                report->settle(i, Kind::AskedToQuit);
        finishIfSettled(report);
    }
}

void GroupReports::settleRest(const Shared &report, Kind kind, const QString &reason)
{
    for (qsizetype i = 0; i < report->ids.size(); ++i)
        report->settle(i, kind, reason);
    finishIfSettled(report);
}

void GroupReports::finishIfSettled(const Shared &report)
{
    const bool settled = std::all_of(report->states.begin(), report->states.end(),
                                     [](Report::State state) { return state == Report::State::Settled; });
    if (!settled || !report->done)
        return;
    std::erase(m_reports, report);
    report->patience.reset();
    std::exchange(report->done, nullptr)(report->outcomes);
}

} // namespace cobblet
