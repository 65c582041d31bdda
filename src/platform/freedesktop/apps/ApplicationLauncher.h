#pragma once

#include "platform/Workspace.h"
#include "platform/freedesktop/apps/InstalledApplications.h"
#include "platform/freedesktop/apps/ProcessEnd.h"
#include "platform/freedesktop/apps/StartupNotification.h"

#include <QMap>
#include <QObject>
#include <QStringList>

#include <memory>

namespace cobblet {

class SessionBus;
class X11Connection;

/// Starts applications as the Desktop Entry rules say: over D-Bus where the entry asks for it, else its command,
/// never through a shell; in a session (and systemd scope) of their own and with the environment that this
/// process was itself started with. Main thread; nothing waits for the application.
class ApplicationLauncher : public QObject {
    Q_OBJECT
public:
    /// Either may be null, and outlives the launcher.
    ApplicationLauncher(X11Connection *x11, SessionBus *bus, QObject *parent = nullptr);
    ~ApplicationLauncher() override;

    /// `done` runs later with the outcome. `uris` are handed to an application that takes some.
    void launch(const InstalledEntry &entry, const QStringList &uris, Workspace::Completion done);
    /// Runs this command in place of the entry's own.
    void start(const InstalledEntry &entry, const QStringList &command, const Workspace::Completion &done);
    /// Whether applications can be reached over the bus.
    bool hasBus() const;
    /// Tells an application on the bus that its icon was clicked. Failures are ignored.
    void activate(const QString &id);

signals:
    /// A process of the application was started, or is known to serve it on the bus. `inTerminal`: the process
    /// is a terminal that shows the application.
    void launched(const QString &id, qint64 pid, bool inTerminal);

private:
    void launchOverBus(const InstalledEntry &entry, const QStringList &uris, const Workspace::Completion &done);
    void launchCommand(const InstalledEntry &entry, const QStringList &uris, const Workspace::Completion &done);
    void started(const InstalledEntry &entry, qint64 pid, const QString &startupId);

    SessionBus *const m_bus;
    StartupNotification m_startup;
    QMap<qint64, ProcessEnd *> m_children; ///< watched so that none becomes a zombie
};

/// What a launched application gets of this process's environment at its own start: nothing that speaks of
/// this process alone. "NAME=value" each.
QByteArrayList launchEnvironment(const QByteArrayList &own);

/// The command that shows a program in a terminal, less the program; empty without a terminal emulator.
QStringList terminalCommand();

} // namespace cobblet
