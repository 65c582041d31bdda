#include "ui/common/Pictures.h"

#include "ui/common/Symbols.h"

#include <QQuickWindow>
#include <QSGImageNode>

namespace cobblet {

PictureItem::PictureItem(QQuickItem *parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    connect(this, &PictureItem::changed, this, &PictureItem::redraw);
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

CBSymbol::CBSymbol(QQuickItem *parent) : PictureItem(parent)
{
    connect(this, &CBSymbol::changed, this, [this] {
        const double box = symbolBox(m_fontSize);
        setImplicitSize(box, box);
    });
}

QImage CBSymbol::picture(qreal ratio) const
{
    return symbolImage(m_name, m_color, symbolBox(m_fontSize), ratio);
}

} // namespace cobblet
