#pragma once

#include "platform/DockTile.h"

namespace cobblet {

class X11Windows;

/// The icon of this process's windows. X11 activates windows and not processes.
class WindowDockTile : public DockTile {
public:
    /// `windows` is asked when the first window comes forward; it answers with null where there is no X server.
    explicit WindowDockTile(std::function<X11Windows *()> windows) : m_windows(std::move(windows)) {}

    Availability availability() const override { return Availability::works(); }
    void setIcon(const QImage &icon) override;
    /// Brings an ordinary window of this process to the front, if one is open; the panel does that for itself.
    void activateApplication() override;
    void bringForward(QWindow &window) override;
    /// The entries are in the bundle's registration: only what was chosen arrives here.
    void setMenu(std::function<QList<DockMenuItem>()> items,
                 std::function<bool(const QString &action)> chosen) override;

    /// Carries out an action of the menu; false for one that is unknown.
    bool choose(const QString &action) const { return m_chosen && m_chosen(action); }

private:
    const std::function<X11Windows *()> m_windows;
    std::function<bool(const QString &)> m_chosen;
};

} // namespace cobblet
