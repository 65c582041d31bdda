#pragma once

#include "ui/settings/GroupDrafts.h"
#include "ui/settings/SettingsDependencies.h"
#include "ui/settings/SettingsView.h"

#include <memory>

namespace cobblet {

/// The program's one settings window: made when it is opened, gone when it is closed. Main thread only.
class SettingsWindow : public QObject {
    Q_OBJECT
public:
    explicit SettingsWindow(const SettingsDependencies &dependencies, QObject *parent = nullptr);
    ~SettingsWindow() override;

    /// Opens the window, or brings it forward.
    void open();
    /// Brings the window forward if it is open, and says whether it is.
    bool bringForward();
    /// Null while the window is closed.
    SettingsView *view() { return m_view.get(); }

signals:
    /// What the window took can go back.
    void closed();

private:
    SettingsDependencies m_d;
    GroupDrafts m_drafts; ///< outlive the window
    std::unique_ptr<SettingsView> m_view;
};

} // namespace cobblet
