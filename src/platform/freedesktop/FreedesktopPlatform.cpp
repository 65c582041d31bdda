#include "platform/Platform.h"

#include "platform/freedesktop/DesktopScreens.h"
#include "platform/freedesktop/FileUserDefaults.h"
#include "platform/freedesktop/FreedesktopBundleTools.h"
#include "platform/freedesktop/FreedesktopPaths.h"
#include "platform/freedesktop/TrayStatusItem.h"
#include "platform/freedesktop/WindowDockTile.h"
#include "platform/freedesktop/X11Connection.h"
#include "platform/freedesktop/X11HotKeys.h"
#include "platform/freedesktop/X11PanelSurface.h"
#include "platform/freedesktop/X11Windows.h"
#include "platform/freedesktop/apps/AgentApplications.h"
#include "platform/freedesktop/apps/DesktopEntryRegistry.h"
#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"
#include "platform/freedesktop/bus/DBusNotifications.h"
#include "platform/freedesktop/bus/PortalAppearance.h"
#include "platform/freedesktop/bus/PortalHotKeys.h"
#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/portable/QtDialogs.h"
#include "platform/portable/QtMenus.h"
#include "platform/portable/QtPanelSurface.h"
#include "platform/portable/QtPasteboard.h"
#include "platform/portable/QtScheduler.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QStandardPaths>

#include <fontconfig/fontconfig.h>
#include <malloc.h>

#include <thread>

namespace cobblet {

namespace {

/// Each service is made when it is first asked for, and is destroyed before what it was built from.
class FreedesktopPlatform : public Platform {
public:
    explicit FreedesktopPlatform(const PlatformOptions &options) : m_options(options) {}

    QString applicationSupportFolder() const override { return freedesktop::applicationSupportFolder(); }

    Instance &instance() override
    {
        if (!m_instance) {
            m_instance = std::make_unique<DBusInstance>(
                m_bus, m_options.identifier,
                CallerHooks{.action = [this](const QString &action) { return m_dockTile.choose(action); },
                            .token = [this](const QString &token) { startupIsDone(token); },
                            .time =
                                [this](quint32 time) {
                                    if (X11Windows *known = windows())
                                        known->noteUserTime(time);
                                }});
        }
        return *m_instance;
    }

    IntentsHost &intentsHost() override
    {
        instance();
        return made(m_intents, [this] { return std::make_unique<DBusIntents>(*m_instance, m_options.identifier); });
    }

    Scheduler &scheduler() override { return m_scheduler; }

    UserDefaults &standardDefaults() override
    {
        return made(m_standard, [this] {
            return std::make_unique<FileUserDefaults>(freedesktop::preferencesFolder(), m_options.identifier,
                                                      following());
        });
    }

    UserDefaults &sharedDefaults() override
    {
        return made(m_shared, [this] {
            return std::make_unique<FileUserDefaults>(freedesktop::preferencesFolder(), m_options.sharedSuite,
                                                      following());
        });
    }

    DistributedNotifications &distributedNotifications() override
    {
        return made(m_notifications, [this] { return std::make_unique<DBusNotifications>(m_bus); });
    }

    Appearance &appearance() override
    {
        return made(m_appearance, [this] { return std::make_unique<PortalAppearance>(m_bus); });
    }

    Screens &screens() override
    {
        return made(m_screens, [this] { return std::make_unique<DesktopScreens>(windows()); });
    }

    Workspace &workspace() override { return theWorkspace(); }
    RunningApplications &runningApplications() override
    {
        if (m_options.windowlessPrefix.isEmpty())
            return running();
        return made(m_agents, [this] {
            return std::make_unique<AgentApplications>(running(), m_bus, m_options.windowlessPrefix);
        });
    }

    WindowAccess &windowAccess() override { return running(); }

    LaunchRegistry &launchRegistry() override { return m_registry; }
    BundleTools bundleTools() const override { return freedesktop::bundleTools(m_options.bundlePath); }
    Pasteboard &pasteboard() override { return m_pasteboard; }

    Dialogs &dialogs() override
    {
        return made(m_dialogs, [] { return std::make_unique<QtDialogs>(); });
    }
    Menus &menus() override { return theMenus(); }
    DockTile &dockTile() override { return m_dockTile; }

    std::unique_ptr<StatusItem> makeStatusItem() override
    {
        return std::make_unique<TrayStatusItem>(x11(), m_bus, theMenus(), appearance(), symbolicIconName());
    }

    HotKeys &hotKeys() override
    {
        return made(m_hotKeys, [this]() -> std::unique_ptr<HotKeys> {
            if (X11Windows *known = isWaylandSession() ? nullptr : windows())
                return std::make_unique<X11HotKeys>(*known);
            return std::make_unique<PortalHotKeys>(m_bus);
        });
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
        // The threads seldom work at once, and each arena of its own keeps its gaps for good.
        ::mallopt(M_ARENA_MAX, 1);
        m_fonts = std::jthread([] { ::FcInit(); });
    }

    void releaseMemory() override
    {
        if (m_fonts.joinable())
            m_fonts.join();
        ::malloc_trim(0);
    }

private:
    template<class T, class Make>
    static T &made(std::unique_ptr<T> &service, Make make)
    {
        if (!service)
            service = make();
        return *service;
    }

    /// An X server within a Wayland session sees the keys of its own windows only.
    static bool isWaylandSession()
    {
        return qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland") &&
               qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
    }

    bool hasWindows() const { return m_options.purpose == PlatformOptions::Purpose::Panel; }

    FileUserDefaults::Following following() const
    {
        return hasWindows() ? FileUserDefaults::Following::Watched : FileUserDefaults::Following::WhenSynchronized;
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

    QtMenus &theMenus()
    {
        return made(m_menus, [] { return std::make_unique<QtMenus>(); });
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
        return made(m_workspace, [this] { return std::make_unique<FreedesktopWorkspace>(x11(), &m_bus); });
    }

    X11RunningApplications &running()
    {
        return made(m_running,
                    [this] { return std::make_unique<X11RunningApplications>(windows(), theWorkspace()); });
    }

    const PlatformOptions m_options;
    std::jthread m_fonts;
    QtScheduler m_scheduler;
    WindowDockTile m_dockTile;
    DesktopEntryRegistry m_registry;
    QtPasteboard m_pasteboard;
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
    std::unique_ptr<X11RunningApplications> m_running;
    std::unique_ptr<AgentApplications> m_agents;
    std::unique_ptr<HotKeys> m_hotKeys;
    std::unique_ptr<QtDialogs> m_dialogs;
    std::unique_ptr<QtMenus> m_menus;
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
