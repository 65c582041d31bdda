#include "control/RunningAppsMonitor.h"

#include "platform/RunningApplications.h"

namespace cobblet {

RunningAppsMonitor::RunningAppsMonitor(RunningApplications &running, QObject *parent) : QObject(parent)
{
    for (const RunningApplication &application : running.runningApplications())
        if (!application.bundleIdentifier.isEmpty())
            m_runningBundleIDs.insert(application.bundleIdentifier);

    connect(&running, &RunningApplications::didLaunch, this, [this](const RunningApplication &application) {
        const QString &id = application.bundleIdentifier;
        if (id.isEmpty() || m_runningBundleIDs.contains(id))
            return;
        m_runningBundleIDs.insert(id);
        emit runningBundleIDsChanged();
    });
    connect(&running, &RunningApplications::didTerminate, this, [this](const RunningApplication &application) {
        if (m_runningBundleIDs.remove(application.bundleIdentifier))
            emit runningBundleIDsChanged();
    });
}

} // namespace cobblet
