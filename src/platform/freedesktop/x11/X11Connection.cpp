#include "platform/freedesktop/x11/X11Connection.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <algorithm>
#include <cstring>
#include <utility>

#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcX11, "cobblet.x11")

namespace {

void send(xcb_connection_t *connection, xcb_window_t to, uint32_t mask, xcb_window_t window, xcb_atom_t type,
          const std::vector<uint32_t> &data)
{
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    std::copy_n(data.begin(), std::min<size_t>(data.size(), 5), message.data.data32);
    xcb_send_event(connection, 0, to, mask, reinterpret_cast<const char *>(&message));
    xcb_flush(connection);
}

std::vector<uint32_t> valuesIn(const xcb_get_property_reply_t *reply)
{
    if (!reply || reply->format != 32)
        return {};
    const auto *values = static_cast<const uint32_t *>(xcb_get_property_value(reply));
    return {values, values + xcb_get_property_value_length(reply) / 4};
}

} // namespace

std::unique_ptr<X11Connection> X11Connection::open()
{
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection) != 0) {
        xcb_disconnect(connection);
        qCWarning(lcX11) << "No X server can be reached: running applications, docks and window effects are unknown.";
        return nullptr;
    }
    return std::unique_ptr<X11Connection>(new X11Connection(connection, screenNumber));
}

X11Connection::X11Connection(xcb_connection_t *connection, int screenNumber)
    : m_connection(connection), m_screenNumber(screenNumber)
{
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    m_screen = screens.data;
    m_root = m_screen->root;
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &X11Connection::drain);
}

X11Connection::~X11Connection()
{
    m_notifier.reset();
    // A server that finds a connection closed with events unread drops the requests it has not read yet either.
    if (!xcb_connection_has_error(m_connection))
        (void)focus();
    xcb_disconnect(m_connection);
}

void X11Connection::intern(const std::vector<const char *> &names)
{
    std::vector<std::pair<const char *, xcb_intern_atom_cookie_t>> asked;
    for (const char *name : names)
        if (!m_atoms.contains(name))
            asked.emplace_back(name, xcb_intern_atom(m_connection, 0, uint16_t(std::strlen(name)), name));
    for (const auto &[name, cookie] : asked) {
        const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, cookie, nullptr));
        m_atoms.insert(name, reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE));
    }
}

xcb_atom_t X11Connection::atom(const char *name)
{
    if (const auto known = m_atoms.constFind(name); known != m_atoms.cend())
        return *known;
    intern({name});
    return m_atoms.value(name);
}

void X11Connection::select(xcb_window_t window, uint32_t eventMask)
{
    uint32_t &mask = m_selected[window];
    if ((mask & eventMask) == eventMask)
        return;
    mask |= eventMask;
    xcb_change_window_attributes(m_connection, window, XCB_CW_EVENT_MASK, &mask);
    flush();
}

void X11Connection::forget(xcb_window_t window)
{
    m_selected.remove(window);
}

std::vector<uint32_t> X11Connection::cardinals(xcb_window_t window, xcb_atom_t name, uint32_t maximum)
{
    const auto asked = xcb_get_property(m_connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, maximum);
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection, asked, nullptr));
    drainSoon();
    return valuesIn(reply.get());
}

void X11Connection::ask(xcb_window_t window, xcb_atom_t name, QObject *context,
                        std::function<void(const std::vector<uint32_t> &)> handler)
{
    const auto asked =
        xcb_get_property(m_connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, maximumCardinals);
    whenReplied(asked.sequence, context, [handler = std::move(handler)](const void *reply) {
        handler(valuesIn(static_cast<const xcb_get_property_reply_t *>(reply)));
    });
}

void X11Connection::sendTo(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t> &data)
{
    send(m_connection, window, XCB_EVENT_MASK_NO_EVENT, window, type, data);
}

void X11Connection::sendToRoot(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t> &data,
                               xcb_connection_t *on)
{
    send(on ? on : m_connection, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
         window, type, data);
}

