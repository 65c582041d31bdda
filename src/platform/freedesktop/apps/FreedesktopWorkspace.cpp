#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

#include "platform/InfoPlist.h"
#include "platform/freedesktop/apps/DesktopBus.h"
#include "platform/freedesktop/apps/IconImage.h"

#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QLoggingCategory>
#include <QMetaMethod>
#include <QUrl>

namespace cobblet {

Q_LOGGING_CATEGORY(lcWorkspace, "cobblet.applications")

namespace {

constexpr qsizetype maximumPath = 4096;
constexpr qsizetype maximumText = 512;

/// The toolkit asks the desktop for its icon theme, on the main thread only. Where there is none, the themes
/// that are most often installed stand in.
QStringList iconThemes()
{
    const QString name = QIcon::themeName();
    if (!name.isEmpty() && name != u"hicolor")
        return {name};
    return {QStringLiteral("Adwaita"), QStringLiteral("breeze"), QStringLiteral("gnome")};
}

MimeDefaults mimeDefaults(const InstalledApplications &installed)
{
    return {xdgConfigFolders(), installed.folders().folders(), InstalledApplications::currentDesktops()};
}

Result<InstalledApplication> bundleAt(const QString &path)
{
    const QString name = QFileInfo(path).completeBaseName();
    const auto info = InfoPlist::read(path);
    if (!info)
        return Error{QStringLiteral("“%1” is not an application: %2").arg(name, info.error())};
    const auto text = [&](const char *key) {
        return info.value() ? info.value()->text(key).left(maximumText) : QString();
    };
    const QString id = text("CFBundleIdentifier");
    if (id.isEmpty())
        return Error{QStringLiteral("“%1” is not an application: it has no identifier.").arg(name)};
    QString display = text("CFBundleDisplayName");
    if (display.isEmpty())
        display = text("CFBundleName");
    return InstalledApplication{id, display.isEmpty() ? name : display, path};
}

} // namespace

FreedesktopWorkspace::FreedesktopWorkspace(X11Connection *x11, SessionBus *bus, QObject *parent)
    : m_bus(bus), m_wellKnown(m_installed, mimeDefaults(m_installed)),
      m_icons(IconFiles::defaultBaseFolders(), IconFiles::defaultPictureFolders(), iconThemes()), m_launcher(x11, bus)
{
    setParent(parent);
    const QStringList names = mimeDefaults(m_installed).fileNames();
    for (const QString &folder : xdgConfigFolders())
        m_installed.watchFiles(folder, names);
    connect(&m_installed, &InstalledApplications::changed, this, [this] {
        m_wellKnown.forget();
        m_icons.forget();
        emit installedApplicationsChanged();
    });
    connect(&m_sleep, &SleepMonitor::woke, this, &Workspace::didWake);
}

void FreedesktopWorkspace::connectNotify(const QMetaMethod &signal)
{
    if (signal == QMetaMethod::fromSignal(&Workspace::didWake))
        m_sleep.start();
}

QString FreedesktopWorkspace::resolved(const QString &bundleID) const
{
    return m_wellKnown.resolved(bundleID);
}

std::optional<InstalledApplication> FreedesktopWorkspace::application(const QString &bundleID) const
{
    const auto entry = m_installed.entry(resolved(bundleID));
    if (!entry)
        return std::nullopt;
    return entry.value().application;
}

Result<InstalledApplication> FreedesktopWorkspace::applicationAt(const QString &path) const
{
    const QString clean = QDir::cleanPath(path);
    if (path.size() > maximumPath || path.contains(QChar(0)) || !QDir::isAbsolutePath(clean))
        return Error{QStringLiteral("An application is named by the full path of its file.")};
    const QFileInfo info(clean);
    if (!info.exists())
        return Error{QStringLiteral("There is no file “%1”.").arg(clean)};
    const QString canonical = info.canonicalFilePath();
    if (info.isDir()) {
        if (canonical.endsWith(u".app"))
            return bundleAt(canonical);
        return Error{QStringLiteral("The folder “%1” is not an application.").arg(info.fileName())};
    }
    if (!clean.endsWith(u".desktop") && !canonical.endsWith(u".desktop"))
        return Error{QStringLiteral("“%1” is not an application.").arg(info.fileName())};
    // A link on the desktop leads into an applications folder; a link in such a folder leads anywhere.
    QString id = m_installed.idOf(clean);
    if (id.isEmpty())
        id = m_installed.idOf(canonical);
    if (id.isEmpty())
        id = entryIdFromFileName(clean);
    const auto entry = m_installed.entry(id);
    if (!entry)
        return Error{entry.error()};
    return entry.value().application;
}

void FreedesktopWorkspace::open(const QString &bundleID, Completion done)
{
    const auto entry = m_installed.entry(resolved(bundleID));
    if (entry) {
        m_launcher.launch(entry.value(), {}, std::move(done));
        return;
    }
    qCWarning(lcWorkspace).noquote() << entry.error();
    if (done)
        QMetaObject::invokeMethod(
            this, [done, error = entry.error()] { done(Error{error}); }, Qt::QueuedConnection);
}

void FreedesktopWorkspace::openBundle(const QString &path, const QStringList &arguments, Completion done)
{
    const auto application = bundleAt(path);
    const auto info = InfoPlist::read(path);
    const QString name = info && info.value() ? info.value()->text("CFBundleExecutable") : QString();
    const QString program = path + QStringLiteral("/Contents/MacOS/") + name;
    if (application && !name.isEmpty() && !name.contains(QLatin1Char('/')) && QFileInfo(program).isExecutable()) {
        InstalledEntry entry;
        entry.application = application.value();
        m_launcher.start(entry, QStringList{program} + arguments, done);
        return;
    }
    const QString cause =
        application ? QStringLiteral("“%1” cannot be opened: it holds no program.").arg(path) : application.error();
    if (done)
        QMetaObject::invokeMethod(
            this, [done, cause] { done(Error{cause}); }, Qt::QueuedConnection);
}

void FreedesktopWorkspace::reveal(const QString &bundleID, Completion done)
{
    const auto entry = m_installed.entry(resolved(bundleID));
    if (!entry) {
        qCWarning(lcWorkspace).noquote() << entry.error();
        if (done)
            QMetaObject::invokeMethod(
                this, [done, error = entry.error()] { done(Error{error}); }, Qt::QueuedConnection);
        return;
    }
    const QString path = entry.value().application.path;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)} << QString();
    callSessionBus(m_bus, this, call, [this, path, done](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage)
            openFolder(QFileInfo(path).absolutePath(), done);
        else if (done)
            QMetaObject::invokeMethod(
                this, [done] { done({}); }, Qt::QueuedConnection);
    });
}

