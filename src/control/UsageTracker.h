#pragma once

#include "model/AppGroup.h"
#include "platform/Scheduler.h"

#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QSet>

namespace cobblet {

class RunningApplications;
class Workspace;

/// Counts application launches, and which applications are launched within one session. Kept in two files of
/// its folder, written a moment after a burst of launches. Main thread only.
class UsageTracker : public QObject {
    Q_OBJECT
public:
    using Counts = QMap<QString, qint64>;

    UsageTracker(const QString &folder, RunningApplications &running, Workspace &workspace, Scheduler &scheduler,
                 QObject *parent = nullptr);
    /// Writes what is still pending.
    ~UsageTracker() override;

    /// Counts a launch that no launch signal tells of.
    void recordLaunch(const QString &bundleID);

    const Counts &counts() const { return m_counts; }
    const QMap<QString, Counts> &cooccurrence() const { return m_cooccurrence; }

    /// The installed applications with most launches, most first, as the synthetic Most Used group; equal
    /// counts in the order of their identifiers.
    AppGroup mostUsed(int limit = 10) const;

    /// Writes pending changes now.
    void flush();

signals:
    void countsChanged();

private:
    /// One of the two files, and its save that is still to come.
    struct SavedFile {
        QString path;
        std::chrono::milliseconds delay; ///< from the last launch to the save
        std::function<QJsonObject()> content;
        Scheduler::Handle pending = nullptr;
        bool failureLogged = false;
    };

    void scheduleSave(SavedFile &file);
    void save(SavedFile &file);

    Workspace &m_workspace;
    Scheduler &m_scheduler;
    QString m_lockPath;
    SavedFile m_countsFile;
    SavedFile m_cooccurrenceFile;
    Counts m_counts;
    QMap<QString, Counts> m_cooccurrence;
    QSet<QString> m_sessionApps;
    Scheduler::Handle m_sessionEnd;
};

} // namespace cobblet
