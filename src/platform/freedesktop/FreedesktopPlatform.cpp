#include "platform/Platform.h"

#include "platform/freedesktop/DesktopScreens.h"
#include "platform/freedesktop/FreedesktopBundleTools.h"
#include "platform/freedesktop/TrayStatusItem.h"
#include "platform/freedesktop/WindowDockTile.h"
#include "platform/freedesktop/X11HotKeys.h"
#include "platform/freedesktop/X11PanelSurface.h"
#include "platform/freedesktop/apps/AgentApplications.h"
#include "platform/freedesktop/apps/DesktopEntryRegistry.h"
#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/SessionApplications.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"
#include "platform/freedesktop/bus/DBusNotifications.h"
#include "platform/freedesktop/bus/PortalAppearance.h"
#include "platform/freedesktop/bus/PortalHotKeys.h"
#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/freedesktop/x11/X11Connection.h"
#include "platform/freedesktop/x11/X11Windows.h"
#include "platform/portable/FileUserDefaults.h"
#include "platform/portable/QtDialogs.h"
#include "platform/portable/QtMenus.h"
#include "platform/portable/QtPanelSurface.h"
#include "platform/portable/QtPasteboard.h"
#include "platform/portable/QtScheduler.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTimer>

#include <fontconfig/fontconfig.h>
#include <malloc.h>

#include <chrono>
#include <thread>

namespace cobblet {

namespace {

constexpr std::chrono::seconds unseenDelay{1}; ///< after the list of those with windows is made

/// Each service is made when it is first asked for, and is destroyed before what it was built from.
class FreedesktopPlatform : public Platform {
public:
    explicit FreedesktopPlatform(const PlatformOptions &options) : m_options(options)
    {
        // The threads seldom work at once, and each arena of its own keeps its gaps for good. Said before the first
        // thread, that of the bus, has one.
        ::mallopt(M_ARENA_MAX, 1);
    }

    QString applicationSupportFolder() const override
    {
        return folder(QStandardPaths::GenericDataLocation, m_options.folderName);
    }

    Instance &instance() override { return theInstance(); }
    IntentsHost &intentsHost() override { return made(m_intents, theInstance(), m_options.identifier); }
    Scheduler &scheduler() override { return m_scheduler; }
    UserDefaults &standardDefaults() override { return defaults(m_standard, m_options.standardDomain); }
    UserDefaults &sharedDefaults() override { return defaults(m_shared, m_options.sharedSuite); }
    DistributedNotifications &distributedNotifications() override { return made(m_notifications, m_bus); }
    Appearance &appearance() override { return made(m_appearance, m_bus); }
    Screens &screens() override { return made(m_screens, windows()); }
    Workspace &workspace() override { return theWorkspace(); }
    RunningApplications &runningApplications() override
    {
        if (m_options.windowlessPrefix.isEmpty())
            return running();
        return made(m_agents, running(), m_bus, m_options.windowlessPrefix);
    }
    WindowAccess &windowAccess() override { return running(); }
    LaunchRegistry &launchRegistry() override
    {
        return made(m_registry, [&workspace = theWorkspace()](const QString &id) { return workspace.iconName(id); });
    }
    BundleTools bundleTools() const override { return freedesktop::bundleTools(m_options.bundlePath); }
    Pasteboard &pasteboard() override { return m_pasteboard; }
    Dialogs &dialogs() override { return m_dialogs; }
    Menus &menus() override { return m_menus; }
    DockTile &dockTile() override { return m_dockTile; }

    std::unique_ptr<StatusItem> makeStatusItem() override
    {
        return std::make_unique<TrayStatusItem>(x11(), m_bus, m_menus, appearance(), symbolicIconName());
    }

    HotKeys &hotKeys() override
    {
        if (X11Windows *known = isWaylandSession() ? nullptr : windows(); known && !m_hotKeys)
            m_hotKeys = std::make_unique<X11HotKeys>(*known);
        else if (!m_hotKeys)
            m_hotKeys = std::make_unique<PortalHotKeys>(m_bus);
        return *m_hotKeys;
    }

    std::unique_ptr<PanelSurface> makePanelSurface(QWindow &window, double cornerRadius) override
    {
        if (X11Windows *known = windows())
            return std::make_unique<X11PanelSurface>(window, cornerRadius, screens(), *known);
        return std::make_unique<QtPanelSurface>(window, screens());
    }

    /// Reading the font configuration takes several of the milliseconds before the first text is painted.
    void warmUp() override
    {
        m_fonts = std::jthread([] { ::FcInit(); });
    }

    void releaseMemory() override
    {
        if (m_fonts.joinable())
            m_fonts.join();
        ::malloc_trim(0);
    }

private:
    template<class T, class... Arguments>
    static T &made(std::unique_ptr<T> &service, Arguments &&...arguments)
    {
        if (!service)
            service = std::make_unique<T>(std::forward<Arguments>(arguments)...);
        return *service;
    }

