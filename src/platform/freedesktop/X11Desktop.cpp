#include "platform/freedesktop/X11Desktop.h"

#include "platform/freedesktop/StartupMessage.h"

#include <QLoggingCategory>

#include <utility>

#include <xcb/xfixes.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcDesktop, "cobblet.desktop")

namespace {

constexpr const char *activeWindowName = "_NET_ACTIVE_WINDOW";
constexpr const char *managerCheck = "_NET_SUPPORTING_WM_CHECK";
constexpr uint32_t asThePager = 2; // the source of a request that is the user's own, past the guards of the focus
constexpr qsizetype maximumStartupID = 512;

xcb_window_t windowIn(const void *reply)
{
    const std::vector<uint32_t> values = X11Connection::cardinalsIn(reply);
    return values.empty() ? xcb_window_t(XCB_WINDOW_NONE) : values.front();
}

xcb_get_property_cookie_t askWindow(X11Connection &x11, xcb_window_t window, const char *name)
{
    return x11.askCardinals(window, x11.atom(name), 1);
}

} // namespace

X11Desktop::X11Desktop(X11Connection &x11, QObject *parent) : QObject(parent), m_x11(x11)
{
    xcb_connection_t *xcb = m_x11.xcb();
    const QByteArray selection = "_NET_WM_CM_S" + QByteArray::number(m_x11.screenNumber());
    xcb_prefetch_extension_data(xcb, &xcb_xfixes_id);
    m_x11.intern(
        {activeWindowName, managerCheck, selection.constData(), "_NET_STARTUP_INFO", "_NET_STARTUP_INFO_BEGIN"});
    m_compositorSelection = m_x11.atom(selection.constData());
    connect(&m_x11, &X11Connection::eventArrived, this, &X11Desktop::handle);
    connect(&m_x11, &X11Connection::sentToRoot, this, [this](xcb_window_t window, xcb_atom_t type) {
        if (type == m_x11.atom(activeWindowName))
            emit activationSent(window);
    });
    m_x11.select(m_x11.root(), XCB_EVENT_MASK_PROPERTY_CHANGE);

    if (const auto *extension = xcb_get_extension_data(xcb, &xcb_xfixes_id); extension && extension->present) {
        m_selectionEvent = uint8_t(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
        xcb_discard_reply(xcb, xcb_xfixes_query_version(xcb, 5, 0).sequence);
        xcb_xfixes_select_selection_input(xcb, m_x11.root(), m_compositorSelection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    }

    const auto ownerAsked = xcb_get_selection_owner(xcb, m_compositorSelection);
    const auto activeAsked = askWindow(m_x11, m_x11.root(), activeWindowName);
    const auto managerAsked = askWindow(m_x11, m_x11.root(), managerCheck);
    const XcbReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(xcb, ownerAsked, nullptr));
    const XcbReply<xcb_get_property_reply_t> active(xcb_get_property_reply(xcb, activeAsked, nullptr));
    const XcbReply<xcb_get_property_reply_t> manager(xcb_get_property_reply(xcb, managerAsked, nullptr));
    m_compositing = owner && owner->owner != XCB_WINDOW_NONE;
    m_active = windowIn(active.get());
    // A manager that died leaves the property behind; its window, which would name itself, is gone.
    if (m_managerNamed = windowIn(manager.get()); m_managerNamed != XCB_WINDOW_NONE) {
        m_x11.select(m_managerNamed, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
        const XcbReply<xcb_get_property_reply_t> itself(
            xcb_get_property_reply(xcb, askWindow(m_x11, m_managerNamed, managerCheck), nullptr));
        setManager(windowIn(itself.get()));
    }
    if (!hasWindowManager())
        qCWarning(lcDesktop) << "No window manager runs: the panel places and focuses itself.";
    if (!m_compositing)
        qCInfo(lcDesktop)
            << "No compositing manager runs: the panel's corners are cut, and it neither fades nor blurs.";
    m_x11.drainSoon();
}

void X11Desktop::handle(const xcb_generic_event_t *event)
{
    const uint8_t type = event->response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (notify->window == m_x11.root() && notify->atom == m_x11.atom(activeWindowName))
            followActive();
        else if (notify->window == m_x11.root() && notify->atom == m_x11.atom(managerCheck))
            followManager();
        else if (notify->window == m_managerNamed && notify->atom == m_x11.atom(managerCheck))
            verifyManager();
    } else if (type == XCB_DESTROY_NOTIFY) {
        const xcb_window_t gone = reinterpret_cast<const xcb_destroy_notify_event_t *>(event)->window;
        if (gone == m_managerNamed) {
            m_x11.forget(gone); // the next manager may get the same number for its window
            m_managerNamed = XCB_WINDOW_NONE;
            setManager(XCB_WINDOW_NONE);
        }
    } else if (m_selectionEvent != 0 && type == m_selectionEvent) {
        const auto *notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t *>(event);
        if (notify->selection == m_compositorSelection)
            setCompositing(notify->owner != XCB_WINDOW_NONE);
    }
}

void X11Desktop::followActive()
{
    m_x11.whenReplied(askWindow(m_x11, m_x11.root(), activeWindowName).sequence, this, [this](const void *reply) {
        const xcb_window_t window = windowIn(reply);
        if (std::exchange(m_active, window) != window)
            emit activeWindowChanged();
    });
}

void X11Desktop::followManager()
{
    m_x11.whenReplied(askWindow(m_x11, m_x11.root(), managerCheck).sequence, this, [this](const void *reply) {
        m_managerNamed = windowIn(reply);
        if (m_managerNamed == XCB_WINDOW_NONE)
            return setManager(XCB_WINDOW_NONE);
        m_x11.forget(m_managerNamed);
        m_x11.select(m_managerNamed, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
        verifyManager();
    });
}

void X11Desktop::verifyManager()
{
    m_x11.whenReplied(askWindow(m_x11, m_managerNamed, managerCheck).sequence, this,
                      [this](const void *reply) { setManager(windowIn(reply)); });
}

/// `window` is what the named window says of itself.
void X11Desktop::setManager(xcb_window_t window)
{
    m_managerWindow = window == m_managerNamed ? window : xcb_window_t(XCB_WINDOW_NONE);
    if (!hasWindowManager())
        m_active = XCB_WINDOW_NONE; // what the last manager said is no longer kept true
    else if (m_active == XCB_WINDOW_NONE)
        followActive();
}

void X11Desktop::setCompositing(bool compositing)
{
    if (std::exchange(m_compositing, compositing) != compositing)
        emit compositingChanged();
}

void X11Desktop::activate(xcb_window_t window, xcb_timestamp_t time)
{
    m_x11.sendToRoot(window, m_x11.atom(activeWindowName), {asThePager, time, XCB_WINDOW_NONE});
}

void X11Desktop::activateOn(xcb_connection_t *connection, xcb_window_t window, xcb_timestamp_t time)
{
    m_x11.sendToRootOn(connection, window, m_x11.atom(activeWindowName), {asThePager, time});
}

void X11Desktop::noteUserTime(xcb_timestamp_t time)
{
    // The server's clock wraps every 49 days, so "later" is a difference and not a comparison.
    if (m_userTime == 0 || int32_t(time - m_userTime) > 0)
        m_userTime = time;
}

void X11Desktop::finishStartup(const QString &startupID)
{
    if (startupID.isEmpty() || startupID.size() > maximumStartupID)
        return;
    if (const qsizetype mark = startupID.lastIndexOf(QLatin1String("_TIME")); mark >= 0) {
        bool isNumber = false;
        const uint time = startupID.mid(mark + 5).toUInt(&isNumber);
        if (isNumber && time != 0)
            noteUserTime(time);
    }

    broadcastStartup(m_x11, "remove: ID=" + quotedForStartup(startupID));
}

} // namespace cobblet
