#pragma once

#include "platform/Result.h"
#include "platform/freedesktop/x11/X11Connection.h"

#include <QObject>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace cobblet {

/// The windows of an X display, and what its window manager and compositing manager say of themselves, followed as
/// they change: nobody has to ask on the way to a painted panel. Main thread.
class X11Windows : public QObject {
    Q_OBJECT
public:
    /// Reads the display as it is. The connection outlives this object.
    explicit X11Windows(X11Connection &x11);

    X11Connection &x11() const { return m_x11; }

    /// Whether a window manager runs that keeps the EWMH properties.
    bool hasManager() const { return m_manager != XCB_WINDOW_NONE; }
    /// Whether it grants this request of a pager.
    bool supports(const char *request) const { return hasManager() && m_supported.contains(m_x11.atom(request)); }
    /// Whether the window is the window manager's own, which takes the focus when no other window can.
    bool isManagerWindow(xcb_window_t window) const { return hasManager() && window == m_manager; }
    bool isCompositing() const { return m_compositing; }
    /// Whether the compositing manager blurs what lies behind the windows that ask for it.
    bool isBlurring() const { return m_compositing && m_blurs; }
    /// None when no window is active or nobody tells.
    xcb_window_t activeWindow() const { return m_active; }

    /// The windows of applications in the order in which they were mapped, less those of this process: the window
    /// manager's list with the docks that it lacks, or what the window tree shows where there is none.
    const std::vector<xcb_window_t> &windows() const { return m_windows; }
    bool contains(xcb_window_t window) const;
    /// Whether the window is one that the window manager made for itself, such as its dock.
    bool isOfManager(xcb_window_t window) const;
    /// Whether the window is one of this process.
    bool isOwn(xcb_window_t window) const;
    /// The ones of these that are iconified, or unmapped where nobody iconifies. Waits for one answer.
    QSet<xcb_window_t> iconified(const std::vector<xcb_window_t> &windows) const;

    // What a pager may ask for.
    /// Iconifies the ones that can be seen. `done`, when given, is told once: when all of them are gone from sight,
    /// or, a second later, that the window manager left some where they were.
    void hide(const std::vector<xcb_window_t> &windows, std::function<void(const Status &)> done = {});
    /// Maps the ones that hide() iconified.
    void unhide(const std::vector<xcb_window_t> &windows);
    /// Maps the ones that are iconified, by whomever.
    void unminimize(const std::vector<xcb_window_t> &windows);
    /// Raises the ones that are not iconified above all others, in their order, and focuses the topmost.
    void bringToFront(const std::vector<xcb_window_t> &windows);
    /// Gives the window the focus on behalf of the user, who acted at `time`; on another connection where that has to
    /// stay in order with what the other one maps and unmaps.
    void activate(xcb_window_t window, xcb_timestamp_t time, xcb_connection_t *on = nullptr);
    /// Tells listeners not to give the focus back: an application that is being launched will take it.
    void giveFocusToLaunch() { emit activationSent(XCB_WINDOW_NONE); }
    /// Asks a window to close; false when it does not take such a request.
    bool close(xcb_window_t window);

    /// The server's time when the user last did something to this program; 0 when that is unknown.
    xcb_timestamp_t userTime() const { return m_userTime; }
    void noteUserTime(xcb_timestamp_t time);

signals:
    void added(xcb_window_t window);
    void removed(xcb_window_t window);
    /// Of one of windows().
    void propertyChanged(xcb_window_t window, xcb_atom_t property);
    void activeWindowChanged();
    /// isCompositing() or isBlurring() changed.
    void compositingChanged();
    /// This process gave the focus to the window, or, where it is none, to what it launched.
    void activationSent(xcb_window_t window);

private:
    void handle(const xcb_generic_event_t *event);
    void followActive();
    void followManager();
    void followBlur();
    void followWindows();
    void setManager(xcb_window_t window);
    uint32_t clientOf(xcb_window_t window) const;
    void setWindows(std::vector<xcb_window_t> windows);
    std::vector<xcb_window_t> tree();
    void collect(xcb_window_t parent, int depth, std::vector<xcb_window_t> &found) const;
    /// A call of hide() whose outcome is not known yet.
    struct Hiding {
        QSet<xcb_window_t> inSight;
        std::function<void(const Status &)> done;
    };
    void followHiding(xcb_window_t window);
    void noteOutOfSight(xcb_window_t window);
    void endHiding(std::shared_ptr<Hiding> hiding);
    bool hasList() const { return supports("_NET_CLIENT_LIST"); }
    /// A manager that works out no work area takes no notice of docks, and may leave them out of its list.
    bool listsDocks() const { return hasList() && supports("_NET_WORKAREA"); }
    bool isDock(xcb_window_t window) const;
    std::vector<xcb_window_t> inStackingOrder(std::vector<xcb_window_t> windows) const;
    void raise(xcb_window_t window);

    X11Connection &m_x11;
    std::optional<uint32_t> m_ownBase;             ///< the identifiers of the toolkit's windows begin with it
    xcb_window_t m_managerNamed = XCB_WINDOW_NONE; ///< by the root window; it outlives a manager that died
    xcb_window_t m_manager = XCB_WINDOW_NONE;      ///< which says the same of itself
    QSet<xcb_atom_t> m_supported;
    bool m_isManaged = false; ///< by a manager of any kind; known where there is no list
    xcb_window_t m_active = XCB_WINDOW_NONE;
    bool m_compositing = false;
    bool m_blurs = false;
    std::vector<xcb_window_t> m_windows;
    std::vector<std::shared_ptr<Hiding>> m_hiding;
    QSet<xcb_window_t> m_hidden;    ///< by hide()
    QSet<xcb_window_t> m_restoring; ///< on their way back: the window manager has not mapped them yet
    bool m_lookingAgain = false;
    xcb_timestamp_t m_userTime = 0;
};

} // namespace cobblet