    /// An X server within a Wayland session sees only its own windows, and their keys.
    static bool isWaylandSession()
    {
        return qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") &&
               qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    }

    bool hasWindows() const { return m_options.purpose == PlatformOptions::Purpose::Panel; }

    static QString folder(QStandardPaths::StandardLocation place, const QString &name)
    {
        return QStandardPaths::writableLocation(place) + QLatin1Char('/') + name;
    }

    FileUserDefaults &defaults(std::unique_ptr<FileUserDefaults> &service, const QString &domain) const
    {
        using Following = FileUserDefaults::Following;
        return made(service, folder(QStandardPaths::GenericConfigLocation, m_options.folderName.toLower()), domain,
                    hasWindows() ? Following::Watched : Following::WhenSynchronized, m_options.standardDomain);
    }

    DBusInstance &theInstance()
    {
        const auto noteTime = [this](quint32 time) {
            if (X11Windows *known = windows())
                known->noteUserTime(time);
        };
        return made(m_instance, m_bus, m_options.identifier,
                    CallerHooks{.action = [this](const QString &action) { return m_dockTile.choose(action); },
                                .token = [this](const QString &token) { startupIsDone(token); },
                                .time = noteTime});
    }

    /// Null without an X server, and when the toolkit draws elsewhere. Windows are acted on without a toolkit too.
    X11Connection *x11()
    {
        if (!m_triedX11) {
            m_triedX11 = true;
            if (hasWindows() ? QGuiApplication::platformName() == QLatin1String("xcb")
                             : qEnvironmentVariableIsSet("DISPLAY"))
                m_x11 = X11Connection::open();
        }
        return m_x11.get();
    }

    X11Windows *windows()
    {
        if (!m_windows && x11())
            m_windows = std::make_unique<X11Windows>(*x11());
        return m_windows.get();
    }

    /// A launch that was handed to this process is done: the focus may go by its time, and the busy pointer ends.
    void startupIsDone(const QString &token)
    {
        if (X11Windows *known = windows()) {
            if (const uint32_t time = StartupNotification::timeOf(token))
                known->noteUserTime(time);
            StartupNotification(x11()).remove(token);
        }
    }

    /// The one-colour icon that was installed for bars; empty when this program was not installed.
    QString symbolicIconName() const
    {
        const QString name = m_options.identifier + QStringLiteral("-symbolic");
        const QString file = QStringLiteral("icons/hicolor/symbolic/apps/%1.svg").arg(name);
        return QStandardPaths::locate(QStandardPaths::GenericDataLocation, file).isEmpty() ? QString() : name;
    }

    FreedesktopWorkspace &theWorkspace()
    {
        return made(m_workspace, x11(), &m_bus, m_options.bundlePath + QStringLiteral("/Contents/Helpers/svg-image"));
    }
    X11RunningApplications &running()
    {
        using Share = X11RunningApplications::Share;
        if (m_running)
            return *m_running;
        made(m_running, windows(), theWorkspace(), isWaylandSession() ? Share::Some : Share::All);
        m_running->setCorrections(made(m_corrections, sharedDefaults()));
        if (hasWindows()) {
            m_unseen = std::make_unique<SessionApplications>(m_bus, theWorkspace().installed());
            QObject::connect(m_unseen.get(), &SessionApplications::found, m_running.get(),
                             &X11RunningApplications::addUnseen);
            QTimer::singleShot(unseenDelay, m_unseen.get(), &SessionApplications::look);
        }
        return *m_running;
    }

    const PlatformOptions m_options;
    std::jthread m_fonts;
    QtScheduler m_scheduler;
    WindowDockTile m_dockTile{[this] { return windows(); }};
    QtPasteboard m_pasteboard;
    QtDialogs m_dialogs;
    QtMenus m_menus;
    SessionBus m_bus;
    bool m_triedX11 = false;
    std::unique_ptr<X11Connection> m_x11;
    std::unique_ptr<X11Windows> m_windows;
    std::unique_ptr<DBusInstance> m_instance;
    std::unique_ptr<DBusIntents> m_intents;
    std::unique_ptr<FileUserDefaults> m_standard;
    std::unique_ptr<FileUserDefaults> m_shared;
    std::unique_ptr<DBusNotifications> m_notifications;
    std::unique_ptr<PortalAppearance> m_appearance;
    std::unique_ptr<DesktopScreens> m_screens;
    std::unique_ptr<FreedesktopWorkspace> m_workspace;
    std::unique_ptr<DesktopEntryRegistry> m_registry;
    std::unique_ptr<StoredCorrections> m_corrections;
    std::unique_ptr<X11RunningApplications> m_running;
    std::unique_ptr<SessionApplications> m_unseen;
    std::unique_ptr<AgentApplications> m_agents;
    std::unique_ptr<HotKeys> m_hotKeys;
};

} // namespace

std::unique_ptr<Platform> makePlatform(const PlatformOptions &options)
{
    return std::make_unique<FreedesktopPlatform>(options);
}

QString runningExecutable()
{
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
}

} // namespace cobblet
