#pragma once

#include "app/Core.h"
#include "app/DiagnosticsSources.h"
#include "control/GroupSuggestionService.h"
#include "control/RunningAppsMonitor.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "platform/Bundle.h"
#include "platform/Scheduler.h"
#include "shell/AppDelegate.h"
#include "shell/FloatingPanelController.h"
#include "shell/GlobalHotkeyManager.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "ui/panel/PanelView.h"
#include "ui/settings/SettingsWindow.h"

#include <QPointer>

#include <chrono>
#include <optional>

namespace cobblet {

class Platform;

/// What Cobblet itself and an agent share: the stores, the panel and the steps of a start-up, which each program
/// takes in its own start(). Owns every object above the platform. Main thread only.
class PanelProgram : public QObject {
    Q_OBJECT
public:
    /// Needs a QApplication; the references outlive the object.
    PanelProgram(const Bundle &bundle, Platform &platform);
    ~PanelProgram() override;

    /// Runs the start-up sequence; what shows and what can wait comes once the event loop runs.
    virtual void start() = 0;

protected:
    // The steps of a start-up.

    /// Preferences of earlier versions, and what is the default.
    void migratePreferences();
    /// The preferences and the groups. The hook is called when the assistants' parameters are out of date; may be
    /// empty.
    void loadStores(std::function<void()> refreshShortcutParameters = {});
    void makePanelController();
    /// `openStandalone` makes a group an application of its own; empty where that is not offered.
    void makePanelWindow(const std::function<void(const QUuid &)> &openStandalone);
    void registerHotKeys(HotKeys &hotKeys);
    /// From here on the desktop's events are answered.
    void receiveEvents(std::function<void()> refreshTile = {});
    /// On the next turn of the event loop: activates the program and shows the panel.
    void showPanelSoon();

    virtual void showPanel() { m_panelController->show(); }
    /// Once the first panel is on the screen.
    virtual void firstPanelPainted() = 0;

    /// Runs the step after the delay, unless the program has ended by then.
    template<class Program>
    void later(std::chrono::milliseconds delay, void (Program::*step)())
    {
        scheduler().detached(delay, [self = QPointer(static_cast<Program *>(this)), step] {
            if (self)
                (self->*step)();
        });
    }
    /// The settings window, which is made with the first use.
    SettingsWindow &settings();
    /// Gives memory back once nobody has asked for anything for a while.
    void releaseMemorySoon();
    GroupIconProvider &groupIcons();
    /// Made with the first use, once all that answers in it is there.
    Diagnostics &diagnostics();
    /// Null where the program has no item in the status bar.
    virtual const StatusBarController *statusBar() const { return nullptr; }

    const Bundle &m_bundle;
    Platform &m_platform;
    // In order of dependency; each is made when start-up gets there.
    std::optional<PopupSettings> m_popupSettings;
    std::optional<ThemeManager> m_theme;
    std::optional<Core> m_core;
    std::optional<FloatingPanelController> m_panelController;
    std::optional<RunningAppsMonitor> m_runningApps;
    std::optional<IconProvider> m_icons;
    std::optional<GroupIconProvider> m_groupIcons;
    std::optional<PanelView> m_view;
    std::optional<GlobalHotkeyManager> m_hotkeyManager;
    std::unique_ptr<Diagnostics> m_diagnostics;
    std::optional<GroupSuggestionService> m_suggestions;
    std::optional<SettingsWindow> m_settings;
    std::optional<AppDelegate> m_delegate;

private:
    Scheduler &scheduler();

    std::function<void(const QUuid &)> m_openStandalone;
    Scheduler::Handle m_release;
};

} // namespace cobblet
