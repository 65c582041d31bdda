#pragma once

#include "platform/Menus.h"

#include <QProxyStyle>

class QMenu;
class QStyleOptionMenuItem;

namespace cobblet {

/// Draws menus in the program's own colours, with rounded corners, on top of the toolkit's plain style.
class MenuStyle : public QProxyStyle {
    Q_OBJECT
public:
    MenuStyle();

    /// For the menus that open from now on.
    void setLook(const MenuLook &look) { m_look = look; }

    /// The dynamic property of an action that destroys something.
    static constexpr const char *destructive = "destructive";

    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override;
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption *option, const QSize &size,
                           const QWidget *widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption *option, const QWidget *widget) const override;
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override;

private:
    void drawItem(const QStyleOptionMenuItem &item, QPainter &painter, const QMenu *menu) const;

    MenuLook m_look;
};

} // namespace cobblet
