#pragma once

#include "ui/common/Choices.h"
#include "ui/common/Decorations.h"
#include "ui/common/Popovers.h"
#include "ui/common/ThemeColors.h"

#include <QQmlEngine>

namespace cobblet {

/// The QML engine of a view room, with what its controls share. To be made before the first window of Qt Quick.
class ControlsEngine : public QQmlEngine {
public:
    ControlsEngine(ThemeManager &theme, Appearance &appearance, Menus &menus);

    ThemeColors &theme() { return m_theme; }
    Decorations &decorations() { return m_decorations; }
    Popovers &popovers() { return m_popovers; }

private:
    ThemeColors m_theme;
    Decorations m_decorations;
    Popovers m_popovers;
    Choices m_choices;
};

} // namespace cobblet
