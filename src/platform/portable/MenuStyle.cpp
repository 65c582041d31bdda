#include "platform/portable/MenuStyle.h"

#include <QAction>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>
#include <QStyleFactory>
#include <QStyleOption>

namespace cobblet {

namespace {

constexpr double panelRadius = 10;
constexpr double itemRadius = 6;
constexpr int padding = 5;

} // namespace

MenuStyle::MenuStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("fusion"))) {}

void MenuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                              const QWidget *widget) const
{
    if (element == PE_FrameMenu)
        return; // drawn with the background
    if (element != PE_PanelMenu)
        return QProxyStyle::drawPrimitive(element, option, painter, widget);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (!m_look.blends)
        painter->fillRect(option->rect, m_look.background); // the mask cuts the corners
    painter->setPen(m_look.border);
    painter->setBrush(m_look.background);
    painter->drawRoundedRect(QRectF(option->rect).adjusted(0.5, 0.5, -0.5, -0.5), panelRadius, panelRadius);
    painter->restore();
}

void MenuStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                            const QWidget *widget) const
{
    if (element == CE_MenuEmptyArea)
        return;
    const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    const auto *menu = qobject_cast<const QMenu *>(widget);
    if (element == CE_MenuItem && item && menu)
        drawItem(*item, *painter, menu);
    else
        QProxyStyle::drawControl(element, option, painter, widget);
}

void MenuStyle::drawItem(const QStyleOptionMenuItem &item, QPainter &painter, const QMenu *menu) const
{
    if (item.menuItemType == QStyleOptionMenuItem::Separator) {
        painter.fillRect(item.rect.left() + padding, item.rect.center().y(), item.rect.width() - 2 * padding, 1,
                         m_look.separator);
        return;
    }
    const bool isEnabled = item.state.testFlag(State_Enabled);
    const bool isSelected = isEnabled && item.state.testFlag(State_Selected);
    const QAction *action = menu->actionAt(item.rect.center());
    const bool isDestructive = action && action->property(destructive).toBool();
    if (isSelected) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_look.accent);
        painter.drawRoundedRect(item.rect, itemRadius, itemRadius);
        painter.restore();
    }
    // The rest is the plain style's, without a selection of its own.
    QStyleOptionMenuItem plain = item;
    plain.state.setFlag(State_Selected, false);
    const QColor color = isSelected ? m_look.accentText : isDestructive ? m_look.destructive : m_look.text;
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        plain.palette.setColor(role, color);
        plain.palette.setColor(QPalette::Disabled, role, m_look.disabled);
    }
    QProxyStyle::drawControl(CE_MenuItem, &plain, &painter, menu);
}

QSize MenuStyle::sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                                  const QWidget *widget) const
{
    const QSize plain = QProxyStyle::sizeFromContents(type, option, size, widget);
    const auto *item = qstyleoption_cast<const QStyleOptionMenuItem *>(option);
    const bool isEntry = type == CT_MenuItem && item && item->menuItemType != QStyleOptionMenuItem::Separator;
    return isEntry ? plain + QSize(8, 2) : plain;
}

int MenuStyle::pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const
{
    switch (metric) {
    case PM_MenuHMargin:
    case PM_MenuVMargin:
        return padding;
    case PM_MenuPanelWidth:
        return 0;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int MenuStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                         QStyleHintReturn *data) const
{
    if (hint == SH_Menu_Scrollable)
        return 1;
    auto *mask = qstyleoption_cast<QStyleHintReturnMask *>(data);
    if (hint != SH_Menu_Mask || !mask || !option)
        return QProxyStyle::styleHint(hint, option, widget, data);
    if (m_look.blends)
        return 0;
    QPainterPath path;
    path.addRoundedRect(option->rect, panelRadius, panelRadius);
    mask->region = QRegion(path.toFillPolygon().toPolygon());
    return 1;
}

} // namespace cobblet
