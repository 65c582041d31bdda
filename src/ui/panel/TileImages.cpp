#include "ui/panel/TileImages.h"

#include "standalone/IconProvider.h"
#include "ui/common/Symbols.h"

#include <QPainter>

namespace cobblet {

namespace {

constexpr double cornerRadius = 11;
constexpr qsizetype cacheBytes = 2 * 1024 * 1024;

QImage emptyTile(qreal ratio)
{
    const int side = qRound(TileImages::points * ratio);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    return image;
}

void drawSymbol(QPainter &painter, const QString &name, const QColor &color, double fontSize, qreal ratio)
{
    const double box = symbolBox(fontSize);
    const double at = (TileImages::points - box) / 2;
    painter.drawImage(QPointF(at, at), symbolImage(name, color, box, ratio));
}

} // namespace

TileImages::TileImages(IconProvider &icons, QObject *parent) : QObject(parent), m_icons(icons), m_tiles(cacheBytes)
{
    connect(&icons, &IconProvider::loaded, this, [this](const QStringList &bundleIDs) {
        for (const QString &bundleID : bundleIDs)
            m_tiles.remove(bundleID);
        emit loaded(bundleIDs);
    });
    connect(&icons, &IconProvider::iconsChanged, this, [this] {
        m_tiles.clear();
        emit changed();
    });
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
    m_tiles.clear();
    forget();
}

void TileImages::forget()
{
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

QImage TileImages::placeholder()
{
    if (m_placeholder.isNull()) {
        m_placeholder = emptyTile(m_ratio);
        QPainter painter(&m_placeholder);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        QColor fill = m_color;
        fill.setAlphaF(0.15f);
        painter.setBrush(fill);
        painter.drawRoundedRect(QRectF(0, 0, points, points), cornerRadius, cornerRadius);
        drawSymbol(painter, QStringLiteral("app.fill"), m_color, 17, m_ratio);
    }
    return m_placeholder;
}

QImage TileImages::addTile()
{
    if (m_add.isNull()) {
        m_add = emptyTile(m_ratio);
        constexpr double stroke = 1.5;
        QPainter painter(&m_add);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(m_color, stroke));
        const double inset = stroke / 2;
        painter.drawRoundedRect(QRectF(inset, inset, points - stroke, points - stroke), cornerRadius - inset,
                                cornerRadius - inset);
        drawSymbol(painter, QStringLiteral("plus"), m_color, 20, m_ratio);
    }
    return m_add;
}

} // namespace cobblet
