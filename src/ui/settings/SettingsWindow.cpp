#include "ui/settings/SettingsWindow.h"

#include "platform/DockTile.h"

#include <QQuickWindow>

namespace cobblet {

SettingsWindow::SettingsWindow(const SettingsDependencies &dependencies, QObject *parent)
    : QObject(parent), m_d(dependencies), m_drafts(m_d.config)
{
}

SettingsWindow::~SettingsWindow() = default;

void SettingsWindow::open()
{
    if (!m_view) {
        m_view = std::make_unique<SettingsView>(m_d, m_drafts);
        connect(m_view.get(), &SettingsView::closed, this, [this] {
            m_view.release()->deleteLater(); // the window is in the middle of its close event
            emit closed();
        });
    }
    bringForward();
}

bool SettingsWindow::bringForward()
{
    if (!m_view)
        return false;
    m_d.dockTile.bringForward(m_view->window());
    return true;
}

} // namespace cobblet
