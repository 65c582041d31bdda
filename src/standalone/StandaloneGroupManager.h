#pragma once

#include "platform/Bundle.h"
#include "standalone/AgentProcesses.h"
#include "standalone/BundleBuilder.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QThreadPool>

#include <functional>
#include <memory>

namespace cobblet {

class ConfigManager;
class Dialogs;
class DistributedNotifications;
class Pasteboard;
class RunningApplications;
class Scheduler;
class Workspace;

/// Keeps the agents of standalone groups: builds their bundles, brings them up to date when a group or the program
/// changes, and takes them away; one whose group comes back is built again. Main thread; files and tools are worked
/// with on a thread of its own, one step at a time, so that every call returns at once.
class StandaloneGroupManager : public QObject {
    Q_OBJECT
public:
    struct Services {
        Bundle bundle;           ///< the running program's own
        QString agentsDirectory; ///< where the bundles are put
        BundleTools tools;
        LaunchRegistry &registry;
        GroupIconProvider &icons;
        ConfigManager &config;
        RunningApplications &running;
        Workspace &workspace;
        DistributedNotifications &notifications;
        Dialogs &dialogs;
        Pasteboard &pasteboard;
        Scheduler &scheduler;
    };

    /// Makes the agents' directory.
    explicit StandaloneGroupManager(Services services);
    /// Ends the tool that runs; the build that it was part of is taken back.
    ~StandaloneGroupManager() override;

    using Done = std::function<void(const BuildStatus &)>;

    /// Clears what was left half done, removes agents of groups that are no longer standalone, and rebuilds those
    /// that another build of the program made. To be called once.
    void start();

    /// Builds the group's bundle, and starts the agent in the background when `launch` is set; once it runs, or at
    /// once without `launch`, the group is standalone. A failure to build changes nothing.
    void install(const AppGroup &group, bool launch, Done done = {});
    /// The same for a person, who is told why no bundle could be built.
    void attach(const AppGroup &group, bool launch, Done done = {});
    /// Opens the group's agent; a bundle that is missing, or older than the program, is built first.
    void open(const QUuid &group);
    /// Builds the group's bundle anew, if it has one.
    void refreshIcon(const AppGroup &group);
    /// Removes the agents of groups that are deleted or no longer standalone.
    void reconcile();
    /// Asks the group's running agent to draw its tile anew.
    void postRepaint(const QUuid &group);

    /// Identifies the running executable: its time of modification in seconds since 1970, or "unknown".
    const QString &binaryStamp() const { return m_stamp; }

signals:
    /// Nothing is left to be done on the other thread: what it took of memory can go back.
    void idle();

private:
    /// Does `work` on the other thread and then `then` with what it gave, on this one.
    template<class Work, class Then>
    void inBackground(Work work, Then then);
    /// The same for work of which only a failure is worth telling, in the log.
    void inBackground(std::function<Status()> work);

    /// Builds those whose bundle is missing or of another build of the program.
    void refreshOutdated(const QList<AppGroup> &groups);
    void follow();
    void refreshChanged();
    void replaced(const QList<AgentBundle> &before, const QString &destination, const AppGroup &group);
    void finishInstall(const AppGroup &group, const QString &destination, bool launch, Done done);
    /// Once the desktop has taken in the new bundle.
    void repaintSoon(const QUuid &group);
    void alert(const AppGroup &group, const BuildFailure &failure);

    const Services m_services;
    const QString m_stamp;
    BundleBuilder m_builder;
    AgentProcesses m_agents;
    QMetaObject::Connection m_agentQuitObserver;
    QThreadPool m_worker;
    int m_steps = 0;                     ///< that are not done
    QHash<QUuid, AppGroup> m_standalone; ///< the standalone groups as they were last seen
    QHash<QUuid, AppGroup> m_changed;    ///< those to be refreshed
    QList<QUuid> m_installing;           ///< groups that are about to be standalone, one for each installation
    QSet<QUuid> m_opening;
    bool m_alertIsOpen = false;
};

} // namespace cobblet