void X11Connection::followOwner(xcb_atom_t selection, QObject *context, std::function<void(xcb_window_t)> handler)
{
    if (const auto *extension = xcb_get_extension_data(m_connection, &xcb_xfixes_id); extension->present) {
        const uint8_t changed = uint8_t(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
        xcb_discard_reply(m_connection, xcb_xfixes_query_version(m_connection, 5, 0).sequence);
        xcb_xfixes_select_selection_input(m_connection, m_root, selection,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        connect(this, &X11Connection::eventArrived, context,
                [selection, changed, handler](const xcb_generic_event_t *event) {
                    const auto *notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t *>(event);
                    if ((event->response_type & 0x7f) == changed && notify->selection == selection)
                        handler(notify->owner);
                });
    }
    whenReplied(xcb_get_selection_owner(m_connection, selection).sequence, context, [handler](const void *raw) {
        const auto *reply = static_cast<const xcb_get_selection_owner_reply_t *>(raw);
        handler(reply ? reply->owner : xcb_window_t(XCB_WINDOW_NONE));
    });
}

xcb_window_t X11Connection::focus()
{
    const XcbReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    drainSoon();
    return reply ? reply->focus : xcb_window_t(XCB_WINDOW_NONE);
}

std::optional<QPoint> X11Connection::originUnderPointer(xcb_window_t window)
{
    constexpr int deepest = 5; // from the root window; a window manager's frame is two deep at most
    std::optional<QPoint> origin;
    xcb_window_t under = m_root;
    for (int depth = 0; depth < deepest && under != XCB_WINDOW_NONE && !origin; ++depth) {
        const XcbReply<xcb_query_pointer_reply_t> pointer(
            xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, under), nullptr));
        if (pointer && under == window)
            origin = QPoint(pointer->root_x - pointer->win_x, pointer->root_y - pointer->win_y);
        under = pointer ? pointer->child : xcb_window_t(XCB_WINDOW_NONE);
    }
    drainSoon();
    return origin;
}

xcb_timestamp_t X11Connection::serverTime()
{
    if (m_clock == XCB_WINDOW_NONE) {
        const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        m_clock = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_clock, m_root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    }
    // An empty change of a property makes the server say what time it is.
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, m_clock, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                        nullptr);
    flush();
    drainSoon();
    while (auto *event = xcb_wait_for_event(m_connection)) {
        m_events.emplace_back(event);
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY && notify->window == m_clock)
            return notify->time;
    }
    return XCB_CURRENT_TIME;
}

void X11Connection::whenReplied(unsigned sequence, QObject *context, std::function<void(const void *)> handler)
{
    m_awaited.push_back({sequence, context, std::move(handler)});
    flush();
}

void X11Connection::awaitReplies()
{
    deliverReplies(Replies::All);
    drainSoon();
}

void X11Connection::drainSoon()
{
    if (!std::exchange(m_drainQueued, true))
        QMetaObject::invokeMethod(this, &X11Connection::drain, Qt::QueuedConnection);
}

XcbReply<xcb_generic_event_t> X11Connection::nextEvent()
{
    if (m_events.empty())
        return XcbReply<xcb_generic_event_t>(xcb_poll_for_event(m_connection));
    XcbReply<xcb_generic_event_t> event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

void X11Connection::drain()
{
    m_drainQueued = false;
    do {
        while (const XcbReply<xcb_generic_event_t> event = nextEvent())
            if (event->response_type != 0)
                emit eventArrived(event.get());
    } while (deliverReplies(Replies::Arrived)); // looking for a reply may have read further events
    if (m_notifier && xcb_connection_has_error(m_connection) != 0) {
        m_notifier.reset();
        qCWarning(lcX11) << "The X server closed the connection.";
        emit broken();
    }
}

bool X11Connection::deliverReplies(Replies which)
{
    bool delivered = false;
    while (!m_awaited.empty()) {
        const unsigned sequence = m_awaited.front().sequence;
        void *raw = nullptr;
        xcb_generic_error_t *error = nullptr;
        if (which == Replies::All)
            raw = xcb_wait_for_reply(m_connection, sequence, &error);
        else if (!xcb_poll_for_reply(m_connection, sequence, &raw, &error))
            break;
        const XcbReply<void> reply(raw);
        std::free(error);
        const Awaited awaited = std::move(m_awaited.front());
        m_awaited.pop_front();
        if (awaited.context)
            awaited.handler(reply.get());
        delivered = true;
    }
    return delivered;
}

} // namespace cobblet
