#include "platform/freedesktop/apps/IconImage.h"

#include "platform/AtomicFile.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
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
    // A window with its title bar.
    static const QByteArray picture = R"svg(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 48 48">
<linearGradient id="a" x2="0" y2="1"><stop stop-color="#f2f3f5"/><stop offset="1" stop-color="#c9cdd4"/></linearGradient>
<rect x="4" y="4" width="40" height="40" rx="9.6" fill="url(#a)" stroke="#000" stroke-opacity=".16" stroke-width=".75"/>
<rect x="12" y="13.6" width="24" height="20.8" rx="2" fill="#fff" fill-opacity=".78" stroke="#6b7280" stroke-width="1.7"/>
<path d="M12 18.8V15.6q0-2 2-2H34q2 0 2 2V18.8z" fill="#6b7280"/></svg>)svg";
    QImage image = canvas(points, devicePixelRatio);
    drawVector(picture, image);
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

} // namespace cobblet
