#include "platform/freedesktop/apps/FreedesktopWorkspace.h"

#include "platform/InfoPlist.h"
#include "platform/freedesktop/apps/DesktopEntry.h"
#include "platform/freedesktop/apps/IconImage.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QLoggingCategory>
#include <QMetaMethod>
#include <QPointer>
#include <QThreadPool>
#include <QUrl>

#include <chrono>
#include <future>
#include <memory>

namespace cobblet {

Q_LOGGING_CATEGORY(lcWorkspace, "cobblet.applications")

namespace {

constexpr qsizetype maximumPath = 4096;
constexpr qsizetype maximumText = 512;

const QString loginManager = QStringLiteral("org.freedesktop.login1");
constexpr std::chrono::milliseconds patience{1500};

template<class Work>
void onMainThread(Work work)
{
    if (auto *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
}

/// The toolkit asks the desktop for its icon theme, on the main thread only. Where there is none, the themes
/// that are most often installed stand in.
QStringList iconThemes()
{
    const QString name = QIcon::themeName();
    if (!name.isEmpty() && name != u"hicolor")
        return {name};
    return {QStringLiteral("Adwaita"), QStringLiteral("breeze"), QStringLiteral("gnome")};
}

/// The identifier of the application that opens such addresses; empty when there is none.
QString handlerOf(const QString &url)
{
    return InstalledApplications::defaultFor("x-scheme-handler/" + QUrl(url).scheme().toLatin1());
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

FreedesktopWorkspace::FreedesktopWorkspace(X11Connection *x11, SessionBus *bus, const QString &svgProgram)
    : m_bus(bus), m_svgProgram(svgProgram), m_wellKnown(m_installed), m_icons(iconThemes()), m_launcher(x11, bus)
{
    connect(&m_installed, &InstalledApplications::changed, this, [this] {
        m_wellKnown.forget();
        m_icons.forget();
        emit installedApplicationsChanged();
    });
}

Availability FreedesktopWorkspace::availability() const
{
    if (m_installed.isEmpty())
        return Availability::unavailable(
            QStringLiteral("No applications are found: XDG_DATA_DIRS must name the folders that hold theirs."));
    if (!InstalledApplications::followsChanges())
        return Availability::partly(
            QStringLiteral("Applications that are installed or removed are noticed at the next "
                           "start: unset QT_NO_GLIB to see them at once."));
    return Availability::works(QStringLiteral("The installed applications are found, and changes are noticed."));
}

Availability FreedesktopWorkspace::iconAvailability() const
{
    return m_icons.hasTheme()
               ? Availability::works(QStringLiteral("Applications have the icons of the desktop's theme."))
               : Availability::partly(
                     QStringLiteral("Only applications that bring a picture of their own show it: install an icon "
                                    "theme, such as Adwaita."));
}

Availability FreedesktopWorkspace::launchAvailability() const
{
    if (m_launcher.givesScopes())
        return Availability::works(QStringLiteral(
            "Applications are opened in scopes of their own, and outlive Cobblet with all that they started."));
    return Availability::partly(QStringLiteral(
        "Applications outlive Cobblet but share its limits and accounts: scopes of their own take a service manager "
        "of the user (systemd --user) and a session bus."));
}

/// The system bus is connected to, and asked, on a thread of its own, as both are waited for.
void FreedesktopWorkspace::examine(CapabilitiesAnswer answer)
{
    const QList<Capability> known{{QStringLiteral("Opening applications"), launchAvailability()},
                                  {QStringLiteral("Icons"), iconAvailability()}};
    QThreadPool::globalInstance()->start([self = QPointer<FreedesktopWorkspace>(this), known, answer] {
        const QDBusConnection bus = QDBusConnection::systemBus();
        const bool isTold = bus.isConnected() &&
                            bus.call(busQuestion("NameHasOwner", {loginManager}), QDBus::Block, int(patience.count()))
                                .arguments()
                                .value(0)
                                .toBool();
        const auto sleep = isTold ? Availability::works(QStringLiteral("The system tells when it wakes from sleep."))
                                  : Availability::unavailable(QStringLiteral(
                                        "Nobody tells when the system wakes from sleep: no login manager (logind) "
                                        "answers on the system bus."));
        onMainThread([self, answer, rows = known + QList{Capability{QStringLiteral("Waking from sleep"), sleep}}] {
            if (self)
                answer(rows);
        });
    });
}

void FreedesktopWorkspace::connectNotify(const QMetaMethod &signal)
{
    if (signal == QMetaMethod::fromSignal(&Workspace::didWake) && !std::exchange(m_followsSleep, true))
        followSleep();
}

/// The same holds here.
void FreedesktopWorkspace::followSleep()
{
    QThreadPool::globalInstance()->start([self = QPointer<FreedesktopWorkspace>(this)] {
        const QDBusConnection bus = QDBusConnection::systemBus();
        if (!bus.isConnected()) {
            qCInfo(lcWorkspace).noquote() << "Waking from sleep will not be noticed:" << bus.lastError().message();
            return;
        }
        onMainThread([self] {
            // Without a service name, which would be looked up first and waited for.
            if (self)
                QDBusConnection::systemBus().connect(QString(), QStringLiteral("/org/freedesktop/login1"),
                                                     QStringLiteral("org.freedesktop.login1.Manager"),
                                                     QStringLiteral("PrepareForSleep"), self,
                                                     SLOT(prepareForSleep(bool)));
        });
    });
}

void FreedesktopWorkspace::prepareForSleep(bool aboutToSleep)
{
    if (!aboutToSleep)
        emit didWake();
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
    QString id = InstalledApplications::idOf(clean);
    if (id.isEmpty())
        id = InstalledApplications::idOf(canonical);
    if (id.isEmpty())
        id = entryIdFromFileName(clean);
    const auto entry = m_installed.entry(id);
    if (!entry)
        return Error{entry.error()};
    return entry.value().application;
}

void FreedesktopWorkspace::open(const QString &bundleID, Completion done, const QString &activationToken)
{
    if (const auto entry = m_installed.entry(resolved(bundleID)))
        m_launcher.launch(entry.value(), {.activationToken = activationToken, .done = std::move(done)});
    else
        m_launcher.finish(done, entry.cause());
}

void FreedesktopWorkspace::openBundle(const QString &path, const QStringList &arguments, Completion done)
{
    const auto application = bundleAt(path);
    const auto info = InfoPlist::read(path);
    const QString name = info && info.value() ? info.value()->text("CFBundleExecutable") : QString();
    const QString program = path + QStringLiteral("/Contents/MacOS/") + name;
    if (!application)
        return m_launcher.finish(done, application.cause());
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || !QFileInfo(program).isExecutable())
        return m_launcher.finish(done,
                                 Error{QStringLiteral("“%1” cannot be opened: it holds no program.").arg(path)});
    InstalledEntry entry;
    entry.application = application.value();
    m_launcher.start(entry, QStringList{program} + arguments, {.done = std::move(done)});
}

bool FreedesktopWorkspace::opensUrl(const QString &url) const
{
    return bool(m_installed.entry(handlerOf(url)));
}

void FreedesktopWorkspace::openUrl(const QString &url, Completion done)
{
    if (const auto entry = m_installed.entry(handlerOf(url)))
        m_launcher.launch(entry.value(), {.uris = {url}, .done = std::move(done)});
    else
        m_launcher.finish(done, Error{QStringLiteral("No application is installed that opens “%1”.").arg(url)});
}

void FreedesktopWorkspace::reveal(const QString &bundleID, Completion done)
{
    const auto entry = m_installed.entry(resolved(bundleID));
    if (!entry)
        return m_launcher.finish(done, entry.cause());
    const QString path = entry.value().application.path;
    const QString manager = QStringLiteral("org.freedesktop.FileManager1");
    const QStringList items{QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)};
    const QDBusMessage call = busCall(manager, QStringLiteral("/org/freedesktop/FileManager1"), manager,
                                      QStringLiteral("ShowItems"), {items, QString()});
    callSessionBus(m_bus, this, call, [this, path, done](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage)
            openFolder(QFileInfo(path).absolutePath(), done);
        else
            m_launcher.finish(done, {});
    });
}

void FreedesktopWorkspace::openFolder(const QString &folder, const Completion &done)
{
    if (const auto manager = m_installed.entry(resolved(QStringLiteral("com.apple.finder"))))
        m_launcher.launch(manager.value(),
                          {.uris = {QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded)}, .done = done});
    else
        m_launcher.finish(
            done,
            Error{QStringLiteral("The folder “%1” cannot be shown: no file manager is installed.").arg(folder)});
}