void FreedesktopWorkspace::openFolder(const QString &folder, const Completion &done)
{
    const auto manager = m_installed.entry(resolved(QStringLiteral("com.apple.finder")));
    if (manager) {
        m_launcher.launch(manager.value(), {QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded)}, done);
        return;
    }
    const QString cause =
        QStringLiteral("The folder “%1” cannot be shown: no file manager is installed.").arg(folder);
    qCWarning(lcWorkspace).noquote() << cause;
    if (done)
        QMetaObject::invokeMethod(
            this, [done, cause] { done(Error{cause}); }, Qt::QueuedConnection);
}

QImage FreedesktopWorkspace::icon(const QString &bundleID, int points, qreal devicePixelRatio) const
{
    const auto entry = m_installed.entry(resolved(bundleID));
    if (!entry || entry.value().icon.isEmpty())
        return {};
    const QString &name = entry.value().icon;
    const QString path = QDir::isAbsolutePath(name) ? name : m_icons.find(name, qRound(points * devicePixelRatio));
    return path.isEmpty() ? QImage() : iconImage(path, points, devicePixelRatio);
}

QImage FreedesktopWorkspace::genericIcon(int points, qreal devicePixelRatio) const
{
    const QString path = m_icons.find(QStringLiteral("application-x-executable"), qRound(points * devicePixelRatio));
    const QImage themed = path.isEmpty() ? QImage() : iconImage(path, points, devicePixelRatio);
    return themed.isNull() ? applicationTile(points, devicePixelRatio) : themed;
}

QString FreedesktopWorkspace::applicationsFolder() const
{
    // The system's folder holds what a person looks for; the user's own one is often missing or empty.
    const QStringList &folders = m_installed.folders().folders();
    for (const QString &folder : {QStringLiteral("/usr/share/applications")})
        if (folders.contains(folder) && QFileInfo(folder).isDir())
            return folder;
    for (const QString &folder : folders)
        if (QFileInfo(folder).isDir())
            return folder;
    return QDir::homePath();
}

} // namespace cobblet
