#include "platform/freedesktop/WindowDockTile.h"

#include "platform/freedesktop/x11/X11Windows.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QWindow>

namespace cobblet {

namespace {

constexpr uint32_t fromApplication = 1;

} // namespace

void WindowDockTile::setIcon(const QImage &icon)
{
    // In the sizes that window managers show: in full, the icon would be a megabyte in every process.
    QIcon sizes;
    for (const int side : {128, 64, 48, 32, 16})
        if (side <= icon.width())
            sizes.addPixmap(
                QPixmap::fromImage(icon.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation)));
    QGuiApplication::setWindowIcon(sizes);
}

void WindowDockTile::activateApplication()
{
    for (QWindow *window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && window->type() == Qt::Window &&
            !window->flags().testFlag(Qt::FramelessWindowHint)) {
            window->raise();
            window->requestActivate();
            return;
        }
}

void WindowDockTile::bringForward(QWindow &window)
{
    const bool isMapped = window.isVisible();
    window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    X11Windows *windows = isMapped ? m_windows() : nullptr;
    if (!windows)
        return window.requestActivate();
    // From another desktop, and past the guards of the focus: who asked for the window may have acted elsewhere last.
    X11Connection &x11 = windows->x11();
    xcb_connection_t *toolkit = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    const auto id = xcb_window_t(window.winId());
    if (const auto desktop = x11.cardinals(x11.root(), x11.atom("_NET_CURRENT_DESKTOP")); !desktop.empty())
        x11.sendToRoot(id, x11.atom("_NET_WM_DESKTOP"), {desktop.front(), fromApplication}, toolkit);
    windows->activate(id, x11.serverTime(), toolkit);
}

void WindowDockTile::setMenu(std::function<QList<DockMenuItem>()>, std::function<bool(const QString &)> chosen)
{
    m_chosen = std::move(chosen);
}

} // namespace cobblet
