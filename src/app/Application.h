#pragma once

#include "control/GroupActions.h"
#include "control/RunningAppsMonitor.h"
#include "control/UsageTracker.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "platform/Bundle.h"
#include "shell/AppDelegate.h"
#include "standalone/IconProvider.h"
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
    /// Needs a QApplication; both references must outlive the object.
    Application(const Bundle &bundle, Platform &platform);
    ~Application() override;

    /// Runs the start-up sequence; the panel shows once the event loop runs.
    void start();

private:
    AppDelegate::Services services();
    std::unique_ptr<StatusBarController> makeStatusBarController();
    std::unique_ptr<FloatingPanelController> makePanelController();
    std::unique_ptr<PanelSurface> makePanel();
    void later(std::chrono::milliseconds delay, void (Application::*step)());
    /// After the first painted frame: what can wait, in small steps.
    void settle();
    /// Warms the icons of the groups that are not on show.
    void preloadIcons();
    void showStatusItem();
    void trim();

    const Bundle &m_bundle;
    Platform &m_platform;
    NotificationCenter m_notifications;
    // In order of dependency; each is made when start-up gets there.
    std::optional<PopupSettings> m_popupSettings;
    std::optional<ThemeManager> m_theme;
    std::optional<ConfigManager> m_config;
    std::optional<UsageTracker> m_usage;
    std::optional<RunningAppsMonitor> m_runningApps;
    std::optional<GroupActions> m_actions;
    std::optional<IconProvider> m_icons;
    std::optional<PanelView> m_view;
    AppDelegate m_delegate;
};

} // namespace cobblet
