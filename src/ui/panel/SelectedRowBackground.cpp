#include "ui/panel/SelectedRowBackground.h"

#include "ui/common/ThemeColors.h"
#include "ui/common/Units.h"

#include <QPainter>

#include <algorithm>

namespace cobblet {

void SelectedRowBackground::componentComplete()
{
    PictureItem::componentComplete();
    connect(ThemeColors::create(qmlEngine(this), nullptr), &ThemeColors::changed, this, &PictureItem::changed);
}

QImage SelectedRowBackground::picture(qreal ratio) const
{
    const CBTheme &theme = ThemeColors::create(qmlEngine(this), nullptr)->palette();
    constexpr double radius = Units::rowRadius;
    QImage image((QSizeF(width(), height()) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF shape = QRectF(QPointF(0, 0), QSizeF(width(), height())).adjusted(margin, margin, -margin, -margin);
    if (theme.selShadow.radius > 0) {
        // A blur this small is a few outlines that fade outwards.
        constexpr int rings = 4;
        for (int i = rings; i > 0; --i) {
            const double grow = theme.selShadow.radius * (2.0 * i / rings - 1);
            QColor color = theme.selShadow.color;
            color.setAlphaF(theme.selShadow.color.alphaF() / rings);
            painter.setBrush(color);
            const QRectF ring = shape.translated(0, theme.selShadow.y).adjusted(-grow, -grow, grow, grow);
            painter.drawRoundedRect(ring, radius + grow, radius + grow);
        }
        // The fill may be translucent: what lies under it must be the sidebar, not its own shadow.
        painter.setCompositionMode(QPainter::CompositionMode_Clear);
        painter.drawRoundedRect(shape, radius, radius);
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    painter.setBrush(theme.selBG);
    painter.drawRoundedRect(shape, radius, radius);
    const double stroke = std::max(0.5, 1 / ratio);
    const double inset = stroke / 2;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(theme.border, stroke));
    painter.drawRoundedRect(shape.adjusted(inset, inset, -inset, -inset), radius - inset, radius - inset);
    return image;
}

} // namespace cobblet
