#include "platform/freedesktop/X11PanelSurface.h"

#include "platform/freedesktop/RoundedShape.h"

#include <QGuiApplication>
#include <QLoggingCategory>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <utility>

#include <xcb/shape.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcDesktop, "cobblet.desktop")

namespace {

// Focus that leaves for nowhere often comes back at once: a popover closes, a window manager moves it in steps.
constexpr std::chrono::milliseconds graceForFocus{60};

// Some window managers place a new window elsewhere than it asks; one that insists is not fought.
constexpr int maximumCorrections = 2;
constexpr int roundingError = 2; // points, of both coordinates together

constexpr uint32_t allDesktops = 0xFFFFFFFF;
constexpr uint32_t fromApplication = 1; // the source of a request

constexpr const char *timeMark = "_COBBLET_TIME";
constexpr const char *windowState = "_NET_WM_STATE";
constexpr const char *hiddenState = "_NET_WM_STATE_HIDDEN";
constexpr const char *blurRegion = "_KDE_NET_WM_BLUR_BEHIND_REGION";

const QString noManager =
    QStringLiteral("No window manager runs: the panel places and focuses itself, and nothing keeps it "
                   "above other windows.");
const QString noCompositor =
    QStringLiteral("No compositing manager runs: the panel's corners are cut, and it neither fades "
                   "nor blurs. Start one, such as picom.");

QWindow *ownWindow(xcb_window_t id)
{
    for (QWindow *window : QGuiApplication::allWindows())
        if (window->handle() && window->winId() == id)
            return window;
    return nullptr;
}

} // namespace

X11PanelSurface::X11PanelSurface(QWindow &window, double cornerRadius, const Screens &screens, X11Windows &windows)
    : QtPanelSurface(window, screens, Focus::Derived), m_windows(windows),
      m_toolkit(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection()),
      m_presses(windows, m_toolkit), m_radius(cornerRadius)
{
    m_windows.x11().intern({timeMark, windowState, "WM_STATE", hiddenState, blurRegion, "_NET_WM_WINDOW_TYPE",
                            "_NET_WM_WINDOW_TYPE_UTILITY", "_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY",
                            "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_DESKTOP"});
    if (!m_windows.hasManager())
        qCWarning(lcDesktop).noquote() << noManager;
    if (!m_windows.isCompositing())
        qCInfo(lcDesktop).noquote() << noCompositor;
    window.create();
    m_id = xcb_window_t(window.winId());
    m_altClicks = std::make_unique<X11AltClicks>(m_windows.x11(), m_toolkit, m_id);

    m_loss.setSingleShot(true);
    connect(&m_loss, &QTimer::timeout, this, [this] {
        // The press may have been on the item in a tray, which lies within a dock: the focus is where it was.
        if (X11OutsidePresses::menuIsOpen())
            return;
        m_holder = XCB_WINDOW_NONE;
        m_pointerTookFocus = pointerTookFocus();
        if (isVisible() && !m_pointerTookFocus)
            emit resignedKey();
    });
    connect(&m_windows, &X11Windows::activeWindowChanged, this, [this] {
        const xcb_window_t active = m_windows.activeWindow();
        if (active == XCB_WINDOW_NONE || isFamily(ownWindow(active)))
            return;
        // What the pointer took does not come back to the panel before the user goes on to another window.
        if (m_loss.isActive() || (m_pointerTookFocus && isVisible() && m_presses.pressedLately()))
            m_loss.start(std::chrono::milliseconds(0));
    });
    connect(&m_windows, &X11Windows::activationSent, this, [this](xcb_window_t activated) {
        if (activated != m_id)
            m_previous = XCB_WINDOW_NONE; // the focus is given to someone else on purpose
    });
    connect(&m_windows, &X11Windows::compositingChanged, this, [this] {
        updateEffects();
        applyAlpha();
        emit backdropChanged();
    });
    // Docks and desktops take no focus. The one that takes it after all gets the time to do so.
    connect(&m_presses, &X11OutsidePresses::pressed, this, [this] { m_loss.start(graceForFocus); });
    // A popover that takes the keyboard is a window of its own to the desktop, yet none to switch to.
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](QWindow *now) {
        if (now && now != &this->window() && isFamily(now))
            addStates(xcb_window_t(now->winId()), "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER");
    });
    connect(&window, &QWindow::screenChanged, this, &X11PanelSurface::updateShape);
    // The window manager may have given it another size.
    connect(&window, &QWindow::widthChanged, this, &X11PanelSurface::updateShape);
    connect(&window, &QWindow::heightChanged, this, &X11PanelSurface::updateShape);
    connect(&window, &QWindow::xChanged, this, &X11PanelSurface::keepPlace);
    connect(&window, &QWindow::yChanged, this, &X11PanelSurface::keepPlace);
    qGuiApp->installNativeEventFilter(this);
}

