#pragma once

#include "platform/freedesktop/X11AltClicks.h"
#include "platform/freedesktop/X11OutsidePresses.h"
#include "platform/freedesktop/x11/X11Windows.h"
#include "platform/portable/QtPanelSurface.h"

#include <QAbstractNativeEventFilter>
#include <QTimer>

namespace cobblet {

/// A floating panel under X11. With a compositing manager it is blended and fades; without one its corners are
/// cut by a shape mask and fade() is applied at once.
class X11PanelSurface : public QtPanelSurface, private QAbstractNativeEventFilter {
    Q_OBJECT
public:
    /// `cornerRadius` is in points. The application runs on the toolkit's X11 platform.
    X11PanelSurface(QWindow &window, double cornerRadius, const Screens &screens, X11Windows &windows);
    ~X11PanelSurface() override;

    Availability availability() const override;
    void makeKeyAndOrderFront() override;
    void orderOut() override;
    Backdrop backdrop() const override;
    void setWantsBlur(bool wanted) override;

protected:
    void setGeometry(const QRect &geometry) override;
    void applyAlpha() override;

private slots:
    void popoverVisibleChanged(bool visible);
    void keepPlace();

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    void handleFocus(const xcb_focus_in_event_t &event);
    void prepareToMap();
    void takeFocus();
    void repeatState();
    bool holdsFocus(xcb_window_t focus) const;
    void returnFocus();
    bool pointerTookFocus() const;
    void updateShape();
    void updateEffects();
    void set(const char *property, xcb_atom_t type, const std::vector<uint32_t> &values);
    void addStates(xcb_window_t window, const char *first, const char *second);

    X11Windows &m_windows;
    xcb_connection_t *m_toolkit; ///< the toolkit's connection: what it carries stays in order with the mapping
    X11OutsidePresses m_presses;
    xcb_window_t m_id = XCB_WINDOW_NONE;
    std::unique_ptr<X11AltClicks> m_altClicks;
    double m_radius;
    bool m_wantsBlur = false;
    bool m_pointerTookFocus = false;         ///< from the panel, which stays open
    xcb_window_t m_holder = XCB_WINDOW_NONE; ///< the panel or the window of its family that has the focus
    bool m_awaitsTime = false;
    bool m_stateWasDropped = true; ///< by the window manager since the last unmapping, or there was none
    bool m_repeatsState = false;
    xcb_window_t m_previous = XCB_WINDOW_NONE; ///< had the focus before the panel
    QSize m_shapedPixels;
    QRect m_asked;         ///< in y-down points
    int m_corrections = 0; ///< that are left since the window was shown
    QTimer m_loss;
};

} // namespace cobblet
