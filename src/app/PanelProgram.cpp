#include "app/PanelProgram.h"

#include "model/Identifiers.h"
#include "platform/Appearance.h"
#include "platform/Dialogs.h"
#include "platform/DistributedNotifications.h"
#include "platform/DockTile.h"
#include "platform/Instance.h"
#include "platform/Menus.h"
#include "platform/PanelSurface.h"
#include "platform/Pasteboard.h"
#include "platform/Platform.h"
#include "platform/RunningApplications.h"
#include "platform/Screens.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "ui/common/Symbols.h"

#include <QGuiApplication>
#include <QQuickWindow>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

/// Past the first work of the person who opened the panel.
constexpr auto releaseDelay = 3000ms;

} // namespace

PanelProgram::PanelProgram(const Bundle &bundle, Platform &platform) : m_bundle(bundle), m_platform(platform) {}

PanelProgram::~PanelProgram() = default;

Scheduler &PanelProgram::scheduler()
{
    return m_platform.scheduler();
}

void PanelProgram::migratePreferences()
{
    migrateThemePreferences(m_platform.standardDefaults(), m_platform.sharedDefaults());
}

void PanelProgram::loadStores(std::function<void()> refreshShortcutParameters)
{
    m_popupSettings.emplace(m_platform.sharedDefaults());
    m_theme.emplace(m_platform.sharedDefaults(), m_platform.appearance());
    m_core.emplace(m_platform, m_bundle, Core::Follows::OtherProcesses,
                   Core::Program{.showPanel = [this] { m_delegate->applicationShouldHandleReopen(); },
                                 .diagnostics = [this]() -> Diagnostics & { return diagnostics(); }},
                   ConfigManager::Hooks{.dropGroupIcons =
                                            [this] {
                                                if (m_groupIcons)
                                                    m_groupIcons->clearCache();
                                            },
                                        .refreshShortcutParameters = std::move(refreshShortcutParameters)});
}

void PanelProgram::makePanelController()
{
    const auto makePanel = [this] {
        auto surface = m_platform.makePanelSurface(m_view->window(), PanelView::cornerRadius());
        const auto followDesktop = [this, &panel = *surface] {
            m_view->setBackdrop(panel.backdrop());
            panel.setWantsBlur(m_theme->glassyStyle());
        };
        connect(surface.get(), &PanelSurface::backdropChanged, surface.get(), followDesktop);
        connect(&*m_theme, &ThemeManager::changed, surface.get(), followDesktop);
        followDesktop();
        return surface;
    };
    m_panelController.emplace(makePanel, m_platform.screens(), *m_popupSettings, m_core->notifications(),
                              scheduler());
    connect(&*m_panelController, &FloatingPanelController::roomChanged, this, [this](const QSizeF &room) {
        if (m_view)
            m_view->model().setRoomWidth(room.width());
    });
    m_panelController->setGroupProvider([this] { return m_view ? m_view->selectedGroup() : std::nullopt; });
}

void PanelProgram::makePanelWindow(const std::function<void(const QUuid &)> &openStandalone)
{
    m_theme->refresh();
    m_platform.menus().setSymbolSource(symbolIcon);
    m_runningApps.emplace(m_platform.runningApplications());
    m_icons.emplace(m_platform.workspace(), qGuiApp->devicePixelRatio());
    m_view.emplace(PanelDependencies{m_core->config(),
                                     *m_popupSettings,
                                     *m_theme,
                                     m_core->notifications(),
                                     m_core->actions(),
                                     *m_runningApps,
                                     m_core->usage(),
                                     *m_icons,
                                     m_platform.workspace(),
                                     m_platform.dialogs(),
                                     m_platform.menus(),
                                     m_platform.appearance(),
                                     {m_bundle.resource(QStringLiteral("emoji")), m_platform.sharedDefaults()},
                                     openStandalone});
    m_platform.menus().setLook([this](const QWindow *window) {
        SettingsView *settings = m_settings ? m_settings->view() : nullptr;
        MenuLook look = m_view->engine().theme().menuLook();
        if (settings && window == &settings->window()) {
            const bool blends = look.blends; // which the panel follows
            look = settings->engine().theme().menuLook();
            look.blends = blends;
        }
        return look;
    });
    connect(&m_core->notifications(), &NotificationCenter::openSettings, this, [this] { settings().open(); });
    connect(&m_view->window(), &QQuickWindow::frameSwapped, this, &PanelProgram::firstPanelPainted,
            Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    connect(&m_view->engine().emojis(), &Emojis::released, this, &PanelProgram::releaseMemorySoon);
    m_view->setKeyMonitor(*m_panelController);
    m_panelController->createPanel();
}

void PanelProgram::registerHotKeys(HotKeys &hotKeys)
{
    m_hotkeyManager.emplace(hotKeys, m_core->notifications(), scheduler());
}

void PanelProgram::receiveEvents(std::function<void()> refreshTile)
{
    m_delegate.emplace(
        AppDelegate::Services{.dockTile = m_platform.dockTile(),
                              .usageTracker = m_core->usage(),
                              .showPanel = [this] { showPanel(); },
                              .refreshTile = std::move(refreshTile),
                              .bringSettingsForward = [this] { return m_settings && m_settings->bringForward(); }});
    connect(&m_platform.instance(), &Instance::reopen, &*m_delegate, &AppDelegate::applicationShouldHandleReopen);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &*m_delegate,
            &AppDelegate::applicationWillTerminate);
}

void PanelProgram::showPanelSoon()
{
    scheduler().detached(0ms, [self = QPointer(this)] {
        if (!self)
            return;
        self->m_platform.dockTile().activateApplication();
        self->showPanel();
    });
}

SettingsWindow &PanelProgram::settings()
{
    if (!m_settings) {
        m_suggestions.emplace(m_core->usage(), m_core->config(), m_platform.workspace(),
                              m_platform.standardDefaults(), scheduler());
        m_settings.emplace(SettingsDependencies{
            m_core->config(), m_platform.sharedDefaults(), m_platform.standardDefaults(), m_core->notifications(),
            m_platform.dialogs(), m_platform.menus(), m_platform.appearance(), m_platform.workspace(), *m_icons,
            groupIcons(), m_platform.runningApplications(), m_platform.distributedNotifications(),
            m_platform.pasteboard(), m_platform.dockTile(),
            isAgentIdentifier(m_bundle.identifier) ? nullptr : &*m_hotkeyManager, scheduler(), *m_suggestions,
            [this]() -> Diagnostics & { return diagnostics(); }, m_bundle.resource(QStringLiteral("emoji"))});
        connect(&*m_settings, &SettingsWindow::closed, this, &PanelProgram::releaseMemorySoon);
    }
    return *m_settings;
}

Diagnostics &PanelProgram::diagnostics()
{
    if (!m_diagnostics) {
        const PanelParts parts{&*m_hotkeyManager, &*m_panelController, statusBar()};
        m_diagnostics = makeDiagnostics(m_platform, m_core->config(), m_bundle, &parts);
    }
    return *m_diagnostics;
}

void PanelProgram::releaseMemorySoon()
{
    m_release = scheduler().after(releaseDelay, [this] { m_platform.releaseMemory(); });
}

GroupIconProvider &PanelProgram::groupIcons()
{
    if (!m_groupIcons) {
        m_groupIcons.emplace(*m_icons, m_platform.workspace());
        connect(&*m_icons, &IconProvider::iconsChanged, this, [this] { m_groupIcons->clearCache(); });
    }
    return *m_groupIcons;
}

} // namespace cobblet
