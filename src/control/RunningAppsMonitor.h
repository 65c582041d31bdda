#pragma once

#include <QObject>
#include <QSet>
#include <QString>

namespace cobblet {

class RunningApplications;

/// The bundle identifiers of the applications that run right now. Main thread only.
class RunningAppsMonitor : public QObject {
    Q_OBJECT
public:
    explicit RunningAppsMonitor(RunningApplications &running, QObject *parent = nullptr);

    const QSet<QString> &runningBundleIDs() const { return m_runningBundleIDs; }

signals:
    void runningBundleIDsChanged();

private:
    QSet<QString> m_runningBundleIDs;
};

} // namespace cobblet
