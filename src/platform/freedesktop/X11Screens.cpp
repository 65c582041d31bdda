#include "platform/freedesktop/X11Screens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QScreen>

#include <algorithm>

namespace cobblet {

namespace {

constexpr uint32_t maximumClients = 4096;

/// The newer property counts where a dock sets both.
std::optional<geometry::Strut> strutOf(const std::vector<uint32_t> &partial, const std::vector<uint32_t> &old)
{
    return geometry::strutFrom(partial.size() == 12 ? partial : old);
}

QRectF mainFrame()
{
    const QScreen *main = QGuiApplication::primaryScreen();
    return main ? QRectF(main->geometry()) : QRectF();
}

constexpr const char *clientList = "_NET_CLIENT_LIST";
constexpr const char *partialStrut = "_NET_WM_STRUT_PARTIAL";
constexpr const char *oldStrut = "_NET_WM_STRUT";

} // namespace

Q_LOGGING_CATEGORY(lcScreens, "cobblet.screens")

X11Screens::X11Screens(X11Connection *x11, QObject *parent) : m_x11(x11)
{
    setParent(parent);
    if (m_x11)
        loadStruts();
    for (QScreen *screen : QGuiApplication::screens())
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watch(screen);
        update();
    });
    // The list is still the old one while a screen is being removed.
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &X11Screens::update, Qt::QueuedConnection);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &X11Screens::update);
    m_screens = measured();
    if (m_struts.isEmpty())
        qCInfo(lcScreens) << "No dock keeps an edge of a screen free: the panel opens at the bottom.";
}

void X11Screens::watch(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &X11Screens::update);
    connect(screen, &QScreen::availableGeometryChanged, this, &X11Screens::update);
}

/// Everything at once, in three round trips however many windows there are.
void X11Screens::loadStruts()
{
    m_x11->intern({clientList, partialStrut, oldStrut});
    m_x11->select(m_x11->root(), XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    connect(m_x11, &X11Connection::eventArrived, this, &X11Screens::handle);

    xcb_connection_t *xcb = m_x11->xcb();
    const auto geometryAsked = xcb_get_geometry(xcb, m_x11->root());
    const auto clientsAsked = m_x11->askCardinals(m_x11->root(), m_x11->atom(clientList), maximumClients);
    const XcbReply<xcb_get_geometry_reply_t> root(xcb_get_geometry_reply(xcb, geometryAsked, nullptr));
    if (root)
        m_desktop = QSize(root->width, root->height);

    struct Asked {
        xcb_window_t window;
        xcb_get_property_cookie_t partial, old;
    };
    std::vector<Asked> asked;
    for (const xcb_window_t window : m_x11->cardinals(clientsAsked)) {
        m_clients.insert(window);
        m_x11->select(window, XCB_EVENT_MASK_PROPERTY_CHANGE);
        asked.push_back({window, m_x11->askCardinals(window, m_x11->atom(partialStrut), 12),
                         m_x11->askCardinals(window, m_x11->atom(oldStrut), 4)});
    }
    for (const Asked &each : asked) {
        const std::vector<uint32_t> partial = m_x11->cardinals(each.partial);
        if (const auto strut = strutOf(partial, m_x11->cardinals(each.old)))
            m_struts.insert(each.window, *strut);
    }
    m_x11->drainSoon();
}

void X11Screens::handle(const xcb_generic_event_t *event)
{
    switch (event->response_type & 0x7f) {
    case XCB_PROPERTY_NOTIFY: {
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (notify->window == m_x11->root() && notify->atom == m_x11->atom(clientList))
            followClients();
        else if (m_clients.contains(notify->window) &&
                 (notify->atom == m_x11->atom(partialStrut) || notify->atom == m_x11->atom(oldStrut)))
            followStrut(notify->window);
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto *notify = reinterpret_cast<const xcb_configure_notify_event_t *>(event);
        if (notify->window == m_x11->root()) {
            m_desktop = QSize(notify->width, notify->height);
            update();
        }
        break;
    }
    default:
        break;
    }
}

void X11Screens::followClients()
{
    m_x11->whenReplied(m_x11->askCardinals(m_x11->root(), m_x11->atom(clientList), maximumClients).sequence, this,
                       [this](const void *reply) { takeClients(X11Connection::cardinalsIn(reply)); });
}

void X11Screens::takeClients(const std::vector<uint32_t> &windows)
{
    const QSet<xcb_window_t> now(windows.begin(), windows.end());
    const QSet<xcb_window_t> before = std::exchange(m_clients, now);
    for (const xcb_window_t window : before - now)
        setStrut(window, std::nullopt);
    for (const xcb_window_t window : now - before) {
        m_x11->select(window, XCB_EVENT_MASK_PROPERTY_CHANGE);
        followStrut(window);
    }
}

void X11Screens::followStrut(xcb_window_t window)
{
    const auto partialAsked = m_x11->askCardinals(window, m_x11->atom(partialStrut), 12);
    const auto oldAsked = m_x11->askCardinals(window, m_x11->atom(oldStrut), 4);
    auto partial = std::make_shared<std::vector<uint32_t>>();
    m_x11->whenReplied(partialAsked.sequence, this,
                       [partial](const void *reply) { *partial = X11Connection::cardinalsIn(reply); });
    m_x11->whenReplied(oldAsked.sequence, this, [this, window, partial](const void *reply) {
        const auto old = X11Connection::cardinalsIn(reply);
        if (m_clients.contains(window))
            setStrut(window, strutOf(*partial, old));
    });
}

void X11Screens::setStrut(xcb_window_t window, const std::optional<geometry::Strut> &strut)
{
    const auto known = m_struts.constFind(window);
    if (strut ? (known != m_struts.cend() && *known == *strut) : known == m_struts.cend())
        return;
    if (strut)
        m_struts[window] = *strut;
    else
        m_struts.remove(window);
    update();
}

void X11Screens::update()
{
    QList<Screen> now = measured();
    if (now == m_screens)
        return;
    m_screens = std::move(now);
    emit changed();
}

QList<Screen> X11Screens::measured() const
{
    QList<QScreen *> order = QGuiApplication::screens();
    if (const qsizetype main = order.indexOf(QGuiApplication::primaryScreen()); main > 0)
        order.move(main, 0);
    const QRectF main = mainFrame();
    const QList<geometry::Strut> struts = m_struts.values();
    QList<Screen> result;
    for (const QScreen *screen : order) {
        const QRectF frame = screen->geometry();
        const QRectF visible = m_x11 ? geometry::visibleFrame({frame, screen->devicePixelRatio()}, struts, m_desktop)
                                     : QRectF(screen->availableGeometry());
        result.append({screen->name(), geometry::toYUp(frame, main), geometry::toYUp(visible, main)});
    }
    return result;
}

QList<Screen> X11Screens::screens() const
{
    return m_screens;
}

std::optional<QPointF> X11Screens::pointer() const
{
    if (!QGuiApplication::primaryScreen())
        return std::nullopt;
    return geometry::toYUp(QPointF(QCursor::pos()), mainFrame());
}

QRectF X11Screens::toWindowSystem(const QRectF &yUp) const
{
    return geometry::toYDown(yUp, mainFrame());
}

} // namespace cobblet
