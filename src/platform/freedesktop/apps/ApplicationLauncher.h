#pragma once

#include "platform/Workspace.h"
#include "platform/freedesktop/apps/InstalledApplications.h"
#include "platform/freedesktop/apps/StartupNotification.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include <QObject>
#include <QStringList>

namespace cobblet {

class X11Connection;

/// What a launch is to be like.
struct Launch {
    QStringList uris = {};                ///< handed to an application that takes some
    QString activationToken = {};         ///< of what caused it; one is minted when it is empty
    Workspace::Completion done = nullptr; ///< runs later with the outcome; may be null
};

/// Starts applications as the Desktop Entry rules say: over D-Bus where the entry asks for it, else its command,
/// never through a shell; in a session (and systemd scope) of their own and with the environment that this
/// process was itself started with. Main thread; nothing waits for the application.
class ApplicationLauncher : public QObject {
    Q_OBJECT
public:
    /// Either may be null, and outlives the launcher.
    ApplicationLauncher(X11Connection *x11, SessionBus *bus) : m_bus(bus), m_startup(x11) {}

    void launch(const InstalledEntry &entry, const Launch &launch = {});
    /// Runs this command in place of the entry's own.
    void start(const InstalledEntry &entry, const QStringList &command, const Launch &launch);
    /// Logs a failure, and tells the outcome later.
    void finish(const Workspace::Completion &done, const Status &outcome);
    /// Whether applications can be reached over the bus.
    bool hasBus() const { return hasSessionBus(m_bus); }
    /// Whether each application gets a systemd scope, with limits and accounts of its own.
    bool givesScopes() const;
    /// Tells an application on the bus that its icon was clicked. Failures are ignored.
    void activate(const QString &id);

signals:
    /// An application is asked to show itself, and the focus is meant for it.
    void launching();
    /// A process of the application was started, or is known to serve it on the bus. `inTerminal`: the process
    /// is a terminal that shows the application.
    void launched(const QString &id, qint64 pid, bool inTerminal);

private:
    void launchOverBus(const InstalledEntry &entry, const Launch &launch);
    void launchCommand(const InstalledEntry &entry, const Launch &launch);
    QString tokenFor(const Launch &launch)
    {
        return launch.activationToken.isEmpty() ? m_startup.mint() : launch.activationToken;
    }
    void moveToOwnScope(const QString &id, qint64 pid);

    SessionBus *const m_bus;
    StartupNotification m_startup;
};

/// What a launched application gets of this process's environment at its own start: nothing that speaks of
/// this process alone. "NAME=value" each.
QByteArrayList launchEnvironment(const QByteArrayList &own);

/// The name of the systemd scope that a launched application gets.
QString scopeName(const QString &id, qint64 pid);

} // namespace cobblet
