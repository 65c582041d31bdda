#pragma once

#include "app/PanelProgram.h"
#include "integration/CommandLine.h"
#include "shell/StatusBarController.h"
#include "standalone/StandaloneGroupManager.h"

namespace cobblet {

/// Cobblet itself: the panel, the item in the status bar, the hot keys, the keeper of the agents, and the one that
/// answers other programs.
class MainProgram : public PanelProgram {
    Q_OBJECT
public:
    /// `request` is what the program was started for.
    MainProgram(const Bundle &bundle, Platform &platform, CommandLine request);
    ~MainProgram() override;

    void start() override;

protected:
    void firstPanelPainted() override;
    const StatusBarController *statusBar() const override { return &*m_statusBarController; }

private:
    /// Answers other programs from now on, and carries out what this one was started for.
    void serve();
    /// Warms the icons of the groups that are not on show.
    void preloadIcons();
    /// Of the program's windows.
    void showIcon();
    void showStatusItem() { m_statusBarController->show(); }
    StandaloneGroupManager &standaloneManager();
    void startStandaloneManager();

    const CommandLine m_request;
    bool m_serves = false;
    bool m_showsIcon = false;
    std::optional<StatusBarController> m_statusBarController;
    std::optional<StandaloneGroupManager> m_standaloneManager;
    bool m_standaloneManagerStarted = false;
};

} // namespace cobblet
