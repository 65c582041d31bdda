#pragma once

#include "model/Theme.h"
#include "ui/common/ControlsEngine.h"
#include "ui/settings/SettingsViewModel.h"

#include <memory>

class QQuickView;
class QQuickWindow;

namespace cobblet {

/// The settings in an ordinary window, while it is open: an engine, the models of the pages, and the window, not
/// shown yet. Main thread only.
class SettingsView : public QObject {
    Q_OBJECT
public:
    /// The drafts outlive the view.
    SettingsView(const SettingsDependencies &dependencies, GroupDrafts &drafts);
    ~SettingsView() override;

    QQuickWindow &window();
    SettingsViewModel &model() { return m_model; }
    ControlsEngine &engine() { return m_engine; }

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    /// The person closed the window.
    void closed();

private:
    void restoreFrame();
    void saveFrame();

    SettingsDependencies m_d;
    ThemeManager m_theme; ///< the desktop's appearance, whatever the panel's theme is
    SettingsViewModel m_model;
    ControlsEngine m_engine;
    std::unique_ptr<QQuickView> m_view;
};

} // namespace cobblet
