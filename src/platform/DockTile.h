#pragma once

#include <QImage>

namespace cobblet {

/// How this process is shown in the dock.
class DockTile {
public:
    virtual ~DockTile() = default;

    /// The application's icon.
    virtual void setIcon(const QImage &icon) = 0;
    /// Makes this process the active application as far as the desktop lets it.
    virtual void activateApplication() = 0;
};

} // namespace cobblet
