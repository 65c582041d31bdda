#pragma once

#include "model/AppGroup.h"
#include "platform/FileLock.h"
#include "platform/RunningApplications.h"
#include "platform/Scheduler.h"

#include <QDate>
#include <QMap>
#include <QObject>
#include <QSet>

#include <chrono>
#include <optional>

namespace cobblet {

class Workspace;

/// Counts application launches, and which applications are launched within one session. The table of pairs also holds
/// the sessions of the last weeks, each under the time of its start ("@2026-11-22 09:41") in place of an identifier,
/// with the launches of its applications. Kept in two files of its folder, which several processes add to: each
/// writes what it has counted a moment after a burst of launches. A launch that all of them see is counted by one of
/// them. Identifiers are kept as they were told, not as this desktop resolves them. Main thread only.
class UsageTracker : public QObject {
    Q_OBJECT
public:
    using Counts = QMap<QString, qint64>;
    using Pairs = QMap<QString, Counts>;

    UsageTracker(const QString &folder, RunningApplications &running, Workspace &workspace, Scheduler &scheduler,
                 QObject *parent = nullptr);
    /// Writes what is still pending.
    ~UsageTracker() override;

    /// Counts a launch that no launch signal tells of.
    void recordLaunch(const QString &bundleID);

    /// The launches of each application: identifiers that stand for the same one on this desktop count together,
    /// under the one of them that has most.
    Counts counts() const;
    const Pairs &cooccurrence() const { return m_pairs.table; }
    /// The day on which a session began whose launches stand under this key of the table above; absent for the
    /// identifier of an application.
    static QDate sessionDay(const QString &key);

    /// The installed applications with most launches, most first, as the synthetic Most Used group; equal
    /// counts in the order of their identifiers.
    AppGroup mostUsed(int limit = 10) const;

    /// Writes pending changes now.
    void flush();

signals:
    void countsChanged();

private:
    /// One of the two tables, its file, and its save that is still to come.
    template<class Table>
    struct Saved {
        QString path;
        std::chrono::milliseconds delay; ///< from the last launch to the save
        Table table;                     ///< what the file held when it was last read, and `unsaved`
        Table unsaved = {};              ///< what was counted here since
        Scheduler::Handle pending = nullptr;
        bool failureLogged = false;
    };

    void handleAppLaunch(const RunningApplication &application, RunningApplications::Origin origin);
    bool isExcluded(const QString &bundleID) const;
    /// Whether it is this process that counts what all of them see.
    bool countsForAll();
    void joinSession(const QString &bundleID);
    template<class Table>
    void scheduleSave(Saved<Table> &file, std::chrono::milliseconds delay);
    template<class Table>
    void save(Saved<Table> &file);

    RunningApplications &m_running;
    Workspace &m_workspace;
    Scheduler &m_scheduler;
    const QString m_folder;
    Saved<Counts> m_counts;
    Saved<Pairs> m_pairs;
    std::optional<FileLock> m_counter; ///< held by the process that counts for all
    QSet<QString> m_sessionApps;
    QString m_session; ///< its key in the table of pairs
    Scheduler::Handle m_sessionEnd;
};

} // namespace cobblet
