#include "platform/freedesktop/x11/X11Windows.h"

#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <chrono>

// What a pager may ask for, and how it ended.

namespace cobblet {

Q_LOGGING_CATEGORY(lcWindows, "cobblet.windows")

namespace {

constexpr uint32_t iconicState = 3;
constexpr std::chrono::seconds hidingPatience{1};
constexpr uint32_t asThePager = 2; // the source of a request that is the user's own, past the guards of the focus

bool isIconic(const std::vector<uint32_t> &state)
{
    return !state.empty() && state.front() == iconicState;
}

} // namespace

std::vector<xcb_window_t> X11Windows::inStackingOrder(std::vector<xcb_window_t> windows) const
{
    std::vector<uint32_t> order;
    if (hasList())
        order = m_x11.cardinals(m_x11.root(), m_x11.atom("_NET_CLIENT_LIST_STACKING"));
    if (order.empty()) {
        xcb_connection_t *xcb = m_x11.xcb();
        const XcbReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(xcb, xcb_query_tree(xcb, m_x11.root()), nullptr));
        m_x11.drainSoon();
        if (tree)
            order.assign(xcb_query_tree_children(tree.get()),
                         xcb_query_tree_children(tree.get()) + xcb_query_tree_children_length(tree.get()));
    }
    const auto place = [&](xcb_window_t window) { return std::find(order.begin(), order.end(), window); };
    std::stable_sort(windows.begin(), windows.end(), [&](auto a, auto b) { return place(a) < place(b); });
    return windows;
}

QSet<xcb_window_t> X11Windows::iconified(const std::vector<xcb_window_t> &windows) const
{
    QSet<xcb_window_t> found;
    QObject context;
    for (const xcb_window_t window : windows) {
        m_x11.ask(window, m_x11.atom("WM_STATE"), &context, [&found, window](const std::vector<uint32_t> &state) {
            if (isIconic(state))
                found.insert(window);
        });
        if (!hasList() && !m_isManaged)
            m_x11.whenReplied(xcb_get_window_attributes(m_x11.xcb(), window).sequence, &context,
                              [&found, window](const void *raw) {
                                  const auto *reply = static_cast<const xcb_get_window_attributes_reply_t *>(raw);
                                  if (reply && reply->map_state == XCB_MAP_STATE_UNMAPPED)
                                      found.insert(window);
                              });
    }
    m_x11.awaitReplies();
    return found;
}

void X11Windows::hide(const std::vector<xcb_window_t> &windows, std::function<void(const Status &)> done)
{
    const QSet<xcb_window_t> already = iconified(windows) - m_restoring;
    const auto hiding = std::make_shared<Hiding>(Hiding{{}, std::move(done)});
    m_hiding.push_back(hiding);
    for (const xcb_window_t window : windows) {
        if (already.contains(window))
            continue;
        m_hidden.insert(window);
        m_restoring.remove(window);
        if (hasList() || m_isManaged) {
            m_x11.sendToRoot(window, m_x11.atom("WM_CHANGE_STATE"), {iconicState});
            hiding->inSight.insert(window);
        } else {
            xcb_unmap_window(m_x11.xcb(), window);
        }
    }
    m_x11.flush();
    if (hiding->inSight.isEmpty())
        return endHiding(hiding);
    QTimer::singleShot(hidingPatience, this, [this, weak = std::weak_ptr(hiding)] {
        if (const auto late = weak.lock())
            endHiding(late);
    });
}

/// A window manager without icons leaves the state as it is, or takes it back at once.
void X11Windows::followHiding(xcb_window_t window)
{
    const auto waitsFor = [window](const auto &hiding) { return hiding->inSight.contains(window); };
    if (std::any_of(m_hiding.begin(), m_hiding.end(), waitsFor))
        m_x11.ask(window, m_x11.atom("WM_STATE"), this, [this, window](const std::vector<uint32_t> &state) {
            if (isIconic(state))
                noteOutOfSight(window);
        });
}

void X11Windows::noteOutOfSight(xcb_window_t window)
{
    for (const auto &hiding : std::vector(m_hiding))
        if (hiding->inSight.remove(window) && hiding->inSight.isEmpty())
            endHiding(hiding);
}

/// As it is by now.
void X11Windows::endHiding(std::shared_ptr<Hiding> hiding)
{
    std::erase(m_hiding, hiding);
    m_hidden -= hiding->inSight;
    const Status outcome = hiding->inSight.isEmpty()
                               ? Status()
                               : Error{QStringLiteral("The window manager keeps its windows in sight: it may have no "
                                                      "minimized windows.")};
    if (hiding->done)
        hiding->done(outcome);
    else if (!outcome)
        qCWarning(lcWindows).noquote() << outcome.error();
}

void X11Windows::unhide(const std::vector<xcb_window_t> &windows)
{
    std::vector<xcb_window_t> hidden;
    for (const xcb_window_t window : windows)
        if (m_hidden.remove(window))
            hidden.push_back(window);
    unminimize(hidden);
}

void X11Windows::unminimize(const std::vector<xcb_window_t> &windows)
{
    for (const xcb_window_t window : iconified(windows)) {
        m_hidden.remove(window);
        m_restoring.insert(window);
        xcb_map_window(m_x11.xcb(), window);
    }
    m_x11.flush();
}

void X11Windows::bringToFront(const std::vector<xcb_window_t> &windows)
{
    if (windows.empty())
        return;
    const std::vector<xcb_window_t> all = inStackingOrder(windows);
    const QSet<xcb_window_t> away = iconified(all) - m_restoring;
    xcb_window_t topmost = all.back();
    // From the lowest up, so that they keep their order among themselves.
    for (const xcb_window_t window : all)
        if (!away.contains(window)) {
            raise(window);
            topmost = window;
        }
    activate(topmost, m_x11.serverTime());
}

void X11Windows::raise(xcb_window_t window)
{
    if (supports("_NET_RESTACK_WINDOW"))
        return m_x11.sendToRoot(window, m_x11.atom("_NET_RESTACK_WINDOW"),
                                {asThePager, XCB_WINDOW_NONE, XCB_STACK_MODE_ABOVE});
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_x11.xcb(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    m_x11.flush();
}

void X11Windows::activate(xcb_window_t window, xcb_timestamp_t time, xcb_connection_t *on)
{
    if (supports("_NET_ACTIVE_WINDOW")) {
        m_x11.sendToRoot(window, m_x11.atom("_NET_ACTIVE_WINDOW"), {asThePager, time, XCB_WINDOW_NONE}, on);
    } else {
        raise(window);
        xcb_connection_t *xcb = on ? on : m_x11.xcb();
        xcb_set_input_focus(xcb, XCB_INPUT_FOCUS_PARENT, window, time);
        xcb_flush(xcb);
    }
    emit activationSent(window);
}

bool X11Windows::close(xcb_window_t window)
{
    const xcb_timestamp_t now = m_x11.serverTime();
    if (supports("_NET_CLOSE_WINDOW")) {
        m_x11.sendToRoot(window, m_x11.atom("_NET_CLOSE_WINDOW"), {now, asThePager});
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
