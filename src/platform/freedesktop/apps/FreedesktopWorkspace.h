#pragma once

#include "platform/Workspace.h"
#include "platform/freedesktop/apps/ApplicationLauncher.h"
#include "platform/freedesktop/apps/IconFiles.h"
#include "platform/freedesktop/apps/InstalledApplications.h"
#include "platform/freedesktop/apps/WellKnownApplications.h"

#include <QThreadPool>

namespace cobblet {

class SessionBus;
class X11Connection;

/// The applications of a freedesktop.org desktop. Nothing is listed, connected or read before it is asked for.
class FreedesktopWorkspace : public Workspace {
    Q_OBJECT
public:
    /// `x11` and `bus` may be null and must outlive the workspace. Without `svgProgram`, a full path, icons that are
    /// SVG documents are not drawn.
    explicit FreedesktopWorkspace(X11Connection *x11, SessionBus *bus = nullptr, const QString &svgProgram = {});

    Availability availability() const override;
    void examine(CapabilitiesAnswer answer) override;
    QString resolved(const QString &bundleID) const override;
    std::optional<InstalledApplication> application(const QString &bundleID) const override;
    Result<InstalledApplication> applicationAt(const QString &path) const override;
    void open(const QString &bundleID, Completion done = {}, const QString &activationToken = {}) override;
    void openBundle(const QString &path, const QStringList &arguments, Completion done) override;
    bool opensUrl(const QString &url) const override;
    void openUrl(const QString &url, Completion done) override;
    void reveal(const QString &bundleID, Completion done = {}) override;
    QImage icon(const QString &bundleID, int points, qreal devicePixelRatio) const override;
    QImage genericIcon(int points, qreal devicePixelRatio) const override;
    void listApplications(std::function<void(const QList<InstalledApplication> &)> answer) override;
    QString applicationsFolder() const override;

    /// For the backend's other parts.
    /// What the application's icon is called: a theme's name or a full path; empty when it has none. Any thread.
    QString iconName(const QString &bundleID) const;
    const InstalledApplications &installed() const { return m_installed; }
    ApplicationLauncher &launcher() { return m_launcher; }

protected:
    void connectNotify(const QMetaMethod &signal) override;

private slots:
    void prepareForSleep(bool aboutToSleep);

private:
    void followSleep();
    Availability iconAvailability() const;
    Availability launchAvailability() const;
    void openFolder(const QString &folder, const Completion &done);

    SessionBus *const m_bus;
    const QString m_svgProgram;
    InstalledApplications m_installed;
    WellKnownApplications m_wellKnown;
    IconFiles m_icons;
    ApplicationLauncher m_launcher;
    bool m_followsSleep = false;
    QThreadPool m_reader; ///< last: it uses the others, and is waited for
};

} // namespace cobblet
