#include "app/Application.h"

#include "platform/Appearance.h"
#include "platform/Dialogs.h"
#include "platform/DockTile.h"
#include "platform/HotKeys.h"
#include "platform/Instance.h"
#include "platform/Menus.h"
#include "platform/PanelSurface.h"
#include "platform/Platform.h"
#include "platform/RunningApplications.h"
#include "platform/Screens.h"
#include "platform/UserDefaults.h"
#include "platform/WindowAccess.h"
#include "platform/Workspace.h"
#include "shell/FloatingPanelController.h"
#include "shell/GlobalHotkeyManager.h"
#include "ui/common/Symbols.h"
#include "ui/panel/Units.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPalette>
#include <QPointer>
#include <QQuickWindow>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(log, "cobblet.app")

/// Counted from the first frame: past the panel's fade, so that it stays smooth.
constexpr auto preloadDelay = 400ms;
/// Past the first work of the person who opened the panel.
constexpr auto trimDelay = 3000ms;

/// What preloading may take: more icons than a person's groups show, and little beside the views.
constexpr qint64 preloadBytes = 4 * 1024 * 1024;
constexpr int preloadPerGroup = 60;

} // namespace

Application::Application(const Bundle &bundle, Platform &platform)
    : m_bundle(bundle), m_platform(platform), m_delegate(services())
{
    connect(&platform.instance(), &Instance::reopen, &m_delegate, &AppDelegate::applicationShouldHandleReopen);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &m_delegate,
            &AppDelegate::applicationWillTerminate);
}

Application::~Application() = default;

AppDelegate::Services Application::services()
{
    return {.standardDefaults = m_platform.standardDefaults(),
            .sharedDefaults = m_platform.sharedDefaults(),
            .dockTile = m_platform.dockTile(),
            .scheduler = m_platform.scheduler(),
            .theme = [this]() -> ThemeManager & { return *m_theme; },
            .usageTracker = [this]() -> UsageTracker & {
                return m_usage.emplace(m_platform.applicationSupportFolder(), m_platform.runningApplications(),
                                       m_platform.workspace(), m_platform.scheduler());
            },
            .makePanelController = [this] { return makePanelController(); },
            .makeHotkeyManager =
                [this] {
                    return std::make_unique<GlobalHotkeyManager>(m_platform.hotKeys(), m_notifications,
                                                                 m_platform.scheduler());
                },
            .bringSettingsForward = {}};
}

void Application::start()
{
    m_delegate.applicationWillFinishLaunching();
    m_popupSettings.emplace(m_platform.sharedDefaults());
    m_theme.emplace(m_platform.sharedDefaults(), m_platform.appearance());
    m_config.emplace(ConfigManager::Options{m_platform.applicationSupportFolder(), m_bundle.isAgent()},
                     m_platform.standardDefaults());
    m_delegate.applicationDidFinishLaunching();
}

std::unique_ptr<FloatingPanelController> Application::makePanelController()
{
    auto controller =
        std::make_unique<FloatingPanelController>([this] { return makePanel(); }, m_platform.screens(),
                                                  *m_popupSettings, m_notifications, m_platform.scheduler());
    controller->setGroupProvider([this] { return m_view ? m_view->selectedGroup() : std::nullopt; });
    return controller;
}

std::unique_ptr<PanelSurface> Application::makePanel()
{
    m_runningApps.emplace(m_platform.runningApplications());
    m_actions.emplace(m_platform.workspace(), m_platform.runningApplications(), m_platform.windowAccess(), *m_usage,
                      m_platform.standardDefaults(), m_platform.scheduler());
    m_icons.emplace(m_platform.workspace(), qGuiApp->devicePixelRatio());
    m_view.emplace(PanelDependencies{*m_config, *m_popupSettings, *m_theme, m_notifications, *m_actions,
                                     *m_runningApps, *m_usage, *m_icons, m_platform.workspace(), m_platform.dialogs(),
                                     m_platform.menus(), m_platform.appearance()});
    m_platform.menus().setSymbolSource([](const QString &symbol) {
        return symbolIcon(symbol, QGuiApplication::palette().color(QPalette::WindowText));
    });
    connect(&m_view->window(), &QQuickWindow::frameSwapped, this, &Application::settle,
            Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));

    auto surface = m_platform.makePanelSurface(m_view->window(), PanelView::cornerRadius());
    const auto followDesktop = [this, &panel = *surface] {
        m_view->setBlending(panel.blendsWithDesktop());
        panel.setWantsBlur(m_theme->glassyStyle());
    };
    connect(surface.get(), &PanelSurface::blendingChanged, surface.get(), followDesktop);
    connect(&*m_theme, &ThemeManager::changed, surface.get(), followDesktop);
    followDesktop();
    return surface;
}

void Application::settle()
{
    const auto later = [this](std::chrono::milliseconds delay, void (Application::*step)()) {
        m_platform.scheduler().detached(delay, [self = QPointer(this), step] {
            if (self)
                (self->*step)();
        });
    };
    later(preloadDelay, &Application::preloadIcons);
    later(trimDelay, &Application::trim);
}

void Application::preloadIcons()
{
    if (!Units::hasEmojiFont())
        qCWarning(log)
            << "No emoji font is installed: the groups' emoji can't be drawn. Install one, such as Noto Color Emoji.";
    const double side = IconProvider::iconPoints * m_view->window().effectiveDevicePixelRatio();
    const qint64 maximum = preloadBytes / qint64(side * side * 4);
    QStringList ids;
    QSet<QString> seen;
    for (const AppGroup &group : m_config->groups()) {
        for (const AppItem &app : group.apps.mid(0, preloadPerGroup)) {
            if (ids.size() >= maximum)
                break;
            if (!seen.contains(app.bundleID)) {
                seen.insert(app.bundleID);
                ids.append(app.bundleID);
            }
        }
    }
    m_icons->preload(ids);
    m_platform.dockTile().setIcon(QImage(m_bundle.resource(QStringLiteral("AppIcon.png"))));
}

void Application::trim()
{
    m_platform.settle();
}

} // namespace cobblet
