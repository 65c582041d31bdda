#pragma once

#include "platform/Availability.h"

#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <cmath>
#include <functional>
#include <optional>

namespace cobblet {

/// The edge of a screen that its dock stands on.
enum class DockEdge { Bottom, Left, Right };

/// Where a panel goes: the place as the rules name it, for desktops that place windows themselves, and the frame that
/// the rules give for it.
struct PanelPlace {
    QString screen; ///< the screen's name
    DockEdge edge = DockEdge::Bottom;
    std::optional<QPointF> anchor; ///< the click that the panel stands beside; absent: the middle of the edge
    QSizeF size;
    QRectF frame; ///< y-up points

    bool operator==(const PanelPlace &) const = default;
};

/// How many points a window is wider and higher than what it shows: at a fractional scale the toolkit paints its last
/// point in part or not at all.
inline int overhang(double scale)
{
    return scale == std::floor(scale) ? 0 : 1;
}

/// Timing curve of an animation.
enum class Easing { In, Out };

/// What lies behind a translucent panel.
enum class Backdrop {
    Nothing, ///< the desktop does not blend windows: what the content leaves transparent shows black
    Sharp,   ///< windows and wallpaper as they are
    Blurred, ///< the same, blurred where the panel asks for it
};

/// What took the keyboard focus from the panel.
enum class KeyWindow {
    None,       ///< no window of this process
    Panel,      ///< another panel of this process
    Borderless, ///< a window of this process that is no panel and has no title bar
    Titled,     ///< a window of this process with a title bar
};

/// One window made into a floating panel: above others, on all desktops, out of taskbar and pager, with
/// rounded corners, key without activating the application. Popovers that belong to the panel count as the
/// panel: focus moving to them is no loss of key status. Main thread only.
class PanelSurface : public QObject {
    Q_OBJECT
public:
    virtual Availability availability() const = 0;

    virtual bool isVisible() const = 0;

    /// Takes effect at once, without animation.
    virtual void setPlace(const PanelPlace &place) = 0;
    /// Animates the change; a newer setPlace() or animatePlace() replaces a running one.
    virtual void animatePlace(const PanelPlace &place, double seconds, Easing easing) = 0;

    /// 0 is transparent, 1 opaque. Stops a running fade.
    virtual void setAlpha(double alpha) = 0;
    /// Animates the alpha and then calls `done`. A newer fade() or setAlpha() replaces a running fade, whose
    /// `done` is then dropped. Where the desktop cannot blend windows the change is applied and `done` called
    /// without waiting: an animation that nobody can see is only a delay.
    virtual void fade(double alpha, double seconds, Easing easing, std::function<void()> done = {}) = 0;

    /// Maps the window, brings it to the front and gives it the keyboard focus.
    virtual void makeKeyAndOrderFront() = 0;
    /// Unmaps the window and returns the focus to the window that had it before.
    virtual void orderOut() = 0;

    /// The window of this process that has the keyboard focus, other than this panel.
    virtual KeyWindow otherKeyWindow() const = 0;
    /// Unmaps the window that otherKeyWindow() speaks of.
    virtual void orderOutOtherKeyWindow() = 0;
    /// A modal dialog of this process is open.
    virtual bool hasModalWindow() const = 0;

    /// Where it is nothing, the surface cuts the corners itself, and the content paints itself opaque and to its
    /// square edge.
    virtual Backdrop backdrop() const { return Backdrop::Sharp; }
    bool blendsWithDesktop() const { return backdrop() != Backdrop::Nothing; }
    /// Asks for a blurred background, where the desktop offers it.
    virtual void setWantsBlur(bool) {}

signals:
    void backdropChanged();
    /// The panel lost the keyboard focus, or the user turned to what takes none, such as a dock.
    void resignedKey();
};

} // namespace cobblet
