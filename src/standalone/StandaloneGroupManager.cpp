#include "standalone/StandaloneGroupManager.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "model/Identifiers.h"
#include "model/Notifications.h"
#include "platform/Dialogs.h"
#include "platform/DistributedNotifications.h"
#include "platform/LaunchRegistry.h"
#include "platform/Pasteboard.h"
#include "platform/Scheduler.h"
#include "platform/Workspace.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QPointer>

#include <algorithm>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(log, "com.vantor.cobblet.standalone")

/// By then the desktop has read the new icon.
constexpr auto repaintDelay = 3000ms;
/// Several changes in a row, as when applications are dragged about, are one.
constexpr auto changeDelay = 500ms;
/// A thread that has nothing to do is not kept.
constexpr auto idleThread = 1000ms;

QString stampOf(const Bundle &bundle)
{
    const QFileInfo info(bundle.executable);
    const QDateTime modified = bundle.executable.isEmpty() ? QDateTime() : info.lastModified();
    return modified.isValid() ? QString::number(modified.toSecsSinceEpoch()) : QStringLiteral("unknown");
}

/// Whether the difference shows in the application: in its name, its icon or its menu.
bool looksAlike(AppGroup a, const AppGroup &b)
{
    a.isPinned = b.isPinned;
    a.isStandalone = b.isStandalone;
    a.popupColumns = b.popupColumns;
    a.popupMaxRows = b.popupMaxRows;
    a.popupShowsTitles = b.popupShowsTitles;
    a.popupAnchor = b.popupAnchor;
    return a == b;
}

/// Whether there is a new bundle, and at most its agent did not start.
bool isBuilt(const BuildStatus &status)
{
    return status || std::holds_alternative<LaunchFailed>(status.cause());
}

QHash<QUuid, AppGroup> standaloneGroups(const ConfigManager &config)
{
    QHash<QUuid, AppGroup> groups;
    for (const AppGroup &group : config.groups())
        if (group.isStandalone)
            groups.insert(group.id, group);
    return groups;
}

} // namespace

StandaloneGroupManager::StandaloneGroupManager(Services services)
    : m_services(std::move(services)), m_stamp(stampOf(m_services.bundle)),
      m_builder({m_services.bundle.path, m_stamp, AgentsFolder(m_services.agentsDirectory), m_services.tools,
                 m_services.registry, m_services.icons}),
      m_agents(m_services.running, m_services.scheduler), m_standalone(standaloneGroups(m_services.config))
{
    m_worker.setMaxThreadCount(1); // one step after the other, in the order in which they were asked for
    m_worker.setExpiryTimeout(int(idleThread.count()));
    m_builder.folder().make();
    m_agentQuitObserver = connect(&m_agents, &AgentProcesses::ended, this, [this](const QUuid &id) {
        if (const AppGroup *group = m_services.config.group(id))
            refreshIcon(*group);
    });
    connect(&m_services.config, &ConfigManager::groupsChanged, this, &StandaloneGroupManager::follow);
}

StandaloneGroupManager::~StandaloneGroupManager()
{
    disconnect(m_agentQuitObserver);
    m_worker.clear();
    m_builder.stop();
    m_worker.waitForDone();
}

template<class Work, class Then>
void StandaloneGroupManager::inBackground(Work work, Then then)
{
    ++m_steps;
    m_worker.start([this, work = std::move(work), then = std::move(then)] {
        auto result = work();
        QMetaObject::invokeMethod(
            this,
            [this, then, result = std::move(result)] {
                then(result);
                if (--m_steps == 0)
                    emit idle();
            },
            Qt::QueuedConnection);
    });
}

void StandaloneGroupManager::inBackground(std::function<Status()> work)
{
    inBackground(std::move(work), [](const Status &done) {
        if (!done)
            qCWarning(log).noquote() << done.error();
    });
}

// Start-up

void StandaloneGroupManager::start()
{
    inBackground([this] { return m_builder.recover(); });
    reconcile();
    refreshOutdated(m_standalone.values());
}

