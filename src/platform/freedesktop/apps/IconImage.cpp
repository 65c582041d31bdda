#include "platform/freedesktop/apps/IconImage.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/apps/SvgImage.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>

namespace cobblet {

namespace {

constexpr qint64 maximumBytes = 8 * 1024 * 1024;
constexpr int maximumSide = 4096;

int sideOf(int points, qreal devicePixelRatio)
{
    return std::clamp(qRound(points * devicePixelRatio), 1, maximumSide);
}

/// A transparent square.
QImage canvas(int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage rasterImage(QByteArray bytes, int side)
{
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > maximumSide || size.height() > maximumSide)
        return {};
    const QImage picture = reader.read();
    if (picture.isNull())
        return {};
    QRect target({}, size.scaled(side, side, Qt::KeepAspectRatio));
    target.moveCenter(QRect(0, 0, side, side).center());
    QImage image = canvas(side);
    QPainter painter(&image);
    if (target.size() == size)
        painter.drawImage(target.topLeft(), picture);
    else // averages over the whole area when it shrinks, which a painter's own scaling does not
        painter.drawImage(target.topLeft(),
                          picture.convertToFormat(QImage::Format_ARGB32_Premultiplied)
                              .scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    painter.end();
    return image;
}

} // namespace

QImage iconImage(const QString &path, int points, qreal devicePixelRatio, const QString &svgProgram)
{
    const auto bytes = readBounded(path, maximumBytes);
    if (!bytes)
        return {};
    const int side = sideOf(points, devicePixelRatio);
    QImage image = path.endsWith(u".svg", Qt::CaseInsensitive) ? svgImage(svgProgram, bytes.value(), side)
                                                               : rasterImage(bytes.value(), side);
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
    QImage image = canvas(sideOf(points, devicePixelRatio));
    QPainter painter(&image);
    QSvgRenderer(picture).render(&painter);
    painter.end();
    image.setDevicePixelRatio(devicePixelRatio);
    return image;
}

} // namespace cobblet
