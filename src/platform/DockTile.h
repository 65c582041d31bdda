#pragma once

#include "platform/Availability.h"

#include <QImage>
#include <QList>
#include <QString>

#include <functional>

class QWindow;

namespace cobblet {

/// One entry of the menu that an application's icon in the dock offers.
struct DockMenuItem {
    QString action; ///< what it is called between desktop and program: ASCII letters, digits and "-"; a separator has
                    ///< none
    QString title;
    QString bundleID; ///< of the application whose icon stands beside the title; may be empty

    bool isSeparator() const { return action.isEmpty(); }
    bool operator==(const DockMenuItem &) const = default;
};

/// How this process is shown in the dock. Main thread only.
class DockTile {
public:
    virtual ~DockTile() = default;

    virtual Availability availability() const = 0;
    /// The application's icon.
    virtual void setIcon(const QImage &icon) = 0;
    /// Makes this process the active application as far as the desktop lets it.
    virtual void activateApplication() = 0;
    /// Shows an ordinary window of this process in front of all others and with the keyboard, on the desktop where
    /// the person is.
    virtual void bringForward(QWindow &window) = 0;
    /// The icon's menu. `items` is asked for whenever the menu is to be seen, unless the desktop has it from the
    /// registration of the bundle; `chosen` carries out an action, and says whether it knows it.
    virtual void setMenu(std::function<QList<DockMenuItem>()> items,
                         std::function<bool(const QString &action)> chosen) = 0;
};

} // namespace cobblet
