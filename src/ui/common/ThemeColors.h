#pragma once

#include "model/Theme.h"
#include "platform/Menus.h"
#include "platform/PanelSurface.h"
#include "ui/common/EngineSingleton.h"

#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// What a colour makes of an opaque one beneath it.
QColor over(const QColor &top, const QColor &bottom);

/// The palette in force, as the views bind to it.
class ThemeColors : public QObject, public EngineSingleton<ThemeColors>, private CBTheme {
    Q_OBJECT
    QML_NAMED_ELEMENT(CBTheme)
    QML_SINGLETON
    Q_PROPERTY(QColor text MEMBER text NOTIFY changed)
    Q_PROPERTY(QColor text2 MEMBER text2 NOTIFY changed)
    Q_PROPERTY(QColor text3 MEMBER text3 NOTIFY changed)
    Q_PROPERTY(QColor panelBG MEMBER panelBG NOTIFY changed)
    Q_PROPERTY(QColor sidebarBG MEMBER sidebarBG NOTIFY changed)
    Q_PROPERTY(QColor hoverBG MEMBER hoverBG NOTIFY changed)
    Q_PROPERTY(QColor hairline MEMBER hairline NOTIFY changed)
    Q_PROPERTY(QColor kbd MEMBER kbd NOTIFY changed)
    Q_PROPERTY(QColor toolHover MEMBER toolHover NOTIFY changed)
    Q_PROPERTY(QColor border MEMBER border NOTIFY changed)
    Q_PROPERTY(QColor outline MEMBER m_outline NOTIFY changed)
    Q_PROPERTY(QColor edge READ edge NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor warning READ warning CONSTANT)
    Q_PROPERTY(QColor failure READ failure CONSTANT)
    Q_PROPERTY(QColor popoverBG MEMBER m_popoverBG NOTIFY changed)
    Q_PROPERTY(QColor fieldBG MEMBER m_fieldBG NOTIFY changed)
    Q_PROPERTY(QColor pageBG MEMBER m_pageBG NOTIFY changed)
    Q_PROPERTY(QColor sectionBG MEMBER m_sectionBG NOTIFY changed)
    Q_PROPERTY(QColor track MEMBER m_track NOTIFY changed)
public:
    ThemeColors(ThemeManager &manager, Appearance &appearance);

    /// The palette; its background is as dense as what lies behind the panel asks for.
    const CBTheme &palette() const { return *this; }
    QColor accent() const;
    /// Of the symbol beside what does not work; stands off from light and dark.
    static QColor warning() { return {240, 140, 20}; }
    /// Of a sentence about what failed.
    static QColor failure() { return MenuLook().destructive; }
    /// Around the panel: the palette's border, or one that stands off by itself where nothing casts a shadow.
    QColor outline() const { return m_outline; }
    /// Of the pixels that the rounded outline covers in part: transparent wherever that can be.
    QColor edge() const;
    /// Of the panel's window, beneath all that is painted: seen for a moment while it grows, if at all.
    QColor windowColor() const;
    /// Of an ordinary window, beneath all that is painted.
    QColor pageColor() const { return m_pageBG; }
    /// The palette as menus use it.
    MenuLook menuLook() const;

    void setBackdrop(Backdrop backdrop);

signals:
    void changed();

private:
    void update();

    ThemeManager &m_manager;
    Appearance &m_appearance;
    Backdrop m_backdrop = Backdrop::Sharp;
    QColor m_outline;
    QColor m_popoverBG; ///< of popovers and tips: opaque in every palette, because they lie over anything
    QColor m_fieldBG;   ///< inside of a text field
    QColor m_pageBG;    ///< of an ordinary window's content
    QColor m_sectionBG; ///< of the boxes on it that hold settings
    QColor m_track;     ///< of a switch that is off, and of what can be slid
};

} // namespace cobblet
