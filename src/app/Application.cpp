#include "app/Application.h"

#include "platform/Appearance.h"
#include "platform/BundleTools.h"
#include "platform/Dialogs.h"
#include "platform/DistributedNotifications.h"
#include "platform/DockTile.h"
#include "platform/HotKeys.h"
#include "platform/Instance.h"
#include "platform/IntentsHost.h"
#include "platform/LaunchRegistry.h"
#include "platform/Menus.h"
#include "platform/PanelSurface.h"
#include "platform/Pasteboard.h"
#include "platform/Platform.h"
#include "platform/RunningApplications.h"
#include "platform/Screens.h"
#include "platform/StatusItem.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "shell/AgentController.h"
#include "shell/FloatingPanelController.h"
#include "shell/GlobalHotkeyManager.h"
#include "shell/StatusBarController.h"
#include "ui/common/Symbols.h"
#include "ui/panel/Units.h"

#include <QDir>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QPointer>
#include <QQuickWindow>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(log, "cobblet.app")

/// Counted from the first frame: past the panel's fade, so that it stays smooth.
constexpr auto preloadDelay = 400ms;
/// In a step of its own, after the icons.
constexpr auto statusItemDelay = 600ms;
/// Counted from the start: for one that opens no panel.
constexpr auto statusItemLatest = 3000ms;
/// The applications of the groups are looked after once nobody waits for anything any more.
constexpr auto standaloneDelay = 1500ms;
constexpr auto standaloneLatest = 4000ms;
/// Past the first work of the person who opened the panel.
constexpr auto trimDelay = 3000ms;

/// What preloading may take: more icons than a person's groups show, and little beside the views.
constexpr qint64 preloadBytes = 4 * 1024 * 1024;
constexpr int preloadPerGroup = 60;

} // namespace

Application::Application(const Bundle &bundle, Platform &platform, const CommandLine &request)
    : m_bundle(bundle), m_platform(platform), m_request(request), m_delegate(services())
{
    connect(&platform.instance(), &Instance::reopen, &m_delegate, &AppDelegate::applicationShouldHandleReopen);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &m_delegate,
            &AppDelegate::applicationWillTerminate);
    if (m_bundle.isAgent()) // a click draws its tile anew, which takes megabytes for a moment
        connect(&platform.instance(), &Instance::reopen, this, &Application::trimSoon);
}

Application::~Application()
{
    if (m_serves)
        m_platform.intentsHost().stop();
}

AppDelegate::Services Application::services()
{
    return {.standardDefaults = m_platform.standardDefaults(),
            .sharedDefaults = m_platform.sharedDefaults(),
            .dockTile = m_platform.dockTile(),
            .scheduler = m_platform.scheduler(),
            .theme = [this]() -> ThemeManager & { return *m_theme; },
            .usageTracker = [this]() -> UsageTracker & { return m_core->usage(); },
            .makeStatusBarController = m_bundle.isAgent() ? std::function<std::unique_ptr<StatusBarController>()>()
                                                          : [this] { return makeStatusBarController(); },
            .makePanelController = [this] { return makePanelController(); },
            .makeAgentController = m_bundle.isAgent() ? [this] { return makeAgentController(); }
                                                      : std::function<std::unique_ptr<AgentController>()>(),
            .makeHotkeyManager =
                [this] {
                    return std::make_unique<GlobalHotkeyManager>(m_platform.hotKeys(), m_core->notifications(),
                                                                 m_platform.scheduler());
                },
            .bringSettingsForward = {},
            .opensPanel = m_request.verb != CommandLine::Verb::Service};
}

void Application::start()
{
    m_delegate.applicationWillFinishLaunching();
    m_popupSettings.emplace(m_platform.sharedDefaults());
    m_theme.emplace(m_platform.sharedDefaults(), m_platform.appearance());
    m_core.emplace(
        m_bundle, m_platform, true, [this] { m_delegate.applicationShouldHandleReopen(); },
        ConfigManager::Hooks{.dropGroupIcons =
                                 [this] {
                                     if (m_groupIcons)
                                         m_groupIcons->clearCache();
                                 },
                             .refreshShortcutParameters =
                                 [this] {
                                     if (m_serves)
                                         m_platform.intentsHost().groupsChanged();
                                 }});
    m_platform.menus().setSymbolSource(symbolIcon);
    m_delegate.applicationDidFinishLaunching();
    later(statusItemLatest, &Application::showStatusItem);
    later(standaloneLatest, &Application::startStandalone);
    // After the panel has begun to show: who asks meanwhile can wait, the panel can't.
    later(0ms, &Application::serve);
}