void StandaloneGroupManager::reconcile()
{
    inBackground(
        [this] {
            return std::pair(m_builder.folder().bundles(), m_services.registry.registered(identifier::agentPrefix));
        },
        [this](const std::pair<QList<AgentBundle>, QStringList> &found) {
            const auto isStandalone = [this](const QUuid &id) {
                const AppGroup *group = m_services.config.group(id);
                return (group && group->isStandalone) || m_installing.contains(id);
            };
            QSet<QString> removed;
            for (const AgentBundle &bundle : found.first) {
                if (isStandalone(bundle.group->id))
                    continue;
                qCInfo(log).noquote()
                    << QStringLiteral("removing stranded synthetic agent: %1").arg(QFileInfo(bundle.path).fileName());
                removed.insert(agentIdentifier(bundle.group->id));
                m_agents.end(bundle.group->id, [] {});
                inBackground([this, bundle] { return m_builder.remove(bundle); });
            }
            // A registration whose bundle is gone, for instance because a person deleted it.
            for (const QString &identifier : found.second)
                if (const auto id = groupOfAgent(identifier);
                    id && !isStandalone(*id) && !removed.contains(identifier))
                    inBackground([this, identifier] { return m_services.registry.unregisterBundle(identifier); });
        });
}

void StandaloneGroupManager::refreshOutdated(const QList<AppGroup> &groups)
{
    if (groups.isEmpty())
        return;
    inBackground(
        [this, groups] {
            QList<AppGroup> outdated;
            for (const AppGroup &group : groups) {
                const auto bundle = m_builder.folder().bundleOf(group);
                if (!bundle || bundle->stamp != m_stamp)
                    outdated.append(group);
            }
            return outdated;
        },
        [this](const QList<AppGroup> &outdated) {
            for (const AppGroup &group : outdated) {
                const bool wasRunning = m_agents.isRunning(group.id);
                m_agents.end(group.id, [this, group, wasRunning] { attach(group, wasRunning); });
            }
        });
}

// Building

void StandaloneGroupManager::install(const AppGroup &group, bool launch, Done done)
{
    m_installing.append(group.id);
    const Done finish = [this, id = group.id, done = std::move(done)](const BuildStatus &status) {
        m_installing.removeOne(id);
        if (isBuilt(status) && !m_services.config.group(id))
            reconcile(); // it was deleted meanwhile
        if (done)
            done(status);
    };
    const QString destination = m_builder.folder().destination(group);
    inBackground(
        [this, group, destination] {
            const QList<AgentBundle> before = m_builder.folder().bundles();
            return std::pair(m_builder.sync(group, destination), before);
        },
        [=, this](const std::pair<BuildStatus, QList<AgentBundle>> &built) {
            if (!built.first)
                return finish(built.first);
            replaced(built.second, destination, group);
            // The old executable must not go on with the old icon.
            m_agents.end(group.id, [=, this] { finishInstall(group, destination, launch, finish); });
        });
}

void StandaloneGroupManager::replaced(const QList<AgentBundle> &before, const QString &destination,
                                      const AppGroup &group)
{
    for (const AgentBundle &bundle : before) {
        const bool isOurs = bundle.group->id == group.id;
        if (bundle.path == destination && !isOurs)
            // Two names that make one file name: the registration would start the other group from now on.
            inBackground(
                [this, bundle] { return m_services.registry.unregisterBundle(agentIdentifier(bundle.group->id)); });
        else if (bundle.path != destination && isOurs)
            // It had another name.
            inBackground([this, path = bundle.path] { return m_builder.folder().discard(path); });
    }
}

void StandaloneGroupManager::finishInstall(const AppGroup &group, const QString &destination, bool launch, Done done)
{
    inBackground(
        [this, group, destination] {
            m_builder.registerBundle(destination, group);
            return true;
        },
        [=, this](bool) {
            repaintSoon(group.id);
            const auto succeed = [this, group, done] {
                m_services.config.setStandalone(group.id, true);
                const AppGroup *now = m_services.config.group(group.id);
                if (now && !looksAlike(*now, group))
                    refreshIcon(*now);
                done({});
            };
            if (!launch)
                return succeed();
            m_services.workspace.openBundle(destination, {QStringLiteral("--service")},
                                            [self = QPointer(this), succeed, done](const Status &opened) {
                                                if (!self)
                                                    return;
                                                if (opened)
                                                    return succeed();
                                                qCWarning(log).noquote()
                                                    << QStringLiteral("launch failed: %1").arg(opened.error());
                                                done(LaunchFailed{opened.error()});
                                            });
        });
}

void StandaloneGroupManager::attach(const AppGroup &group, bool launch, Done done)
{
    install(group, launch, [this, group, done = std::move(done)](const BuildStatus &status) {
        if (!isBuilt(status)) {
            qCWarning(log).noquote() << QStringLiteral("detach failed for %1: %2").arg(group.name, status.error());
            alert(group, status.cause());
        }
        if (done)
            done(status);
    });
}

