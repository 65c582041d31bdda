#include "platform/freedesktop/apps/X11ClientWindows.h"

#include "platform/freedesktop/X11Connection.h"
#include "platform/freedesktop/apps/StartupNotification.h"

#include <QSysInfo>

#include <algorithm>
#include <array>
#include <cstring>

#include <unistd.h>

#include <xcb/res.h>

namespace cobblet {

namespace {

constexpr size_t maximumWindows = 4096;
constexpr uint32_t maximumProperty = 1024; // bytes

constexpr uint32_t iconicState = 3;
constexpr uint32_t sourcePager = 2;

/// Asked for in this order in describe().
constexpr std::array identityProperties{"WM_CLASS",    "_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE",
                                        "_NET_WM_PID", "WM_CLIENT_MACHINE",   "_NET_WM_WINDOW_TYPE"};

QByteArray valueOf(xcb_connection_t *xcb, xcb_get_property_cookie_t cookie)
{
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb, cookie, nullptr));
    if (!reply || reply->type == XCB_ATOM_NONE)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

uint32_t firstCardinal(const QByteArray &value)
{
    uint32_t number = 0;
    if (value.size() >= 4)
        std::memcpy(&number, value.constData(), 4);
    return number;
}

xcb_get_property_cookie_t ask(xcb_connection_t *xcb, xcb_window_t window, xcb_atom_t property)
{
    return xcb_get_property(xcb, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, maximumProperty / 4);
}

} // namespace

X11ClientWindows::X11ClientWindows(X11Connection &x11)
    : m_x11(x11), m_resourceMask(xcb_get_setup(x11.xcb())->resource_id_mask)
{
    std::vector<const char *> names(identityProperties.begin(), identityProperties.end());
    names.insert(names.end(),
                 {"_NET_CLIENT_LIST", "_NET_CLIENT_LIST_STACKING", "_NET_SUPPORTED", "_NET_SUPPORTING_WM_CHECK",
                  "_NET_ACTIVE_WINDOW", "_NET_CLOSE_WINDOW", "_NET_RESTACK_WINDOW", "_NET_WM_WINDOW_TYPE_DOCK",
                  "_NET_WM_WINDOW_TYPE_DESKTOP", "WM_CHANGE_STATE", "WM_STATE", "WM_PROTOCOLS", "WM_DELETE_WINDOW"});
    m_x11.intern(names);
    for (const char *name : identityProperties)
        m_identityAtoms.insert(m_x11.atom(name));
    const auto *extension = xcb_get_extension_data(x11.xcb(), &xcb_res_id);
    if (extension && extension->present) {
        const XcbReply<xcb_res_query_version_reply_t> version(
            xcb_res_query_version_reply(x11.xcb(), xcb_res_query_version(x11.xcb(), 1, 2), nullptr));
        m_hasClientIds = version && (version->server_major > 1 || version->server_minor >= 2);
    }
    findWindowManager();
}

void X11ClientWindows::findWindowManager()
{
    const auto attributesCookie = xcb_get_window_attributes(m_x11.xcb(), m_x11.root());
    const XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(m_x11.xcb(), attributesCookie, nullptr));
    m_hasWindowManager = attributes && (attributes->all_event_masks & XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT) != 0;
    const auto check = m_x11.cardinals(m_x11.root(), m_x11.atom("_NET_SUPPORTING_WM_CHECK"), 1);
    // A manager that died leaves the mark on the root window, but no window behind it.
    const bool alive =
        !check.empty() && m_x11.cardinals(check.front(), m_x11.atom("_NET_SUPPORTING_WM_CHECK"), 1) == check;
    m_supported.clear();
    for (const uint32_t atom : m_x11.cardinals(m_x11.root(), m_x11.atom("_NET_SUPPORTED")))
        m_supported.insert(atom);
    m_hasLists = alive && m_hasWindowManager && supports("_NET_CLIENT_LIST");
    uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    if (!m_hasLists)
        mask |= XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    m_x11.select(m_x11.root(), mask);
}

bool X11ClientWindows::supports(const char *name) const
{
    return m_supported.contains(m_x11.atom(name));
}

bool X11ClientWindows::isList(xcb_atom_t property) const
{
    return property == m_x11.atom("_NET_CLIENT_LIST") || property == m_x11.atom("_NET_SUPPORTING_WM_CHECK");
}

std::vector<xcb_window_t> X11ClientWindows::list(const QSet<xcb_window_t> &kept)
{
    std::vector<xcb_window_t> windows;
    if (m_hasLists)
        windows = m_x11.cardinals(m_x11.root(), m_x11.atom("_NET_CLIENT_LIST"), maximumWindows);
    else
        collect(m_x11.root(), 0, kept, windows);
    std::erase_if(windows, [this](xcb_window_t window) { return window == XCB_WINDOW_NONE || isOwn(window); });
    return windows;
}

