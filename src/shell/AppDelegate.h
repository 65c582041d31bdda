#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace cobblet {

class AgentController;
class DockTile;
class FloatingPanelController;
class GlobalHotkeyManager;
class Scheduler;
class StatusBarController;
class ThemeManager;
class UsageTracker;
class UserDefaults;

/// Runs the start-up sequence, owns the long-lived controllers and answers clicks on the application's icon.
/// Main thread only.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    /// What the delegate works with. The factories keep start-up in the delegate's order and let a caller
    /// that never gets there make nothing.
    struct Services {
        UserDefaults &standardDefaults;
        UserDefaults &sharedDefaults;
        DockTile &dockTile;
        Scheduler &scheduler;
        std::function<ThemeManager &()> theme;
        std::function<UsageTracker &()> usageTracker;
        /// Empty in an agent, which has no item in the status bar.
        std::function<std::unique_ptr<StatusBarController>()> makeStatusBarController;
        std::function<std::unique_ptr<FloatingPanelController>()> makePanelController;
        /// Empty but in an agent.
        std::function<std::unique_ptr<AgentController>()> makeAgentController;
        std::function<std::unique_ptr<GlobalHotkeyManager>()> makeHotkeyManager;
        /// Brings the settings window forward if it is visible, and says whether it is. May be empty.
        std::function<bool()> bringSettingsForward;
        /// Whether the panel shows once launch has finished.
        bool opensPanel = true;
    };

    explicit AppDelegate(Services services, QObject *parent = nullptr);
    ~AppDelegate() override;

    /// Carries earlier preferences over. Before any store that reads them is made.
    void applicationWillFinishLaunching();
    /// Makes the controllers and the panel, which shows on the next turn of the event loop.
    void applicationDidFinishLaunching();
    /// A click on the icon of the running application, or a second start of it.
    void applicationShouldHandleReopen();
    /// Writes what is still pending.
    void applicationWillTerminate();

    /// Null before launch has finished, and in an agent.
    StatusBarController *statusBarController() const { return m_statusBarController.get(); }
    /// Null before launch has finished.
    FloatingPanelController *panelController() const { return m_panelController.get(); }
    /// Null before launch has finished, and but in an agent.
    AgentController *agentController() const { return m_agentController.get(); }
    /// Null before launch has finished.
    GlobalHotkeyManager *hotkeyManager() const { return m_hotkeyManager.get(); }

private:
    /// Shows the panel; an agent's with its own group.
    void showPanel();

    Services m_services;
    UsageTracker *m_usageTracker = nullptr;
    std::unique_ptr<StatusBarController> m_statusBarController;
    std::unique_ptr<FloatingPanelController> m_panelController;
    std::unique_ptr<AgentController> m_agentController;
    std::unique_ptr<GlobalHotkeyManager> m_hotkeyManager;
};

} // namespace cobblet
