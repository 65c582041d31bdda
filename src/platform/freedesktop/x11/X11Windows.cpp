#include "platform/freedesktop/x11/X11Windows.h"

#include <QGuiApplication>

#include <algorithm>
#include <utility>

#include <xcb/xfixes.h>

namespace cobblet {

namespace {

constexpr const char *activeWindowName = "_NET_ACTIVE_WINDOW";
constexpr const char *managerCheck = "_NET_SUPPORTING_WM_CHECK";
constexpr const char *supportedName = "_NET_SUPPORTED";
constexpr const char *clientList = "_NET_CLIENT_LIST";
constexpr const char *blurRegion = "_KDE_NET_WM_BLUR_BEHIND_REGION";
constexpr const char *windowType = "_NET_WM_WINDOW_TYPE";
constexpr const char *dockType = "_NET_WM_WINDOW_TYPE_DOCK";

constexpr size_t maximumWindows = 4096;

xcb_window_t firstOf(const std::vector<uint32_t> &values)
{
    return values.empty() ? xcb_window_t(XCB_WINDOW_NONE) : values.front();
}

} // namespace

X11Windows::X11Windows(X11Connection &x11) : m_x11(x11)
{
    xcb_prefetch_extension_data(m_x11.xcb(), &xcb_xfixes_id);
    const QByteArray compositor = "_NET_WM_CM_S" + QByteArray::number(m_x11.screenNumber());
    m_x11.intern({activeWindowName, managerCheck, supportedName, clientList, blurRegion, windowType, dockType,
                  compositor.constData(), "_NET_CLIENT_LIST_STACKING", "_NET_CLOSE_WINDOW", "_NET_RESTACK_WINDOW",
                  "WM_CHANGE_STATE", "WM_STATE", "WM_PROTOCOLS", "WM_DELETE_WINDOW"});
    // A process that carries out a single command has no toolkit, and no windows.
    const auto *application = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    if (application && QGuiApplication::platformName() == QLatin1String("xcb"))
        m_ownBase = xcb_get_setup(application->nativeInterface<QNativeInterface::QX11Application>()->connection())
                        ->resource_id_base;
    connect(&m_x11, &X11Connection::eventArrived, this, &X11Windows::handle);
    connect(&m_x11, &X11Connection::broken, this, [this] {
        m_manager = XCB_WINDOW_NONE;
        setWindows({});
    });
    m_x11.select(m_x11.root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
    m_x11.followOwner(m_x11.atom(compositor.constData()), this, [this](xcb_window_t owner) {
        const bool compositing = owner != XCB_WINDOW_NONE;
        if (std::exchange(m_compositing, compositing) != compositing)
            emit compositingChanged();
    });
    followBlur();
    followManager();
    m_x11.awaitReplies();
}

void X11Windows::handle(const xcb_generic_event_t *event)
{
    switch (event->response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY: {
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        const auto is = [&](const char *name) { return notify->atom == m_x11.atom(name); };
        if (notify->window == m_x11.root()) {
            if (is(activeWindowName))
                followActive();
            else if (is(managerCheck) || is(supportedName))
                followManager();
            else if (is(clientList))
                followWindows();
            else if (is(blurRegion))
                followBlur();
        } else if (notify->window == m_managerNamed && is(managerCheck)) {
            followManager();
        } else if (contains(notify->window)) {
            if (is("WM_STATE")) {
                m_restoring.remove(notify->window);
                followHiding(notify->window);
            }
            emit propertyChanged(notify->window, notify->atom);
        }
        return;
    }
    case XCB_DESTROY_NOTIFY:
        if (const auto gone = reinterpret_cast<const xcb_destroy_notify_event_t *>(event)->window;
            gone == m_managerNamed) {
            m_x11.forget(gone); // the next manager may get the same number for its window
            m_managerNamed = XCB_WINDOW_NONE;
            return setManager(XCB_WINDOW_NONE);
        }
        [[fallthrough]];
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
    case XCB_REPARENT_NOTIFY:
        if (!listsDocks() && !std::exchange(m_lookingAgain, true))
            QMetaObject::invokeMethod(this, &X11Windows::followWindows, Qt::QueuedConnection);
        return;
    default:
        return;
    }
}

void X11Windows::followActive()
{
    m_x11.ask(m_x11.root(), m_x11.atom(activeWindowName), this, [this](const std::vector<uint32_t> &values) {
        const xcb_window_t window = firstOf(values);
        if (std::exchange(m_active, window) != window)
            emit activeWindowChanged();
    });
}

void X11Windows::followManager()
{
    m_x11.ask(m_x11.root(), m_x11.atom(supportedName), this, [this](const std::vector<uint32_t> &atoms) {
        m_supported = QSet<xcb_atom_t>(atoms.begin(), atoms.end());
    });
    m_x11.ask(m_x11.root(), m_x11.atom(managerCheck), this, [this](const std::vector<uint32_t> &values) {
        m_managerNamed = firstOf(values);
        if (m_managerNamed == XCB_WINDOW_NONE)
            return setManager(XCB_WINDOW_NONE);
        m_x11.select(m_managerNamed, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
        // A manager that died leaves the property behind; its window, which would name itself, is gone.
        m_x11.ask(m_managerNamed, m_x11.atom(managerCheck), this, [this](const std::vector<uint32_t> &itself) {
            setManager(firstOf(itself) == m_managerNamed ? m_managerNamed : xcb_window_t(XCB_WINDOW_NONE));
        });
    });
}

/// The root window has a property of this name, whatever is in it, while a compositing manager blurs.
void X11Windows::followBlur()
{
    const auto asked = xcb_get_property(m_x11.xcb(), 0, m_x11.root(), m_x11.atom(blurRegion), XCB_ATOM_ANY, 0, 0);
    m_x11.whenReplied(asked.sequence, this, [this](const void *raw) {
        const auto *reply = static_cast<const xcb_get_property_reply_t *>(raw);
        const bool blurs = reply && reply->type != XCB_ATOM_NONE;
        if (std::exchange(m_blurs, blurs) != blurs)
            emit compositingChanged();
    });
}

void X11Windows::setManager(xcb_window_t window)
{
    m_manager = window;
    if (!hasManager())
        m_active = XCB_WINDOW_NONE; // what the last manager said is no longer kept true
    else if (m_active == XCB_WINDOW_NONE)
        followActive();
    followWindows();
}

void X11Windows::followWindows()
{
    m_lookingAgain = false;
    if (!listsDocks())
        m_x11.select(m_x11.root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    if (!hasList())
        return setWindows(tree());
    m_x11.ask(m_x11.root(), m_x11.atom(clientList), this, [this](std::vector<uint32_t> windows) {
        if (!listsDocks())
            for (const xcb_window_t dock : tree())
                if (std::find(windows.begin(), windows.end(), dock) == windows.end())
                    windows.push_back(dock);
        setWindows(std::move(windows));
    });
}

void X11Windows::setWindows(std::vector<xcb_window_t> windows)
{
    std::erase_if(windows, [this](xcb_window_t window) { return window == XCB_WINDOW_NONE || isOwn(window); });
    const QSet<xcb_window_t> now(windows.begin(), windows.end());
    const QSet<xcb_window_t> before(m_windows.begin(), m_windows.end());
    m_windows = std::move(windows);
    for (const xcb_window_t window : before - now) {
        m_x11.forget(window);
        m_hidden.remove(window);
        m_restoring.remove(window);
        noteOutOfSight(window);
        emit removed(window);
    }
    for (const xcb_window_t window : now - before) {
        m_x11.select(window, XCB_EVENT_MASK_PROPERTY_CHANGE);
        emit added(window);
    }
}

bool X11Windows::contains(xcb_window_t window) const
{
    return std::find(m_windows.begin(), m_windows.end(), window) != m_windows.end();
}

/// What the identifiers of all windows of one connection begin with.
uint32_t X11Windows::clientOf(xcb_window_t window) const
{
    return window & ~xcb_get_setup(m_x11.xcb())->resource_id_mask;
}

bool X11Windows::isOwn(xcb_window_t window) const
{
    return clientOf(window) == m_ownBase;
}

bool X11Windows::isOfManager(xcb_window_t window) const
{
    return hasManager() && clientOf(window) == clientOf(m_manager);
}

bool X11Windows::isDock(xcb_window_t window) const
{
    const auto types = m_x11.cardinals(window, m_x11.atom(windowType), 64);
    return std::find(types.begin(), types.end(), m_x11.atom(dockType)) != types.end();
}

std::vector<xcb_window_t> X11Windows::tree()
{
    xcb_connection_t *xcb = m_x11.xcb();
    const XcbReply<xcb_get_window_attributes_reply_t> root(
        xcb_get_window_attributes_reply(xcb, xcb_get_window_attributes(xcb, m_x11.root()), nullptr));
    m_isManaged = root && (root->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
    std::vector<xcb_window_t> found;
    collect(m_x11.root(), 0, found);
    m_x11.drainSoon();
    return found;
}

/// Windows with WM_STATE, below the manager's frames; without any manager the mapped windows of the top level. Where
/// the manager has a list, only docks.
void X11Windows::collect(xcb_window_t parent, int depth, std::vector<xcb_window_t> &found) const
{
    xcb_connection_t *xcb = m_x11.xcb();
    const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(xcb, xcb_query_tree(xcb, parent), nullptr));
    if (!tree)
        return;
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    const size_t count = std::min(size_t(xcb_query_tree_children_length(tree.get())), maximumWindows);
    std::vector<xcb_get_window_attributes_cookie_t> asked;
    for (size_t i = 0; i < count; ++i)
        asked.push_back(xcb_get_window_attributes(xcb, children[i]));
    for (size_t i = 0; i < count; ++i) {
        const xcb_window_t window = children[i];
        const XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(xcb, asked[i], nullptr));
        if (!attributes || attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY || found.size() >= maximumWindows)
            continue;
        const bool mapped = attributes->map_state != XCB_MAP_STATE_UNMAPPED || m_hidden.contains(window);
        const bool isWanted = hasList()     ? mapped && isDock(window)
                              : m_isManaged ? !m_x11.cardinals(window, m_x11.atom("WM_STATE"), 1).empty()
                                            : mapped && !attributes->override_redirect;
        if (isWanted)
            found.push_back(window);
        else if (m_isManaged && depth < (hasList() ? 1 : 2))
            collect(window, depth + 1, found);
    }
}

void X11Windows::noteUserTime(xcb_timestamp_t time)
{
    // The server's clock wraps every 49 days, so "later" is a difference and not a comparison.
    if (m_userTime == 0 || int32_t(time - m_userTime) > 0)
        m_userTime = time;
}

} // namespace cobblet
