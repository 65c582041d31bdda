#include "ui/common/ControlsEngine.h"

#include <QQuickWindow>
#include <QSGRendererInterface>

#include <utility>

// Generated for the QML module.
void qml_register_types_Cobblet_Controls();

namespace cobblet {

namespace {

/// The software scene graph paints its first frame much sooner and needs no driver's memory; the usual
/// variables still choose another.
void chooseSceneGraph()
{
    // Once per process: a scene graph that runs cannot be exchanged.
    static bool chosen =
        !qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") || !qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND");
    if (!std::exchange(chosen, true))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

} // namespace

ControlsEngine::ControlsEngine(ThemeManager &theme, Appearance &appearance, Menus &menus, const EmojiSource &emoji)
    : m_theme(theme, appearance), m_decorations(*this), m_emojis(emoji), m_popovers(nullptr), m_choices(menus)
{
    // Naming it is enough to keep the linker from dropping the module's types; the engine registers them.
    volatile auto types = &qml_register_types_Cobblet_Controls;
    Q_UNUSED(types)
    chooseSceneGraph();
    m_theme.provideTo(*this);
    m_decorations.provideTo(*this);
    m_emojis.provideTo(*this);
    m_popovers.provideTo(*this);
    m_choices.provideTo(*this);
    // A search makes thousands of lists and texts.
    connect(&m_emojis, &Emojis::released, this, &QJSEngine::collectGarbage, Qt::QueuedConnection);
}

} // namespace cobblet
