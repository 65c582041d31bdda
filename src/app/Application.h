#pragma once

#include "app/Core.h"
#include "control/RunningAppsMonitor.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "platform/Bundle.h"
#include "platform/Scheduler.h"
#include "shell/AppDelegate.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "standalone/StandaloneGroupManager.h"
#include "ui/panel/PanelView.h"

#include <chrono>
#include <optional>

namespace cobblet {

class PanelSurface;
class Platform;

/// The composition root: owns every object above the platform. Main thread only.
class Application : public QObject {
    Q_OBJECT
public:
    /// Needs a QApplication; the references must outlive the object. `request` is what the program was started for.
    Application(const Bundle &bundle, Platform &platform, const CommandLine &request);
    ~Application() override;

    /// Runs the start-up sequence; the panel shows once the event loop runs.
    void start();

private:
    AppDelegate::Services services();
    std::unique_ptr<StatusBarController> makeStatusBarController();
    std::unique_ptr<AgentController> makeAgentController();
    std::unique_ptr<FloatingPanelController> makePanelController();
    std::unique_ptr<PanelSurface> makePanel();
    /// Begins to answer other programs, and carries out what this one was started for.
    void serve();
    void later(std::chrono::milliseconds delay, void (Application::*step)());
    /// After the first painted frame: what can wait, in small steps.
    void settle();
    /// Warms the icons of the groups that are not on show.
    void preloadIcons();
    void showStatusItem();
    GroupIconProvider &groupIcons();
    /// Keeps the applications of single groups; not in one of them.
    StandaloneGroupManager &standalone();
    void startStandalone();
    /// Gives memory back once nobody has asked for anything for a while.
    void trimSoon();

    const Bundle &m_bundle;
    Platform &m_platform;
    const CommandLine &m_request;
    bool m_serves = false;
    // In order of dependency; each is made when start-up gets there.
    std::optional<PopupSettings> m_popupSettings;
    std::optional<ThemeManager> m_theme;
    std::optional<Core> m_core;
    std::optional<RunningAppsMonitor> m_runningApps;
    std::optional<IconProvider> m_icons;
    std::optional<GroupIconProvider> m_groupIcons;
    std::optional<StandaloneGroupManager> m_standalone;
    bool m_standaloneStarted = false;
    Scheduler::Handle m_trim;
    std::optional<PanelView> m_view;
    AppDelegate m_delegate;
};

} // namespace cobblet
