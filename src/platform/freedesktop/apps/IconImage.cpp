#include "platform/freedesktop/apps/IconImage.h"

#include "platform/AtomicFile.h"

#include <QBuffer>
#include <QImageReader>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QSvgRenderer>

#include <algorithm>

namespace cobblet {

namespace {

constexpr qint64 maximumBytes = 8 * 1024 * 1024;
constexpr int maximumSide = 4096;

/// A transparent square of the asked size; painting on it happens in pixels until the ratio is set.
QImage canvas(int points, qreal devicePixelRatio)
{
    const int side = std::clamp(qRound(points * devicePixelRatio), 1, maximumSide);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// The largest rectangle of these proportions in the middle of a square.
QRectF fitted(const QSizeF &size, int side)
{
    const QSizeF scaled = size.scaled(side, side, Qt::KeepAspectRatio);
    return {(side - scaled.width()) / 2, (side - scaled.height()) / 2, scaled.width(), scaled.height()};
}

bool drawVector(const QByteArray &bytes, QImage &image)
{
    QSvgRenderer renderer;
    // Compressed data could grow without bound.
    if (bytes.startsWith("\x1f\x8b") || !renderer.load(bytes) || renderer.viewBoxF().isEmpty())
        return false;
    QPainter painter(&image);
    renderer.render(&painter, fitted(renderer.viewBoxF().size(), image.width()));
    return true;
}

bool drawRaster(QByteArray bytes, QImage &image)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > maximumSide || size.height() > maximumSide)
        return false;
    const QImage picture = reader.read();
    if (picture.isNull())
        return false;
    const QRect target = fitted(size, image.width()).toRect();
    QPainter painter(&image);
    if (target.size() == size)
        painter.drawImage(target.topLeft(), picture);
    else // averages over the whole area when it shrinks, which a painter's own scaling does not
        painter.drawImage(target.topLeft(),
                          picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                              .scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    return true;
}

} // namespace

QImage iconImage(const QString &path, int points, qreal devicePixelRatio)
{
    const auto bytes = readBounded(path, maximumBytes);
    if (!bytes)
        return {};
    QImage image = canvas(points, devicePixelRatio);
    const bool drawn = path.endsWith(u".svg", Qt::CaseInsensitive) ? drawVector(bytes.value(), image)
                                                                   : drawRaster(bytes.value(), image);
    if (!drawn)
        return {};
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

QImage applicationTile(int points, qreal devicePixelRatio)
{
    QImage image = canvas(points, devicePixelRatio);
    const qreal side = image.width();
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF tile = QRectF(0, 0, side, side).adjusted(side / 12, side / 12, -side / 12, -side / 12);
    QLinearGradient fill(tile.topLeft(), tile.bottomLeft());
    fill.setColorAt(0, QColor(0xf2, 0xf3, 0xf5));
    fill.setColorAt(1, QColor(0xc9, 0xcd, 0xd4));
    painter.setPen(QPen(QColor(0, 0, 0, 40), std::max(1.0, side / 64)));
    painter.setBrush(fill);
    painter.drawRoundedRect(tile, side / 5, side / 5);
    // A window with its title bar.
    const QRectF window = tile.adjusted(side / 6, side / 5, -side / 6, -side / 5);
    QPainterPath frame;
    frame.addRoundedRect(window, side / 24, side / 24);
    painter.setPen(QPen(QColor(0x6b, 0x72, 0x80), std::max(1.0, side / 28)));
    painter.setBrush(QColor(255, 255, 255, 200));
    painter.drawPath(frame);
    painter.setClipPath(frame);
    painter.fillRect(QRectF(window.topLeft(), QSizeF(window.width(), window.height() / 4)), QColor(0x6b, 0x72, 0x80));
    painter.end();
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

} // namespace cobblet
