#pragma once

#include "platform/Availability.h"
#include "platform/Result.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace cobblet {

/// An application that is installed on this desktop.
struct InstalledApplication {
    QString bundleID; ///< on freedesktop the desktop-file id without ".desktop"
    QString name;     ///< the localised display name
    QString path;     ///< the application's file: a ".desktop" file or a ".app" bundle
    /// Of the desktop's menu, as its standard names them ("Graphics", "WebBrowser"); empty where it has none.
    QStringList categories = {};

    bool operator==(const InstalledApplication &) const = default;
};

/// The applications installed on this desktop, and how to open and show them. Main thread, except icon().
class Workspace : public QObject {
    Q_OBJECT
public:
    using Completion = std::function<void(const Status &)>;

    /// Whether applications are found.
    virtual Availability availability() const = 0;
    /// What else this desktop permits around applications, such as word of waking from sleep. The answer comes at
    /// once or later, on the main thread.
    virtual void examine(CapabilitiesAnswer answer) { answer({}); }

    /// This desktop's counterpart of a well-known identifier ("com.apple.mail"); any other identifier, and
    /// one without a counterpart here, comes back unchanged. Never stored.
    virtual QString resolved(const QString &bundleID) const = 0;

    /// The installed application with this identifier (well-known ones are resolved first); absent when
    /// none is installed.
    virtual std::optional<InstalledApplication> application(const QString &bundleID) const = 0;

    /// The application that a file on disk stands for, or why it stands for none.
    virtual Result<InstalledApplication> applicationAt(const QString &path) const = 0;

    /// Asks for a launch with activation and returns at once. `done`, when given, runs later on the main
    /// thread with the outcome; a failure is also logged with the application's name and the cause.
    /// `activationToken` is the desktop's, of the person's act that caused the launch; empty when there is none.
    virtual void open(const QString &bundleID, Completion done = {}, const QString &activationToken = {}) = 0;

    /// Starts the program of a bundle with these arguments, without giving it the focus; returns at once, as open()
    /// does.
    virtual void openBundle(const QString &path, const QStringList &arguments, Completion done = {}) = 0;

    /// Whether an application opens addresses of this kind ("shortcuts://").
    virtual bool opensUrl(const QString &url) const = 0;
    /// Hands the address to the application that opens its kind; returns at once, as open() does.
    virtual void openUrl(const QString &url, Completion done = {}) = 0;

    /// Shows the application's file in the desktop's file manager; returns at once, as open() does.
    virtual void reveal(const QString &bundleID, Completion done = {}) = 0;

    /// The application's icon in a square of `points` logical pixels at `devicePixelRatio`, which is the generic one
    /// where it has none; a null image when no such application is installed. Any thread.
    virtual QImage icon(const QString &bundleID, int points, qreal devicePixelRatio) const = 0;

    /// The icon that stands for any application. Any thread.
    virtual QImage genericIcon(int points, qreal devicePixelRatio) const = 0;

    /// The applications that a person would look for among those installed, in no order. They are read in the
    /// background; the answer comes later, on the main thread.
    virtual void listApplications(std::function<void(const QList<InstalledApplication> &)> answer) = 0;

    /// Where a file chooser for applications starts.
    virtual QString applicationsFolder() const = 0;

signals:
    /// Applications were added, replaced, hidden or removed; look-ups and resolved() answer afresh.
    void installedApplicationsChanged();
    /// The machine woke from sleep.
    void didWake();
};

} // namespace cobblet
