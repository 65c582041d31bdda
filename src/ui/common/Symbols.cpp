#include "ui/common/Symbols.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

static void initSymbolResources()
{
    Q_INIT_RESOURCE(cobblet_symbols);
}

namespace cobblet {

namespace {

QString symbolPath(const QString &name)
{
    // A static library's resources are dropped by the linker unless something asks for them.
    static const bool ready = (initSymbolResources(), true);
    Q_UNUSED(ready)
    return QStringLiteral(":/cobblet/symbols/%1.svg").arg(name);
}

} // namespace

QImage symbolImage(const QString &name, const QColor &color, double points, qreal ratio)
{
    const QString path = symbolPath(name);
    if (name.isEmpty() || !QFile::exists(path))
        return {};
    QSvgRenderer renderer(path);
    const int side = qMax(1, qRound(points * ratio));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, side, side));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    image.setDevicePixelRatio(ratio);
    return image;
}

QIcon symbolIcon(const QString &name, const QColor &color)
{
    QIcon icon;
    for (const qreal ratio : {1.0, 2.0}) {
        const QImage image = symbolImage(name, color, 16, ratio);
        if (!image.isNull())
            icon.addPixmap(QPixmap::fromImage(image));
    }
    return icon;
}

} // namespace cobblet
