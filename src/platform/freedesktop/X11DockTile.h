#pragma once

#include "platform/DockTile.h"

namespace cobblet {

/// The icon of this process's windows. X11 activates windows and not processes.
class X11DockTile : public DockTile {
public:
    void setIcon(const QImage &icon) override;
    /// Brings an ordinary window of this process to the front, if one is open; the panel does that for itself.
    void activateApplication() override;
};

} // namespace cobblet
