#include "shell/AppDelegate.h"

#include "control/UsageTracker.h"
#include "model/Theme.h"
#include "platform/DockTile.h"
#include "platform/Scheduler.h"
#include "platform/UserDefaults.h"
#include "shell/AgentController.h"
#include "shell/FloatingPanelController.h"
#include "shell/GlobalHotkeyManager.h"
#include "shell/StatusBarController.h"

#include <QLoggingCategory>
#include <QPointer>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.shell")

/// Past the panel's fade, which somebody waits for.
constexpr std::chrono::milliseconds tileDelay{400};

const QString glassyStyleKey = QStringLiteral("glassyStyle");

} // namespace

AppDelegate::AppDelegate(Services services, QObject *parent) : QObject(parent), m_services(std::move(services)) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationWillFinishLaunching()
{
    UserDefaults &shared = m_services.sharedDefaults;
    for (const QString &key : {QStringLiteral("panelTheme"), glassyStyleKey}) {
        if (shared.contains(key) || !m_services.standardDefaults.contains(key))
            continue;
        const auto value = m_services.standardDefaults.object(key);
        if (!value)
            continue;
        if (const Status copied = shared.set(key, *value); !copied)
            qCWarning(log).noquote() << copied.error();
    }
    shared.registerDefault(glassyStyleKey, true);
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_usageTracker = &m_services.usageTracker();
    if (m_services.makeStatusBarController)
        m_statusBarController = m_services.makeStatusBarController();
    m_panelController = m_services.makePanelController();
    if (m_services.makeAgentController)
        m_agentController = m_services.makeAgentController();
    m_services.theme().refresh();
    m_panelController->createPanel();
    if (m_agentController)
        m_agentController->selectGroup(); // so that no other one is made ready
    m_hotkeyManager = m_services.makeHotkeyManager();
    if (!m_services.opensPanel)
        return;
    m_services.scheduler.detached(std::chrono::milliseconds(0), [self = QPointer(this)] {
        if (!self)
            return;
        self->m_services.dockTile.activateApplication();
        self->showPanel();
    });
}

void AppDelegate::showPanel()
{
    m_panelController->show();
    if (m_agentController)
        m_agentController->selectGroup();
}

void AppDelegate::applicationShouldHandleReopen()
{
    m_services.dockTile.activateApplication();
    if (m_agentController)
        m_services.scheduler.detached(tileDelay, [self = QPointer(this)] {
            if (self)
                self->m_agentController->refreshTile();
        });
    if (m_services.bringSettingsForward && m_services.bringSettingsForward())
        return;
    if (m_panelController)
        showPanel();
}

void AppDelegate::applicationWillTerminate()
{
    if (m_usageTracker)
        m_usageTracker->flush();
}

} // namespace cobblet
