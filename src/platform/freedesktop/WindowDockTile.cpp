#include "platform/freedesktop/WindowDockTile.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QWindow>

namespace cobblet {

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

void WindowDockTile::setMenu(std::function<QList<DockMenuItem>()>, std::function<bool(const QString &)> chosen)
{
    m_chosen = std::move(chosen);
}

} // namespace cobblet
