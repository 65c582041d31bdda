#pragma once

#include "model/Theme.h"

#include <QObject>

#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace cobblet {

class Appearance;

/// The palette in force, as the views bind to it.
class PanelTheme : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(CBTheme)
    QML_SINGLETON
    Q_PROPERTY(QColor text READ text NOTIFY changed)
    Q_PROPERTY(QColor text2 READ text2 NOTIFY changed)
    Q_PROPERTY(QColor text3 READ text3 NOTIFY changed)
    Q_PROPERTY(QColor panelBG READ panelBG NOTIFY changed)
    Q_PROPERTY(QColor sidebarBG READ sidebarBG NOTIFY changed)
    Q_PROPERTY(QColor selBG READ selBG NOTIFY changed)
    Q_PROPERTY(QColor hoverBG READ hoverBG NOTIFY changed)
    Q_PROPERTY(QColor hairline READ hairline NOTIFY changed)
    Q_PROPERTY(QColor kbd READ kbd NOTIFY changed)
    Q_PROPERTY(QColor toolHover READ toolHover NOTIFY changed)
    Q_PROPERTY(QColor border READ border NOTIFY changed)
    Q_PROPERTY(QColor selShadow READ selShadow NOTIFY changed)
    Q_PROPERTY(double selShadowRadius READ selShadowRadius NOTIFY changed)
    Q_PROPERTY(double selShadowY READ selShadowY NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor popoverBG READ popoverBG NOTIFY changed)
    Q_PROPERTY(QColor fieldBG READ fieldBG NOTIFY changed)
public:
    PanelTheme(ThemeManager &manager, Appearance &appearance, QObject *parent = nullptr);

    static PanelTheme *create(QQmlEngine *engine, QJSEngine *);

    QColor text() const { return theme().text; }
    QColor text2() const { return theme().text2; }
    QColor text3() const { return theme().text3; }
    /// The material's tint where the desktop blends windows, else opaque.
    QColor panelBG() const;
    QColor sidebarBG() const { return theme().sidebarBG; }
    QColor selBG() const { return theme().selBG; }
    QColor hoverBG() const { return theme().hoverBG; }
    QColor hairline() const { return theme().hairline; }
    QColor kbd() const { return theme().kbd; }
    QColor toolHover() const { return theme().toolHover; }
    QColor border() const { return theme().border; }
    QColor selShadow() const { return theme().selShadow.color; }
    double selShadowRadius() const { return theme().selShadow.radius; }
    double selShadowY() const { return theme().selShadow.y; }
    QColor accent() const;
    /// Popovers and tips are opaque in every palette: they lie over anything.
    QColor popoverBG() const;
    /// Inside of a text field.
    QColor fieldBG() const;

    /// Whether what lies beneath the panel shows through its translucent parts.
    void setBlending(bool blending);

signals:
    void changed();

private:
    const CBTheme &theme() const { return m_manager.theme(); }
    QColor solidBG() const;
    bool isDark() const { return m_manager.effectiveScheme() == ColorScheme::Dark; }

    ThemeManager &m_manager;
    Appearance &m_appearance;
    bool m_blending = true;
};

} // namespace cobblet