QString FreedesktopWorkspace::iconName(const QString &bundleID) const
{
    const auto entry = m_installed.entry(resolved(bundleID));
    return entry ? entry.value().icon : QString();
}

QImage FreedesktopWorkspace::icon(const QString &bundleID, int points, qreal devicePixelRatio) const
{
    const auto entry = m_installed.entry(resolved(bundleID));
    if (!entry)
        return {};
    const QString &name = entry.value().icon;
    const QString path = QDir::isAbsolutePath(name) ? name : m_icons.find(name, qRound(points * devicePixelRatio));
    const QImage image = iconImage(path, points, devicePixelRatio, m_svgProgram);
    return image.isNull() ? genericIcon(points, devicePixelRatio) : image;
}

QImage FreedesktopWorkspace::genericIcon(int points, qreal devicePixelRatio) const
{
    const QString path = m_icons.find(QStringLiteral("application-x-executable"), qRound(points * devicePixelRatio));
    const QImage themed = iconImage(path, points, devicePixelRatio, m_svgProgram);
    return themed.isNull() ? applicationTile(points, devicePixelRatio) : themed;
}

void FreedesktopWorkspace::listApplications(std::function<void(const QList<InstalledApplication> &)> answer)
{
    // Handed over in a future, which the thread sanitizer sees; the toolkit's queue it does not.
    const auto listed = std::make_shared<std::promise<QList<InstalledApplication>>>();
    m_reader.start([this, listed, answer = std::move(answer)] {
        listed->set_value(m_installed.shown());
        QMetaObject::invokeMethod(
            this, [listed, answer] { answer(listed->get_future().get()); }, Qt::QueuedConnection);
    });
}

QString FreedesktopWorkspace::applicationsFolder() const
{
    // The system's folder holds what a person looks for; the user's own one is often missing or empty.
    QStringList folders = InstalledApplications::folders();
    if (const QString usual = QStringLiteral("/usr/share/applications"); folders.contains(usual))
        folders.prepend(usual);
    for (const QString &folder : folders)
        if (QFileInfo(folder).isDir())
            return folder;
    return QDir::homePath();
}

} // namespace cobblet
