#include "control/GroupActions.h"

#include "control/UsageTracker.h"
#include "platform/RunningApplications.h"
#include "platform/Scheduler.h"
#include "platform/UserDefaults.h"
#include "platform/WindowAccess.h"

#include <QPointer>
#include <QSet>

namespace cobblet {

namespace {

const QString didPromptKey = QStringLiteral("didPromptAccessibility");

} // namespace

GroupActions::GroupActions(Workspace &workspace, RunningApplications &running, WindowAccess &windowAccess,
                           UsageTracker &usage, UserDefaults &standardDefaults, Scheduler &scheduler, QObject *parent)
    : QObject(parent), m_workspace(workspace), m_running(running), m_windowAccess(windowAccess), m_usage(usage),
      m_defaults(standardDefaults), m_scheduler(scheduler)
{
}

GroupActions::Opening GroupActions::open(const QString &bundleID, Workspace::Completion launched)
{
    const QString id = m_workspace.resolved(bundleID);
    if (id.isEmpty())
        return Opening::NotInstalled;
    for (const RunningApplication &application : m_running.runningApplications()) {
        if (application.bundleIdentifier == id) {
            bringForward(application);
            m_usage.recordLaunch(bundleID);
            return Opening::BroughtForward;
        }
    }
    if (!m_workspace.application(bundleID))
        return Opening::NotInstalled;
    m_workspace.open(bundleID, std::move(launched));
    return Opening::Launching;
}

void GroupActions::bringForward(const RunningApplication &application)
{
    m_running.unhide(application);
    if (m_windowAccess.isTrusted(false)) {
        m_windowAccess.unminimizeWindows(application);
    } else if (!m_defaults.boolean(didPromptKey)) {
        m_windowAccess.isTrusted(true);
        // When this cannot be stored the value still holds in this process: one prompt per run at most.
        static_cast<void>(m_defaults.set(didPromptKey, true));
    }
    m_windowAccess.reopen(application);
    m_running.activate(application);
}

void GroupActions::openAll(const QList<AppItem> &apps)
{
    openAll(apps.size(), [this, apps](qsizetype i) { openApp(apps[i].bundleID); });
}

void GroupActions::openAll(qsizetype count, const std::function<void(qsizetype)> &open)
{
    for (qsizetype i = 0; i < count; ++i) {
        m_scheduler.detached(i * openInterval, [self = QPointer(this), open, i] {
            if (self)
                open(i);
        });
    }
}

void GroupActions::hideAll(const QList<AppItem> &apps, const InstanceDone &done)
{
    for (const RunningApplication &instance : instancesOf(apps)) {
        RunningApplications::Completion told;
        if (done)
            told = [done, instance](const Status &outcome) { done(instance, outcome); };
        m_running.hide(instance, std::move(told));
    }
}

void GroupActions::quitAll(const QList<AppItem> &apps)
{
    for (const RunningApplication &instance : instancesOf(apps))
        m_running.terminate(instance);
}

void GroupActions::forceQuitAll(const QList<AppItem> &apps)
{
    for (const RunningApplication &instance : instancesOf(apps))
        m_running.forceTerminate(instance);
}

QList<RunningApplication> GroupActions::instancesOf(const QList<AppItem> &apps) const
{
    QSet<QString> ids;
    for (const AppItem &app : apps)
        ids.insert(m_workspace.resolved(app.bundleID));
    QList<RunningApplication> instances = m_running.runningApplications();
    instances.removeIf([&ids](const RunningApplication &application) {
        return application.bundleIdentifier.isEmpty() || !ids.contains(application.bundleIdentifier);
    });
    return instances;
}

} // namespace cobblet
