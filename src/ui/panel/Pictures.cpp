#include "ui/panel/Pictures.h"

#include "ui/common/Symbols.h"

#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>

namespace cobblet {

PictureItem::PictureItem(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

void PictureItem::redraw()
{
    m_stale = true;
    update();
}

void PictureItem::geometryChange(const QRectF &now, const QRectF &before)
{
    QQuickItem::geometryChange(now, before);
    if (now.size() != before.size())
        redraw();
}

void PictureItem::itemChange(ItemChange change, const ItemChangeData &data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemDevicePixelRatioHasChanged || change == ItemSceneChange)
        redraw();
}

QSGNode *PictureItem::updatePaintNode(QSGNode *old, UpdatePaintNodeData *)
{
    if (old && !m_stale)
        return old;
    m_stale = false;
    // Not every scene graph frees the texture that a node held before, so a new picture gets a new node.
    delete old;
    const QImage image = width() > 0 && height() > 0 ? picture(window()->effectiveDevicePixelRatio()) : QImage();
    if (image.isNull())
        return nullptr;
    QSGImageNode *node = window()->createImageNode();
    node->setOwnsTexture(true);
    node->setTexture(window()->createTextureFromImage(image, QQuickWindow::TextureHasAlphaChannel));
    node->setFiltering(QSGTexture::Linear);
    // The image decides the size: a width that is no whole number of device pixels must not blur it.
    node->setRect(QRectF(QPointF(0, 0), QSizeF(image.size()) / image.devicePixelRatio()));
    node->setSourceRect(QRectF(QPointF(0, 0), QSizeF(image.size())));
    return node;
}

void CBAppIconTile::setImage(const QVariant &value)
{
    const QImage image = value.value<QImage>();
    if (m_image.cacheKey() == image.cacheKey())
        return;
    m_image = image;
    redraw();
    emit imageChanged();
}

CBSymbol::CBSymbol(QQuickItem *parent) : PictureItem(parent)
{
    connect(this, &CBSymbol::changed, this, [this] {
        const double box = symbolBox(m_fontSize);
        setImplicitSize(box, box);
        redraw();
    });
}

QImage CBSymbol::picture(qreal ratio) const
{
    return symbolImage(m_name, m_color, symbolBox(m_fontSize), ratio);
}

CBRowShape::CBRowShape(QQuickItem *parent) : PictureItem(parent)
{
    connect(this, &CBRowShape::changed, this, &CBRowShape::redraw);
}

QImage CBRowShape::picture(qreal ratio) const
{
    QImage image((QSizeF(width(), height()) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF shape = QRectF(QPointF(0, 0), QSizeF(width(), height()))
                             .adjusted(shadowMargin, shadowMargin, -shadowMargin, -shadowMargin);
    if (m_shadowRadius > 0) {
        // A blur this small is a few outlines that fade outwards.
        constexpr int rings = 4;
        for (int i = rings; i > 0; --i) {
            const double grow = m_shadowRadius * (2.0 * i / rings - 1);
            QColor color = m_shadow;
            color.setAlphaF(m_shadow.alphaF() / rings);
            painter.setBrush(color);
            const QRectF ring = shape.translated(0, m_shadowY).adjusted(-grow, -grow, grow, grow);
            painter.drawRoundedRect(ring, m_radius + grow, m_radius + grow);
        }
        // The fill may be translucent: what lies under it must be the sidebar, not its own shadow.
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.drawRoundedRect(shape, m_radius, m_radius);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    painter.setBrush(m_fill);
    painter.drawRoundedRect(shape, m_radius, m_radius);
    const double stroke = std::max(0.5, 1 / ratio);
    const double inset = stroke / 2;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(m_stroke, stroke));
    painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), m_radius - inset, m_radius - inset);
    return image;
}

} // namespace cobblet
