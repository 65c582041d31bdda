#include "platform/freedesktop/DesktopScreens.h"

#include <QCursor>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QScreen>

#include <memory>
#include <utility>

namespace cobblet {

Q_LOGGING_CATEGORY(lcScreens, "cobblet.screens")

namespace {

constexpr const char *partialStrut = "_NET_WM_STRUT_PARTIAL";
constexpr const char *oldStrut = "_NET_WM_STRUT";

QRectF mainFrame()
{
    const QScreen *main = QGuiApplication::primaryScreen();
    return main ? QRectF(main->geometry()) : QRectF();
}

} // namespace

DesktopScreens::DesktopScreens(X11Windows *windows) : m_windows(windows)
{
    for (QScreen *screen : QGuiApplication::screens())
        watch(screen);
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](QScreen *screen) {
        watch(screen);
        update();
    });
    // The list is still the old one while a screen is being removed.
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &DesktopScreens::update, Qt::QueuedConnection);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &DesktopScreens::update);
    if (m_windows) {
        X11Connection &x11 = m_windows->x11();
        x11.intern({partialStrut, oldStrut});
        connect(m_windows, &X11Windows::added, this, &DesktopScreens::readStrut);
        connect(m_windows, &X11Windows::removed, this, [this](xcb_window_t window) { setStrut(window, {}); });
        connect(m_windows, &X11Windows::propertyChanged, this,
                [this, &x11](xcb_window_t window, xcb_atom_t property) {
                    if (property == x11.atom(partialStrut) || property == x11.atom(oldStrut))
                        readStrut(window);
                });
        for (const xcb_window_t window : m_windows->windows())
            readStrut(window);
        x11.awaitReplies();
    }
    m_screens = measured();
    if (m_struts.isEmpty())
        qCInfo(lcScreens) << "No dock keeps an edge of a screen free: the panel opens at the bottom.";
}

Availability DesktopScreens::availability() const
{
    if (!m_windows)
        return Availability::partly(
            QStringLiteral("Docks can't be seen without an X display: the panel keeps to what "
                           "the desktop calls the free part of a screen."));
    QStringList kept;
    for (const Screen &screen : m_screens)
        if (const QString edges = geometry::reservedEdges(screen.frame, screen.visibleFrame); !edges.isEmpty())
            kept.append(m_screens.size() > 1 ? QStringLiteral("%1 (%2)").arg(edges, screen.name) : edges);
    return Availability::works(
        kept.isEmpty() ? QStringLiteral("No dock keeps an edge of a screen free: the panel opens at the bottom.")
                       : QStringLiteral("Docks and bars keep free: %1.").arg(kept.join(QStringLiteral("; "))));
}

void DesktopScreens::watch(QScreen *screen)
{
    connect(screen, &QScreen::geometryChanged, this, &DesktopScreens::update);
    connect(screen, &QScreen::availableGeometryChanged, this, &DesktopScreens::update);
}

/// The newer property counts where a dock sets both.
void DesktopScreens::readStrut(xcb_window_t window)
{
    X11Connection &x11 = m_windows->x11();
    const auto old = std::make_shared<std::vector<uint32_t>>();
    x11.ask(window, x11.atom(oldStrut), this, [old](const std::vector<uint32_t> &numbers) { *old = numbers; });
    x11.ask(window, x11.atom(partialStrut), this, [this, window, old](const std::vector<uint32_t> &numbers) {
        if (m_windows->contains(window))
            setStrut(window, geometry::strutFrom(numbers.size() == 12 ? numbers : *old));
    });
}

void DesktopScreens::setStrut(xcb_window_t window, const std::optional<geometry::Strut> &strut)
{
    if (strut)
        m_struts[window] = *strut;
    else if (!m_struts.remove(window))
        return;
    update();
}

void DesktopScreens::update()
{
    QList<Screen> now = measured();
    if (std::exchange(m_screens, now) != now)
        emit changed();
}

QList<Screen> DesktopScreens::measured() const
{
    QList<QScreen *> order = QGuiApplication::screens();
    if (const qsizetype main = order.indexOf(QGuiApplication::primaryScreen()); main > 0)
        order.move(main, 0);
    QRect desktop; // in pixels: each screen begins where its points begin
    for (const QScreen *screen : order)
        desktop |= QRect(screen->geometry().topLeft(), screen->geometry().size() * screen->devicePixelRatio());
    const QRectF main = mainFrame();
    QList<Screen> result;
    for (const QScreen *screen : order) {
        const QRectF frame = screen->geometry();
        // The toolkit's is the window manager's work area where there is one screen, else the whole screen.
        const QRectF available = screen->availableGeometry();
        QRectF visible = available;
        if (m_windows) {
            visible = geometry::visibleFrame({frame, screen->devicePixelRatio()}, m_struts.values(),
                                             QSize(desktop.right() + 1, desktop.bottom() + 1));
            if (m_windows->hasManager()) // one that is gone leaves its work area behind
                visible = geometry::inWorkArea(visible, available);
        }
        result.append({screen->name(), geometry::toYUp(frame, main), geometry::toYUp(visible, main)});
    }
    return result;
}

std::optional<QPointF> DesktopScreens::pointer() const
{
    if (!QGuiApplication::primaryScreen())
        return std::nullopt;
    return geometry::toYUp(QPointF(QCursor::pos()), mainFrame());
}

QRectF DesktopScreens::toWindowSystem(const QRectF &yUp) const
{
    return geometry::toYDown(yUp, mainFrame());
}

} // namespace cobblet