void Application::serve()
{
    if (m_request.groupToShow())
        m_core->intents().run(m_request, [](const CommandReply &reply) {
            if (!reply.errors.isEmpty())
                qCWarning(log).noquote() << reply.errors.trimmed();
        });
    m_serves = !m_bundle.isAgent();
    if (m_serves)
        m_platform.intentsHost().serve(m_core->intents());
}

void Application::later(std::chrono::milliseconds delay, void (Application::*step)())
{
    m_platform.scheduler().detached(delay, [self = QPointer(this), step] {
        if (self)
            (self->*step)();
    });
}

std::unique_ptr<StatusBarController> Application::makeStatusBarController()
{
    return std::make_unique<StatusBarController>(
        StatusBarController::Services{m_platform.makeStatusItem(), m_core->notifications(), m_platform.dockTile(),
                                      symbolImage, &QCoreApplication::quit},
        m_bundle.resource(QStringLiteral("TrayIcon.png")));
}

std::unique_ptr<AgentController> Application::makeAgentController()
{
    return std::make_unique<AgentController>(AgentController::Services{
        m_bundle, m_core->config(), m_core->notifications(), m_platform.distributedNotifications(),
        m_platform.dockTile(), [this]() -> GroupIconProvider & { return groupIcons(); },
        [this]() -> GroupReports & { return m_core->reports(); }});
}

std::unique_ptr<FloatingPanelController> Application::makePanelController()
{
    auto controller =
        std::make_unique<FloatingPanelController>([this] { return makePanel(); }, m_platform.screens(),
                                                  *m_popupSettings, m_core->notifications(), m_platform.scheduler());
    controller->setGroupProvider([this] { return m_view ? m_view->selectedGroup() : std::nullopt; });
    return controller;
}

std::unique_ptr<PanelSurface> Application::makePanel()
{
    m_runningApps.emplace(m_platform.runningApplications());
    m_icons.emplace(m_platform.workspace(), qGuiApp->devicePixelRatio());
    m_view.emplace(PanelDependencies{
        m_core->config(), *m_popupSettings, *m_theme, m_core->notifications(), m_core->actions(), *m_runningApps,
        m_core->usage(), *m_icons, m_platform.workspace(), m_platform.dialogs(), m_platform.menus(),
        m_platform.appearance(), m_bundle.isAgent() ? std::function<void(const QUuid &)>() : [this](const QUuid &id) {
            standalone().open(id);
        }});
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
    later(preloadDelay, &Application::preloadIcons);
    later(statusItemDelay, &Application::showStatusItem);
    later(standaloneDelay, &Application::startStandalone);
    trimSoon();
}

GroupIconProvider &Application::groupIcons()
{
    if (!m_groupIcons) {
        m_groupIcons.emplace(*m_icons, m_platform.workspace());
        connect(&*m_icons, &IconProvider::iconsChanged, this, [this] { m_groupIcons->clearCache(); });
    }
    return *m_groupIcons;
}

StandaloneGroupManager &Application::standalone()
{
    if (!m_standalone) {
        m_standalone.emplace(StandaloneGroupManager::Services{
            m_bundle, QDir::homePath() + QStringLiteral("/Applications/Cobblet Groups"), m_platform.bundleTools(),
            m_platform.launchRegistry(), groupIcons(), m_core->config(), m_platform.runningApplications(),
            m_platform.workspace(), m_platform.distributedNotifications(), m_platform.dialogs(),
            m_platform.pasteboard(), m_platform.scheduler()});
        connect(&*m_standalone, &StandaloneGroupManager::idle, this, &Application::trimSoon);
    }
    return *m_standalone;
}

void Application::startStandalone()
{
    if (m_bundle.isAgent() || std::exchange(m_standaloneStarted, true))
        return;
    standalone().start();
}

void Application::preloadIcons()
{
    if (!Units::hasEmojiFont())
        qCWarning(log)
            << "No emoji font is installed: the groups' emoji can't be drawn. Install one, such as Noto Color Emoji.";
    // The view loads the icons of its group by itself, and in a group's application others are seldom looked at.
    if (AgentController *agent = m_delegate.agentController())
        return agent->refreshTile();
    const double side = IconProvider::iconPoints * m_view->window().effectiveDevicePixelRatio();
    const qint64 maximum = preloadBytes / qint64(side * side * 4);
    QStringList ids;
    QSet<QString> seen;
    for (const AppGroup &group : m_core->config().groups()) {
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

void Application::showStatusItem()
{
    if (StatusBarController *controller = m_delegate.statusBarController())
        controller->show();
}

void Application::trimSoon()
{
    m_trim = m_platform.scheduler().after(trimDelay, [this] { m_platform.settle(); });
}

} // namespace cobblet