void StandaloneGroupManager::open(const QUuid &id)
{
    const AppGroup *group = m_services.config.group(id);
    if (!group || m_opening.contains(id))
        return;
    m_opening.insert(id);
    const Done show = [this, id](const BuildStatus &built) {
        m_opening.remove(id);
        const AppGroup *group = m_services.config.group(id);
        if (!built || !group)
            return;
        m_services.workspace.open(
            agentIdentifier(id), [self = QPointer(this), name = group->name](const Status &opened) {
                if (self && !opened)
                    self->m_services.dialogs.ask({.message = QStringLiteral("“%1” can’t be opened.").arg(name),
                                                  .informativeText = opened.error(),
                                                  .buttons = {{QStringLiteral("OK")}}});
            });
    };
    inBackground([this, wanted = *group] { return m_builder.folder().bundleOf(wanted); },
                 [this, wanted = *group, show](const std::optional<AgentBundle> &bundle) {
                     if (wanted.isStandalone && bundle && bundle->identifier == agentIdentifier(wanted.id) &&
                         bundle->stamp == m_stamp)
                         return show({});
                     attach(wanted, false, show); // opening it starts it
                 });
}

void StandaloneGroupManager::refreshIcon(const AppGroup &group)
{
    inBackground(
        [this, group]() -> std::optional<BuildStatus> {
            const auto bundle = m_builder.folder().bundleOf(group);
            if (!bundle)
                return std::nullopt;
            const BuildStatus built = m_builder.sync(group, bundle->path);
            if (built)
                m_builder.registerBundle(bundle->path, group);
            return built;
        },
        [this, group](const std::optional<BuildStatus> &built) {
            if (built && !*built)
                qCWarning(log).noquote()
                    << QStringLiteral("refreshIcon failed for %1: %2").arg(group.name, built->error());
            else if (built)
                repaintSoon(group.id);
        });
}

// What changes elsewhere

void StandaloneGroupManager::follow()
{
    const QHash<QUuid, AppGroup> before = std::exchange(m_standalone, standaloneGroups(m_services.config));
    const bool lost = std::any_of(before.keyBegin(), before.keyEnd(),
                                  [this](const QUuid &id) { return !m_standalone.contains(id); });
    if (lost)
        reconcile();
    const bool waits = !m_changed.isEmpty();
    QList<AppGroup> arrived; // one that was deleted came back, or another process made it standalone
    for (const AppGroup &group : std::as_const(m_standalone)) {
        const auto known = before.constFind(group.id);
        if (known == before.cend() && !m_installing.contains(group.id))
            arrived.append(group);
        else if (known != before.cend() && !looksAlike(*known, group))
            m_changed.insert(group.id, group);
    }
    refreshOutdated(arrived);
    if (!waits && !m_changed.isEmpty())
        m_services.scheduler.detached(changeDelay, [self = QPointer(this)] {
            if (self)
                self->refreshChanged();
        });
}

void StandaloneGroupManager::refreshChanged()
{
    for (const AppGroup &group : std::exchange(m_changed, {}))
        if (m_standalone.contains(group.id))
            refreshIcon(m_standalone.value(group.id));
}

void StandaloneGroupManager::repaintSoon(const QUuid &group)
{
    m_services.scheduler.detached(repaintDelay, [self = QPointer(this), group] {
        if (self && self->m_agents.isRunning(group))
            self->postRepaint(group);
    });
}

void StandaloneGroupManager::postRepaint(const QUuid &group)
{
    if (const Status posted = m_services.notifications.post(notification::repaintTile, uuidText(group)); !posted)
        qCWarning(log).noquote() << posted.error();
}

// Failures

void StandaloneGroupManager::alert(const AppGroup &group, const BuildFailure &failure)
{
    if (m_alertIsOpen)
        return; // one is enough where nine groups fail for one reason; the log has them all
    m_alertIsOpen = true;
    const QString text = failureDetails(group, failure, m_services.bundle, m_services.tools);
    const bool isOfSigning = std::holds_alternative<CodesignError>(failure);
    const int copy = 1;
    m_services.dialogs.ask(
        {.message = QStringLiteral("Couldn't make “") + group.name + QStringLiteral("” a standalone app"),
         .informativeText =
             (isOfSigning
                  ? QStringLiteral("macOS requires every app to be code-signed, and the signing step failed on "
                                   "this Mac, so nothing was installed.\n\n")
                  : QString()) +
             text,
         .buttons = {{QStringLiteral("OK")}, {QStringLiteral("Copy Details")}},
         .cancelButton = 0,
         .warning = true},
        [self = QPointer(this), text, copy](std::optional<int> button) {
            if (!self)
                return;
            self->m_alertIsOpen = false;
            if (button == copy)
                self->m_services.pasteboard.setText(text);
        });
}

} // namespace cobblet
