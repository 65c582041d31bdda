#include "ui/common/ThemeColors.h"

#include "platform/Appearance.h"

#include <algorithm>

namespace cobblet {

QColor over(const QColor &top, const QColor &bottom)
{
    const float a = top.alphaF();
    const auto mix = [a](float t, float b) { return t * a + b * (1 - a); };
    return QColor::fromRgbF(mix(top.redF(), bottom.redF()), mix(top.greenF(), bottom.greenF()),
                            mix(top.blueF(), bottom.blueF()));
}

ThemeColors::ThemeColors(ThemeManager &manager, Appearance &appearance) : m_manager(manager), m_appearance(appearance)
{
    connect(&manager, &ThemeManager::changed, this, &ThemeColors::update);
    connect(&appearance, &Appearance::changed, this, &ThemeColors::changed); // the accent colour
    update();
}

void ThemeColors::update()
{
    const ColorScheme scheme = m_manager.effectiveScheme();
    const bool dark = scheme == ColorScheme::Dark;
    const QColor solid = CBTheme::palette(scheme, false).panelBG;
    CBTheme::operator=(m_manager.theme());
    m_outline = border;
    if (m_backdrop == Backdrop::Nothing) {
        panelBG = over(panelBG, solid);
        m_outline.setAlphaF(dark ? 0.25f : 0.4f);
    } else if (panelIsMaterial && m_backdrop == Backdrop::Sharp) {
        panelBG.setAlphaF(std::max(panelBG.alphaF(), float(unblurredTint)));
    }
    // A touch lighter than the panel, so that it stands off where it lies over it.
    m_popoverBG = over(QColor::fromRgbF(1, 1, 1, dark ? 0.05f : 0.55f), solid);
    m_fieldBG = dark ? QColor(255, 255, 255, 20) : QColor(255, 255, 255);
    m_pageBG = dark ? QColor(31, 31, 33) : QColor(246, 245, 247);
    m_sectionBG = dark ? QColor(43, 43, 46) : QColor(255, 255, 255);
    m_track = dark ? QColor(255, 255, 255, 46) : QColor(0, 0, 0, 38);
    emit changed();
}

QColor ThemeColors::accent() const
{
    return m_appearance.accentColor(); // asked when it is needed: it may cost a round trip
}

MenuLook ThemeColors::menuLook() const
{
    return {.background = m_popoverBG,
            .border = over(text3, m_popoverBG),
            .separator = over(hairline, m_popoverBG),
            .text = text,
            .disabled = text3,
            .accent = accent(),
            .accentText = Qt::white,
            .blends = m_backdrop != Backdrop::Nothing};
}

/// Without a compositor a pixel at the edge of the window's mask is seen whole: it has the colour of the outline.
QColor ThemeColors::edge() const
{
    return m_backdrop == Backdrop::Nothing ? over(m_outline, panelBG) : QColor(Qt::transparent);
}

QColor ThemeColors::windowColor() const
{
    return m_backdrop == Backdrop::Nothing ? panelBG : QColor(Qt::transparent);
}

void ThemeColors::setBackdrop(Backdrop backdrop)
{
    if (m_backdrop == backdrop)
        return;
    m_backdrop = backdrop;
    update();
}

} // namespace cobblet
