#pragma once

#include "ui/common/Choices.h"
#include "ui/common/Decorations.h"
#include "ui/common/Emojis.h"
#include "ui/common/Popovers.h"
#include "ui/common/ThemeColors.h"

#include <QQmlEngine>

namespace cobblet {

/// The QML engine of a view room, with what its controls share. To be made before the first window of Qt Quick.
class ControlsEngine : public QQmlEngine {
public:
    ControlsEngine(ThemeManager &theme, Appearance &appearance, Menus &menus, const EmojiSource &emoji);

    ThemeColors &theme() { return m_theme; }
    Decorations &decorations() { return m_decorations; }
    Emojis &emojis() { return m_emojis; }
    Popovers &popovers() { return m_popovers; }

private:
    ThemeColors m_theme;
    Decorations m_decorations;
    Emojis m_emojis;
    Popovers m_popovers;
    Choices m_choices;
};

} // namespace cobblet
