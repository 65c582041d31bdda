#include "ui/panel/PanelView.h"

#include "standalone/IconProvider.h"
#include "ui/panel/Decorations.h"
#include "ui/panel/PanelEngine.h"
#include "ui/panel/PanelMetrics.h"
#include "ui/panel/Popovers.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickView>
#include <QSGRendererInterface>

#include <utility>

// Generated for the QML module.
void qml_register_types_Cobblet_Panel();

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

bool movesFocus(int key)
{
    switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
        return true;
    default:
        return false;
    }
}

} // namespace

Qt::KeyboardModifiers modifiersAfter(const QKeyEvent &event)
{
    Qt::KeyboardModifier changed = Qt::NoModifier;
    if (event.key() == Qt::Key_Control)
        changed = Qt::ControlModifier;
    else if (event.key() == Qt::Key_Alt)
        changed = Qt::AltModifier;
    Qt::KeyboardModifiers modifiers = event.modifiers();
    return modifiers.setFlag(changed, changed != Qt::NoModifier && event.type() == QEvent::KeyPress);
}

PanelView::PanelView(const PanelDependencies &dependencies)
    : m_theme(dependencies.theme, dependencies.appearance), m_model(dependencies), m_icons(dependencies.icons)
{
    // Naming it is enough to keep the linker from dropping the module's types; the engine registers them.
    volatile auto types = &qml_register_types_Cobblet_Panel;
    Q_UNUSED(types)
    chooseSceneGraph();
    provideToQml(m_engine, &m_model);
    provideToQml(m_engine, &m_theme);
    m_decorations = std::make_unique<Decorations>(m_engine);

    m_view = std::make_unique<QQuickView>(&m_engine, nullptr);
    m_popovers = std::make_unique<Popovers>(m_engine, *m_view);
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setColor(Qt::transparent);
    m_view->setTitle(QStringLiteral("Cobblet"));
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->resize(metrics::standardPanel.toSize());
    m_model.setWindow(m_view.get());

    m_model.tiles().setColor(m_theme.text2());
    connect(&m_theme, &PanelTheme::changed, this, [this] { m_model.tiles().setColor(m_theme.text2()); });
    followPixelRatio();
    connect(m_view.get(), &QWindow::screenChanged, this, &PanelView::followPixelRatio);
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        m_model.setVisible(visible);
        if (visible) {
            followPixelRatio();
        } else {
            m_popovers->close();
            m_decorations->closeTip();
            // A window that goes away from under the pointer is not told that the pointer left it.
            QEvent leave(QEvent::Leave);
            QCoreApplication::sendEvent(m_view.get(), &leave);
        }
    });
    m_view->installEventFilter(this);
    m_view->setSource(panelSource(QStringLiteral("GroupTabView.qml")));
}

PanelView::~PanelView()
{
    m_view->removeEventFilter(this);
    m_view->disconnect(this);
}

QQuickWindow &PanelView::window()
{
    return *m_view;
}

double PanelView::cornerRadius()
{
    return metrics::panelRadius;
}

void PanelView::followPixelRatio()
{
    const qreal ratio = m_view->effectiveDevicePixelRatio();
    m_icons.setDevicePixelRatio(ratio);
    m_model.tiles().setDevicePixelRatio(ratio);
}

bool PanelView::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress: {
        const auto &key = *static_cast<QKeyEvent *>(event);
        m_model.setModifiers(modifiersAfter(key));
        if (m_model.handleKey(key.key(), key.modifiers()))
            return true;
        if (movesFocus(key.key()))
            m_model.setKeyboardFocus(true);
        break;
    }
    case QEvent::KeyRelease:
        m_model.setModifiers(modifiersAfter(*static_cast<QKeyEvent *>(event)));
        break;
    case QEvent::MouseButtonPress: {
        const auto &press = *static_cast<QMouseEvent *>(event);
        m_model.setModifiers(press.modifiers());
        m_model.setKeyboardFocus(false);
        m_popovers->panelPressed(press.position());
        break;
    }
    case QEvent::MouseMove:
        m_model.setModifiers(static_cast<QMouseEvent *>(event)->modifiers());
        break;
    case QEvent::FocusOut:
        m_model.setModifiers({});
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace cobblet
