#include "ui/panel/PanelTheme.h"

#include "platform/Appearance.h"
#include "ui/panel/PanelEngine.h"

namespace cobblet {

namespace {

QColor over(const QColor &top, const QColor &bottom)
{
    const float a = top.alphaF();
    const auto mix = [a](float t, float b) { return t * a + b * (1 - a); };
    return QColor::fromRgbF(mix(top.redF(), bottom.redF()), mix(top.greenF(), bottom.greenF()),
                            mix(top.blueF(), bottom.blueF()));
}

} // namespace

PanelTheme::PanelTheme(ThemeManager &manager, Appearance &appearance, QObject *parent)
    : QObject(parent), m_manager(manager), m_appearance(appearance)
{
    connect(&manager, &ThemeManager::changed, this, &PanelTheme::changed);
    connect(&appearance, &Appearance::changed, this, &PanelTheme::changed);
}

PanelTheme *PanelTheme::create(QQmlEngine *engine, QJSEngine *)
{
    return providedToQml<PanelTheme>(*engine);
}

QColor PanelTheme::panelBG() const
{
    const CBTheme &current = theme();
    if (!current.panelIsMaterial || m_blending)
        return current.panelBG;
    return over(current.panelBG, solidBG());
}

QColor PanelTheme::accent() const
{
    return m_appearance.accentColor();
}

QColor PanelTheme::solidBG() const
{
    return CBTheme::palette(m_manager.effectiveScheme(), false).panelBG;
}

QColor PanelTheme::popoverBG() const
{
    // A touch lighter than the panel, so that it stands off where it lies over it.
    return over(QColor::fromRgbF(1, 1, 1, isDark() ? 0.05f : 0.55f), solidBG());
}

QColor PanelTheme::fieldBG() const
{
    return isDark() ? QColor(255, 255, 255, 20) : QColor(255, 255, 255);
}

void PanelTheme::setBlending(bool blending)
{
    if (m_blending == blending)
        return;
    m_blending = blending;
    emit changed();
}

} // namespace cobblet
