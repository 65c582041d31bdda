#include "ui/panel/TileImages.h"

#include "standalone/IconProvider.h"
#include "ui/common/Symbols.h"
#include "ui/panel/PanelMetrics.h"

#include <QPainter>

namespace cobblet {

namespace {

constexpr int points = PanelMetrics::iconSide;
constexpr double cornerRadius = 11;
constexpr qsizetype cacheBytes = 2 * 1024 * 1024;

/// A rounded rectangle, smaller than the tile by `inset` points on every side, with a symbol in its middle.
QImage drawn(const QBrush &fill, const QPen &outline, double inset, const QString &symbol, double fontSize,
             const QColor &color, qreal ratio)
{
    const int side = qRound(points * ratio);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(outline);
    painter.drawRoundedRect(QRectF(0, 0, points, points).adjusted(inset, inset, -inset, -inset), cornerRadius - inset,
                            cornerRadius - inset);
    const double box = symbolBox(fontSize);
    painter.drawImage(QPointF(points - box, points - box) / 2, symbolImage(symbol, color, box, ratio));
    return image;
}

} // namespace

TileImages::TileImages(IconProvider &icons) : m_icons(icons), m_tiles(cacheBytes)
{
    connect(&icons, &IconProvider::loaded, this, [this](const QStringList &bundleIDs) {
        for (const QString &bundleID : bundleIDs)
            m_tiles.remove(bundleID);
        emit loaded(bundleIDs);
    });
    connect(&icons, &IconProvider::iconsChanged, this, &TileImages::forget);
}

void TileImages::setColor(const QColor &secondary)
{
    if (m_color == secondary)
        return;
    m_color = secondary;
    forget();
}

void TileImages::setDevicePixelRatio(qreal ratio)
{
    if (qFuzzyCompare(m_ratio, ratio))
        return;
    m_ratio = ratio;
    forget();
}

void TileImages::forget()
{
    m_tiles.clear();
    m_placeholder = {};
    m_add = {};
    emit changed();
}

void TileImages::preload(const QStringList &bundleIDs)
{
    m_icons.preload(bundleIDs);
}

QImage TileImages::tile(const QString &bundleID)
{
    if (const QImage *known = m_tiles.object(bundleID))
        return *known;
    const QImage icon = m_icons.cached(bundleID);
    if (icon.isNull())
        return placeholder();
    const int side = qRound(points * m_ratio);
    // Scaled here, once and with a good filter: the scene graph would do it anew, and worse, for every frame.
    QImage scaled = icon.width() == side && icon.height() == side
                        ? icon
                        : icon.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    scaled.convertTo(QImage::Format_ARGB32_Premultiplied);
    scaled.setDevicePixelRatio(m_ratio);
    m_tiles.insert(bundleID, new QImage(scaled), scaled.sizeInBytes());
    return scaled;
}

const QImage &TileImages::placeholder()
{
    QColor fill = m_color;
    fill.setAlphaF(0.15f);
    if (m_placeholder.isNull())
        m_placeholder = drawn(fill, Qt::NoPen, 0, QStringLiteral("app.fill"), 17, m_color, m_ratio);
    return m_placeholder;
}

QImage TileImages::addTile()
{
    constexpr double stroke = 1.5;
    if (m_add.isNull())
        m_add = drawn(Qt::NoBrush, QPen(m_color, stroke), stroke / 2, QStringLiteral("plus"), 20, m_color, m_ratio);
    return m_add;
}

} // namespace cobblet
