#pragma once

#include "platform/RunningApplications.h"

#include <QDBusServiceWatcher>

namespace cobblet {

class InstalledApplications;
class SessionBus;

/// Finds applications that run without a window, which the display does not tell of: by the names that they own on
/// the session bus (their identifier, or that of an item in a tray) and by the scopes that the user's service manager
/// gave them. Main thread.
class SessionApplications : public QObject {
    Q_OBJECT
public:
    /// The references outlive this object. `scopes` is the folder of the control groups of applications.
    SessionApplications(SessionBus &bus, const InstalledApplications &installed, const QString &scopes = ownScopes());

    /// Asks once; from then on items that come into the tray are told of too.
    void look();

signals:
    /// It may be one that is known already. `by` is the rule that found it.
    void found(const cobblet::RunningApplication &application, QLatin1String by);

private:
    static QString ownScopes();
    void consider(const QString &name);
    void lookIntoScopes();

    SessionBus &m_bus;
    const InstalledApplications &m_installed;
    const QString m_scopes;
    QDBusServiceWatcher m_watcher;
};

} // namespace cobblet