unsigned X11ClientWindows::askForList()
{
    return m_x11.askCardinals(m_x11.root(), m_x11.atom("_NET_CLIENT_LIST"), maximumWindows).sequence;
}

std::vector<xcb_window_t> X11ClientWindows::listIn(const void *reply) const
{
    std::vector<xcb_window_t> windows = X11Connection::cardinalsIn(reply);
    std::erase_if(windows, [this](xcb_window_t window) { return window == XCB_WINDOW_NONE || isOwn(window); });
    return windows;
}

/// Windows with WM_STATE, below the manager's frames; without any manager the mapped windows of the top level.
void X11ClientWindows::collect(xcb_window_t parent, int depth, const QSet<xcb_window_t> &kept,
                               std::vector<xcb_window_t> &found)
{
    xcb_connection_t *xcb = m_x11.xcb();
    const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(xcb, xcb_query_tree(xcb, parent), nullptr));
    m_x11.drainSoon();
    if (!tree)
        return;
    struct Asked {
        xcb_window_t window;
        xcb_get_window_attributes_cookie_t attributes;
        xcb_get_property_cookie_t state;
    };
    std::vector<Asked> asked;
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    const size_t count = std::min(size_t(xcb_query_tree_children_length(tree.get())), maximumWindows);
    for (size_t i = 0; i < count; ++i)
        asked.push_back({children[i], xcb_get_window_attributes(xcb, children[i]),
                         ask(xcb, children[i], m_x11.atom("WM_STATE"))});
    for (const Asked &item : asked) {
        const XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(xcb, item.attributes, nullptr));
        const bool managed = !valueOf(xcb, item.state).isEmpty();
        if (!attributes || attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY || found.size() >= maximumWindows)
            continue;
        const bool mapped = attributes->map_state != XCB_MAP_STATE_UNMAPPED || kept.contains(item.window);
        if (managed || (!m_hasWindowManager && mapped && !attributes->override_redirect))
            found.push_back(item.window);
        else if (m_hasWindowManager && depth < 2)
            collect(item.window, depth + 1, kept, found);
    }
}

std::vector<ClientWindow> X11ClientWindows::describe(const std::vector<xcb_window_t> &windows)
{
    xcb_connection_t *xcb = m_x11.xcb();
    struct Asked {
        std::array<xcb_get_property_cookie_t, identityProperties.size()> properties;
        xcb_res_query_client_ids_cookie_t clientIds;
    };
    std::vector<Asked> asked;
    for (const xcb_window_t window : windows) {
        m_x11.select(window, XCB_EVENT_MASK_PROPERTY_CHANGE); // before reading, so that no change is missed
        Asked item{};
        for (size_t i = 0; i < identityProperties.size(); ++i)
            item.properties[i] = ask(xcb, window, m_x11.atom(identityProperties[i]));
        if (m_hasClientIds) {
            const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
            item.clientIds = xcb_res_query_client_ids(xcb, 1, &spec);
        }
        asked.push_back(item);
    }
    const QString machine = QSysInfo::machineHostName();
    std::vector<ClientWindow> described;
    for (size_t i = 0; i < windows.size(); ++i) {
        std::array<QByteArray, identityProperties.size()> values;
        for (size_t p = 0; p < values.size(); ++p)
            values[p] = valueOf(xcb, asked[i].properties[p]);
        ClientWindow window;
        window.id = windows[i];
        const QByteArrayList classParts = values[0].split('\0');
        window.identity = {QString::fromUtf8(values[1]), QString::fromUtf8(values[2]),
                           QString::fromLatin1(classParts.value(0)), QString::fromLatin1(classParts.value(1))};
        // What the server knows of the connection is true even for a sandbox that numbers its processes afresh.
        qint64 serverPid = 0;
        if (m_hasClientIds) {
            const XcbReply<xcb_res_query_client_ids_reply_t> ids(
                xcb_res_query_client_ids_reply(xcb, asked[i].clientIds, nullptr));
            if (ids)
                for (auto id = xcb_res_query_client_ids_ids_iterator(ids.get()); id.rem > 0;
                     xcb_res_client_id_value_next(&id))
                    if ((id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
                        xcb_res_client_id_value_value_length(id.data) > 0)
                        serverPid = *xcb_res_client_id_value_value(id.data);
        }
        const QString client = QString::fromUtf8(values[4]);
        const bool local = client.isEmpty() || client == machine || client == u"localhost";
        if (local)
            window.pid = serverPid > 0 ? serverPid : qint64(firstCardinal(values[3]));
        const xcb_atom_t type = firstCardinal(values[5]);
        window.isOrdinary = type == XCB_ATOM_NONE || (type != m_x11.atom("_NET_WM_WINDOW_TYPE_DOCK") &&
                                                      type != m_x11.atom("_NET_WM_WINDOW_TYPE_DESKTOP"));
        if (serverPid == getpid())
            m_ownBase = window.id & ~m_resourceMask;
        else
            described.push_back(std::move(window));
    }
    m_x11.drainSoon();
    return described;
}

std::vector<xcb_window_t> X11ClientWindows::inStackingOrder(std::vector<xcb_window_t> windows)
{
    std::vector<uint32_t> order =
        m_x11.cardinals(m_x11.root(), m_x11.atom("_NET_CLIENT_LIST_STACKING"), maximumWindows);
    if (!m_hasLists || order.empty()) {
        const XcbReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(m_x11.xcb(), xcb_query_tree(m_x11.xcb(), m_x11.root()), nullptr));
        m_x11.drainSoon();
        if (tree)
            order.assign(xcb_query_tree_children(tree.get()),
                         xcb_query_tree_children(tree.get()) + xcb_query_tree_children_length(tree.get()));
    }
    const auto place = [&](xcb_window_t window) {
        return std::find(order.begin(), order.end(), window) - order.begin();
    };
    std::stable_sort(windows.begin(), windows.end(), [&](auto a, auto b) { return place(a) < place(b); });
    return windows;
}

