#include "platform/freedesktop/X11DockTile.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmap>
#include <QWindow>

namespace cobblet {

void X11DockTile::setIcon(const QImage &icon)
{
    QGuiApplication::setWindowIcon(QIcon(QPixmap::fromImage(icon)));
}

void X11DockTile::activateApplication()
{
    for (QWindow *window : QGuiApplication::topLevelWindows())
        if (window->isVisible() && window->type() == Qt::Window &&
            !window->flags().testFlag(Qt::FramelessWindowHint)) {
            window->raise();
            window->requestActivate();
            return;
        }
}

void X11DockTile::setMenu(std::function<QList<DockMenuItem>()>, std::function<bool(const QString &)> chosen)
{
    m_chosen = std::move(chosen);
}

} // namespace cobblet