X11PanelSurface::~X11PanelSurface()
{
    qGuiApp->removeNativeEventFilter(this);
}

Availability X11PanelSurface::availability() const
{
    if (!m_windows.hasManager())
        return Availability::partly(noManager);
    if (!blendsWithDesktop())
        return Availability::partly(noCompositor);
    return Availability::works(
        backdrop() == Backdrop::Blurred
            ? QStringLiteral("The panel fades, and what is behind it is blurred.")
            : QStringLiteral("The panel fades; this compositing manager does not blur what is behind it."));
}

Backdrop X11PanelSurface::backdrop() const
{
    return m_windows.isBlurring()      ? Backdrop::Blurred
           : m_windows.isCompositing() ? Backdrop::Sharp
                                       : Backdrop::Nothing;
}

void X11PanelSurface::set(const char *property, xcb_atom_t type, const std::vector<uint32_t> &values)
{
    xcb_change_property(m_toolkit, XCB_PROP_MODE_REPLACE, m_id, m_windows.x11().atom(property), type, 32,
                        uint32_t(values.size()), values.data());
}

/// A window manager drops the state of a window that is withdrawn, so all is said again before each mapping.
void X11PanelSurface::prepareToMap()
{
    X11Connection &x11 = m_windows.x11();
    m_repeatsState = !m_stateWasDropped;
    set("_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, {x11.atom("_NET_WM_WINDOW_TYPE_UTILITY")});
    set(windowState, XCB_ATOM_ATOM,
        {x11.atom("_NET_WM_STATE_ABOVE"), x11.atom("_NET_WM_STATE_STICKY"), x11.atom("_NET_WM_STATE_SKIP_TASKBAR"),
         x11.atom("_NET_WM_STATE_SKIP_PAGER")});
    set("_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {allDesktops});
    updateShape();
}

/// A state that was said before the window manager dealt with the last unmapping goes with it.
void X11PanelSurface::repeatState()
{
    X11Connection &x11 = m_windows.x11();
    addStates(m_id, "_NET_WM_STATE_ABOVE", "_NET_WM_STATE_STICKY");
    addStates(m_id, "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER");
    x11.sendToRoot(m_id, x11.atom("_NET_WM_DESKTOP"), {allDesktops, fromApplication}, m_toolkit);
}

/// Of a window that is shown already.
void X11PanelSurface::addStates(xcb_window_t window, const char *first, const char *second)
{
    constexpr uint32_t add = 1;
    X11Connection &x11 = m_windows.x11();
    x11.sendToRoot(window, x11.atom(windowState), {add, x11.atom(first), x11.atom(second), fromApplication},
                   m_toolkit);
}

/// The toolkit sends a change of opacity with whatever it sends next, which may be the end of the fade.
void X11PanelSurface::applyAlpha()
{
    QtPanelSurface::applyAlpha();
    xcb_flush(m_toolkit);
}

void X11PanelSurface::setGeometry(const QRect &geometry)
{
    m_asked = geometry;
    QtPanelSurface::setGeometry(geometry);
    updateShape();
}

/// Window managers place a window as they show it: i3 lower by a title bar that the panel does not have, awesome
/// where no other window is.
void X11PanelSurface::keepPlace()
{
    if (!isVisible() || m_corrections == 0 ||
        (window().position() - m_asked.topLeft()).manhattanLength() <= roundingError)
        return;
    --m_corrections;
    window().setGeometry(m_asked); // the size as well: the window may still tell of one that it has grown out of
}

void X11PanelSurface::updateShape()
{
    const double scale = window().devicePixelRatio();
    const QSize points = window().size() - QSize(overhang(scale), overhang(scale));
    const QSize pixels(qRound(points.width() * scale), qRound(points.height() * scale));
    if (std::exchange(m_shapedPixels, pixels) != pixels)
        updateEffects();
}

void X11PanelSurface::updateEffects()
{
    const bool blended = blendsWithDesktop();
    const auto shape = roundedShape(m_shapedPixels, m_radius * window().devicePixelRatio());
    if (blended)
        xcb_shape_mask(m_toolkit, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, m_id, 0, 0, XCB_PIXMAP_NONE);
    else
        xcb_shape_rectangles(m_toolkit, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_YX_BANDED, m_id, 0,
                             0, uint32_t(shape.size()), shape.data());
    if (blended && m_wantsBlur) {
        std::vector<uint32_t> region;
        for (const xcb_rectangle_t &row : shape)
            region.insert(region.end(), {uint32_t(row.x), uint32_t(row.y), row.width, row.height});
        set(blurRegion, XCB_ATOM_CARDINAL, region);
    } else {
        xcb_delete_property(m_toolkit, m_id, m_windows.x11().atom(blurRegion));
    }
    xcb_flush(m_toolkit);
}

void X11PanelSurface::setWantsBlur(bool wanted)
{
    if (std::exchange(m_wantsBlur, wanted) != wanted)
        updateEffects();
}

void X11PanelSurface::makeKeyAndOrderFront()
{
    if (isVisible()) {
        window().raise();
    } else {
        // Without a manager nobody keeps the active window, so the server has to be asked.
        m_previous = m_windows.hasManager() ? m_windows.activeWindow() : m_windows.x11().focus();
        prepareToMap();
        m_corrections = maximumCorrections;
        m_altClicks->grab();
        window().show();
        m_presses.listen(true);
    }
    takeFocus();
}

void X11PanelSurface::takeFocus()
{
    if (!m_windows.hasManager()) {
        xcb_set_input_focus(m_toolkit, XCB_INPUT_FOCUS_POINTER_ROOT, m_id, XCB_CURRENT_TIME);
    } else {
        // A window manager refuses the focus to a request older than the user's last action elsewhere, and what
        // brought the panel up often has no time of its own. An empty change of a property makes the server say
        // what time it is.
        m_awaitsTime = true;
        xcb_change_property(m_toolkit, XCB_PROP_MODE_APPEND, m_id, m_windows.x11().atom(timeMark), XCB_ATOM_CARDINAL,
                            32, 0, nullptr);
    }
    xcb_flush(m_toolkit);
}

bool X11PanelSurface::holdsFocus(xcb_window_t focus) const
{
    if (focus == XCB_INPUT_FOCUS_NONE || focus == XCB_INPUT_FOCUS_POINTER_ROOT || focus == m_windows.x11().root() ||
        m_windows.isManagerWindow(focus))
        return true; // nobody else has it
    return isFamily(ownWindow(focus));
}

/// Where the focus follows the pointer, to cross another window on the way to the panel is not to turn away from it.
bool X11PanelSurface::pointerTookFocus() const
{
    const xcb_window_t active = m_windows.activeWindow();
    return active != XCB_WINDOW_NONE && active != m_id && !m_presses.pressedLately() &&
           m_windows.x11().originUnderPointer(active);
}

void X11PanelSurface::orderOut()
{
    const bool wasVisible = isVisible();
    m_presses.listen(false);
    m_loss.stop();
    m_holder = XCB_WINDOW_NONE;
    m_pointerTookFocus = false;
    m_awaitsTime = false;
    if (wasVisible) {
        m_stateWasDropped = false;
        m_altClicks->release();
        returnFocus();
    }
    QtPanelSurface::orderOut();
}

/// Asks where the focus really is: the user may have moved it while the events that say so are on their way. A
/// window that was hidden meanwhile is left hidden.
void X11PanelSurface::returnFocus()
{
    const xcb_window_t previous = std::exchange(m_previous, XCB_WINDOW_NONE);
    if (previous <= XCB_INPUT_FOCUS_POINTER_ROOT || previous == m_id)
        return;
    X11Connection &x11 = m_windows.x11();
    const xcb_window_t focus = x11.focus();
    const XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(x11.xcb(), xcb_get_window_attributes(x11.xcb(), previous), nullptr));
    const std::vector<uint32_t> states = x11.cardinals(previous, x11.atom(windowState), 64);
    if (!attributes || !holdsFocus(focus) ||
        std::find(states.begin(), states.end(), x11.atom(hiddenState)) != states.end())
        return;
    if (m_windows.hasManager()) {
        m_windows.activate(previous, m_windows.userTime(), m_toolkit);
    } else if (attributes->map_state == XCB_MAP_STATE_VIEWABLE) {
        xcb_set_input_focus(m_toolkit, XCB_INPUT_FOCUS_POINTER_ROOT, previous, XCB_CURRENT_TIME);
        xcb_flush(m_toolkit);
    }
}

bool X11PanelSurface::nativeEventFilter(const QByteArray &type, void *message, qintptr *)
{
    if (type != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    switch (event->response_type & 0x7f) {
    case XCB_KEY_PRESS:
    case XCB_BUTTON_PRESS:
        m_corrections = 0; // from now on it may be the user who moves the panel
        m_windows.noteUserTime(static_cast<const xcb_key_press_event_t *>(message)->time);
        break;
    case XCB_FOCUS_IN:
    case XCB_FOCUS_OUT:
        handleFocus(*static_cast<const xcb_focus_in_event_t *>(message));
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto *notify = static_cast<const xcb_property_notify_event_t *>(message);
        if (notify->window != m_id)
            break;
        // The toolkit asks the server after each of the states' changes whether the window is minimised, maximised or
        // full-screen, and waits for the answers before it paints. A panel is none of these.
        if (notify->atom == m_windows.x11().atom(windowState)) {
            m_stateWasDropped = m_stateWasDropped || notify->state == XCB_PROPERTY_DELETE;
            return true;
        }
        if (notify->atom == m_windows.x11().atom("WM_STATE"))
            return true;
        if (m_awaitsTime && notify->atom == m_windows.x11().atom(timeMark)) {
            m_awaitsTime = false;
            m_windows.noteUserTime(notify->time);
            if (isVisible()) {
                m_windows.activate(m_id, notify->time, m_toolkit);
                if (m_repeatsState)
                    repeatState();
            }
        }
        break;
    }
    default:
        break;
    }
    return false;
}

/// The toolkit holds a loss of focus back for a tenth of a second; here it is told apart by its cause instead.
void X11PanelSurface::handleFocus(const xcb_focus_in_event_t &event)
{
    const bool isGrab = event.mode == XCB_NOTIFY_MODE_GRAB || event.mode == XCB_NOTIFY_MODE_UNGRAB;
    if (isGrab || event.detail == XCB_NOTIFY_DETAIL_POINTER || event.detail == XCB_NOTIFY_DETAIL_INFERIOR)
        return;
    const bool gained = (event.response_type & 0x7f) == XCB_FOCUS_IN;
    if (!gained) {
        if (event.event == m_holder && isVisible())
            m_loss.start(graceForFocus);
        return;
    }
    QWindow *own = ownWindow(event.event);
    if (isFamily(own)) {
        m_holder = event.event;
        m_loss.stop();
        if (own != &window())
            connect(own, &QWindow::visibleChanged, this, &X11PanelSurface::popoverVisibleChanged,
                    Qt::UniqueConnection);
    } else if (m_holder != XCB_WINDOW_NONE) {
        m_loss.start(std::chrono::milliseconds(0)); // another window of ours; once the toolkit knows it too
    }
}

/// A popover that closes leaves the focus to the window manager, which passes over panels: what it was opened from
/// takes it back while the popover is still mapped.
void X11PanelSurface::popoverVisibleChanged(bool visible)
{
    const auto *popover = qobject_cast<QWindow *>(sender());
    if (visible || !popover || !popover->handle() || popover->winId() != m_holder || !isVisible())
        return;
    const QWindow *owner = popover->transientParent();
    const xcb_window_t next = owner && owner->isVisible() ? xcb_window_t(owner->winId()) : m_id;
    if (m_windows.hasManager())
        m_windows.activate(next, m_windows.userTime(), m_toolkit);
    else if (next == m_id)
        takeFocus();
}

} // namespace cobblet
