#pragma once

#include "platform/RunningApplications.h"
#include "platform/freedesktop/apps/Processes.h"

#include <QDBusServiceWatcher>
#include <QMap>

namespace cobblet {

class SessionBus;

/// The running applications, and among them the applications of single groups, which have no window most of the time:
/// each is known by the name that it owns on the session bus. Without a bus they are known as any other application
/// is.
class AgentApplications : public RunningApplications {
    Q_OBJECT
public:
    /// Identifiers of agents begin with `prefix`, which ends with a dot. The references outlive this object.
    AgentApplications(RunningApplications &others, SessionBus &bus, const QString &prefix);

    QList<RunningApplication> runningApplications() const override;
    Availability availability() const override { return m_others.availability(); }
    Recognition recognition(const RunningApplication &application) const override
    {
        return isAgent(application)
                   ? Recognition{QStringLiteral("It has the name of a group's application on the session bus."), {}}
                   : m_others.recognition(application);
    }
    QList<Correction> corrections() const override { return m_others.corrections(); }
    Status correct(const Correction &correction) override { return m_others.correct(correction); }
    void hide(const RunningApplication &application, Completion done) override
    {
        m_others.hide(application, std::move(done));
    }
    void unhide(const RunningApplication &application) override { m_others.unhide(application); }
    void activate(const RunningApplication &application) override { m_others.activate(application); }
    void terminate(const RunningApplication &application) override;
    void forceTerminate(const RunningApplication &application) override;

private:
    enum class Found { Running, Launched };

    bool isAgent(const RunningApplication &application) const;
    QString identifierOf(const QString &name) const;
    void askForOwner(const QString &name, Found found);
    bool signalAgent(const RunningApplication &application, int signal);

    RunningApplications &m_others;
    SessionBus &m_bus;
    const QString m_prefix;
    QDBusServiceWatcher m_watcher;
    QMap<QString, ProcessEntry> m_agents; ///< by the name on the bus
};

} // namespace cobblet
