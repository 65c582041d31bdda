#pragma once

#include "platform/DockTile.h"

namespace cobblet {

/// The icon of this process's windows. X11 activates windows and not processes.
class WindowDockTile : public DockTile {
public:
    Availability availability() const override { return Availability::works(); }
    void setIcon(const QImage &icon) override;
    /// Brings an ordinary window of this process to the front, if one is open; the panel does that for itself.
    void activateApplication() override;
    /// The entries are in the bundle's registration: only what was chosen arrives here.
    void setMenu(std::function<QList<DockMenuItem>()> items,
                 std::function<bool(const QString &action)> chosen) override;

    /// Carries out an action of the menu; false for one that is unknown.
    bool choose(const QString &action) const { return m_chosen && m_chosen(action); }

private:
    std::function<bool(const QString &)> m_chosen;
};

} // namespace cobblet
