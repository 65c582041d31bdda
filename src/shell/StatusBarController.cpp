#include "shell/StatusBarController.h"

#include "model/Notifications.h"
#include "platform/DockTile.h"

#include <QPainter>

namespace cobblet {

namespace {

const QString symbolName = QStringLiteral("square.grid.2x2");

/// The file's picture, as large as the square allows, with its colours replaced.
QImage tinted(const QString &file, const QColor &color, double points, qreal ratio)
{
    const QImage source(file);
    if (source.isNull())
        return {};
    const int side = qMax(1, qRound(points * ratio));
    const QImage fitted = source.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.drawImage((side - fitted.width()) / 2, (side - fitted.height()) / 2, fitted);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    image.setDevicePixelRatio(ratio);
    return image;
}

} // namespace

StatusBarController::StatusBarController(Services services, const QString &imageFile)
    : m_services(std::move(services))
{
    setUp(imageFile);
}

void StatusBarController::setUp(const QString &imageFile)
{
    StatusItem::Template image = [imageFile, symbol = m_services.symbol](const QColor &color, double points,
                                                                         qreal ratio) {
        const QImage own = tinted(imageFile, color, points, ratio);
        return own.isNull() ? symbol(symbolName, color, points, ratio) : own;
    };
    m_services.statusItem->setImage(std::move(image), QStringLiteral("Cobblet"));
    m_services.statusItem->setMenu({
        {.title = QStringLiteral("Groups"),
         .symbol = QStringLiteral("macwindow"),
         .action = [this] { showGroups(); }},
        {.title = QStringLiteral("Settings"),
         .symbol = QStringLiteral("gear"),
         .action = [this] { openSettings(); },
         .shortcut = QKeySequence(Qt::CTRL | Qt::Key_Comma)},
        {},
        {.title = QStringLiteral("Quit Cobblet"),
         .action = [this] { quit(); },
         .shortcut = QKeySequence(Qt::CTRL | Qt::Key_Q)},
    });
}

void StatusBarController::show()
{
    m_services.statusItem->show();
}

void StatusBarController::showGroups()
{
    emit m_services.notifications.showPanel();
}

void StatusBarController::openSettings()
{
    emit m_services.notifications.closePanel();
    m_services.dockTile.activateApplication();
    emit m_services.notifications.openSettings();
}

void StatusBarController::quit()
{
    m_services.terminate();
}

} // namespace cobblet