std::vector<xcb_window_t> X11ClientWindows::iconified(const std::vector<xcb_window_t> &windows)
{
    xcb_connection_t *xcb = m_x11.xcb();
    std::vector<xcb_get_property_cookie_t> states;
    std::vector<xcb_get_window_attributes_cookie_t> attributes;
    for (const xcb_window_t window : windows) {
        states.push_back(ask(xcb, window, m_x11.atom("WM_STATE")));
        attributes.push_back(xcb_get_window_attributes(xcb, window));
    }
    std::vector<xcb_window_t> found;
    for (size_t i = 0; i < windows.size(); ++i) {
        const bool iconic = firstCardinal(valueOf(xcb, states[i])) == iconicState;
        const XcbReply<xcb_get_window_attributes_reply_t> reply(
            xcb_get_window_attributes_reply(xcb, attributes[i], nullptr));
        const bool unmapped = reply && reply->map_state == XCB_MAP_STATE_UNMAPPED;
        if (iconic || (!m_hasWindowManager && unmapped))
            found.push_back(windows[i]);
    }
    m_x11.drainSoon();
    return found;
}

void X11ClientWindows::iconify(xcb_window_t window)
{
    if (m_hasWindowManager)
        m_x11.sendToRoot(window, m_x11.atom("WM_CHANGE_STATE"), {iconicState});
    else
        xcb_unmap_window(m_x11.xcb(), window);
    m_x11.flush();
}

void X11ClientWindows::restore(xcb_window_t window)
{
    xcb_map_window(m_x11.xcb(), window);
    m_x11.flush();
}

void X11ClientWindows::raise(xcb_window_t window)
{
    if (m_hasLists && supports("_NET_RESTACK_WINDOW")) {
        m_x11.sendToRoot(window, m_x11.atom("_NET_RESTACK_WINDOW"),
                         {sourcePager, XCB_WINDOW_NONE, XCB_STACK_MODE_ABOVE});
        return;
    }
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_x11.xcb(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    m_x11.flush();
}

void X11ClientWindows::focus(xcb_window_t window)
{
    const uint32_t now = serverTime(m_x11).value_or(XCB_CURRENT_TIME);
    if (m_hasLists && supports("_NET_ACTIVE_WINDOW")) {
        m_x11.sendToRoot(window, m_x11.atom("_NET_ACTIVE_WINDOW"), {sourcePager, now, XCB_WINDOW_NONE});
        return;
    }
    raise(window);
    xcb_set_input_focus(m_x11.xcb(), XCB_INPUT_FOCUS_PARENT, window, now);
    m_x11.flush();
}

bool X11ClientWindows::close(xcb_window_t window)
{
    const uint32_t now = serverTime(m_x11).value_or(XCB_CURRENT_TIME);
    if (m_hasLists && supports("_NET_CLOSE_WINDOW")) {
        m_x11.sendToRoot(window, m_x11.atom("_NET_CLOSE_WINDOW"), {now, sourcePager});
        return true;
    }
    const xcb_atom_t request = m_x11.atom("WM_DELETE_WINDOW");
    const auto protocols = m_x11.cardinals(window, m_x11.atom("WM_PROTOCOLS"), 64);
    if (std::find(protocols.begin(), protocols.end(), request) == protocols.end())
        return false;
    m_x11.sendTo(window, m_x11.atom("WM_PROTOCOLS"), {request, now});
    return true;
}

} // namespace cobblet
