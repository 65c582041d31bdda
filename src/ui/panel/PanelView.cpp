#include "ui/panel/PanelView.h"

#include "standalone/IconProvider.h"
#include "ui/common/AppIcons.h"
#include "ui/panel/PanelMetrics.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickView>

// Generated for the QML module.
void qml_register_types_Cobblet_Panel();

namespace cobblet {

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
    : m_model(dependencies), m_icons(dependencies.icons),
      m_engine(dependencies.theme, dependencies.appearance, dependencies.menus, dependencies.emoji)
{
    // Naming it is enough to keep the linker from dropping the module's types; the engine registers them.
    volatile auto types = &qml_register_types_Cobblet_Panel;
    Q_UNUSED(types)
    m_model.provideTo(m_engine);
    m_engine.addImageProvider(QStringLiteral("applications"), new AppIcons(dependencies.workspace));

    m_view = std::make_unique<QQuickView>(&m_engine, nullptr);
    QSurfaceFormat format = m_view->format();
    format.setAlphaBufferSize(8);
    m_view->setFormat(format);
    m_view->setTitle(QStringLiteral("Cobblet"));
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->resize(PanelMetrics::standardPanel.toSize());
    m_model.setWindow(m_view.get());

    const auto followColors = [this] {
        m_view->setColor(m_engine.theme().windowColor());
        m_model.tiles().setColor(m_engine.theme().palette().text2);
    };
    followColors();
    connect(&m_engine.theme(), &ThemeColors::changed, this, followColors);
    followPixelRatio();
    connect(m_view.get(), &QWindow::screenChanged, this, &PanelView::followPixelRatio);
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        m_model.setVisible(visible);
        if (visible)
            followPixelRatio();
    });
    m_view->installEventFilter(this);
    m_engine.decorations().follow(*m_view);
    m_view->setSource(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Cobblet/Panel/GroupTabView.qml")));
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
    return PanelMetrics::panelRadius;
}

void PanelView::setKeyMonitor(QObject &monitor)
{
    m_view->installEventFilter(&monitor);
    m_engine.popovers().setKeyMonitor(&monitor);
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
        break;
    }
    case QEvent::KeyRelease:
        m_model.setModifiers(modifiersAfter(*static_cast<QKeyEvent *>(event)));
        break;
    case QEvent::MouseButtonPress:
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
