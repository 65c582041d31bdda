#include "ui/panel/Popovers.h"

#include "ui/panel/PanelEngine.h"

#include <QQuickView>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace cobblet {

namespace {

constexpr int gap = 6;
constexpr double cornerRadius = 10;

} // namespace

QRegion roundedRegion(const QSize &size, double radius)
{
    QRegion region(QRect(QPoint(0, 0), size));
    for (int y = 0; y < int(std::ceil(radius)); ++y) {
        const double up = radius - y - 0.5;
        const int cut = qRound(radius - std::sqrt(std::max(0.0, radius * radius - up * up)));
        for (const int line : {y, size.height() - 1 - y}) {
            region -= QRect(0, line, cut, 1);
            region -= QRect(size.width() - cut, line, cut, 1);
        }
    }
    return region;
}

Popovers::Popovers(QQmlEngine &engine, QWindow &panel, QObject *parent)
    : QObject(parent), m_engine(engine), m_panel(panel)
{
    provideToQml(engine, this);
}

Popovers::~Popovers() = default;

Popovers *Popovers::create(QQmlEngine *engine, QJSEngine *)
{
    return providedToQml<Popovers>(*engine);
}

void Popovers::toggleHint(QQuickItem *anchor)
{
    toggle(Kind::Hint, anchor);
}

void Popovers::toggleAddGroup(QQuickItem *anchor)
{
    toggle(Kind::AddGroup, anchor);
}

void Popovers::toggle(Kind kind, QQuickItem *anchor)
{
    const bool wasOpen = m_open == kind;
    close();
    if (!wasOpen && anchor)
        open(kind, anchor);
}

void Popovers::open(Kind kind, QQuickItem *anchor)
{
    const bool isSheet = kind == Kind::AddGroup;
    m_view = std::make_unique<QQuickView>(&m_engine, nullptr);
    // A hint must leave the keyboard with the panel; the sheet takes it.
    m_view->setFlags((isSheet ? Qt::Tool : Qt::ToolTip) | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    m_view->setTransientParent(&m_panel);
    m_view->setTitle(isSheet ? QStringLiteral("New Group") : QStringLiteral("Close All Button Shortcuts"));
    m_view->setScreen(m_panel.screen());
    m_view->setSource(panelSource(isSheet ? QStringLiteral("AddGroupSheet.qml") : QStringLiteral("HintPopover.qml")));
    // Opaque to the edge, where the mask cuts: without a compositor whatever is translucent turns dark.
    m_view->setColor(m_view->rootObject() ? m_view->rootObject()->property("color").value<QColor>()
                                          : QColor(Qt::white));

    m_anchor = anchor->mapRectToScene(QRectF(0, 0, anchor->width(), anchor->height()));
    const QSize size = m_view->initialSize();
    const QPoint panel = m_panel.mapToGlobal(QPoint(0, 0));
    QPoint at;
    if (isSheet) // below its button, with the sheet's edge under the button's
        at = panel + QPoint(int(m_anchor.left()), int(m_anchor.bottom()) + gap);
    else // above its button
        at = panel + QPoint(int(m_anchor.right()) - size.width(), int(m_anchor.top()) + gap - size.height());
    if (const QScreen *screen = m_panel.screen()) {
        const QRect area = screen->availableGeometry();
        at.setX(std::max(area.left(), std::min(at.x(), area.right() + 1 - size.width())));
        at.setY(std::max(area.top(), std::min(at.y(), area.bottom() + 1 - size.height())));
    }
    m_view->setGeometry(QRect(at, size));
    m_view->setMask(roundedRegion(size, cornerRadius));
    m_view->show();
    if (isSheet)
        m_view->requestActivate();
    m_open = kind;
    emit changed();
}

void Popovers::close()
{
    if (m_open == Kind::None)
        return;
    const bool wasSheet = m_open == Kind::AddGroup;
    m_open = Kind::None;
    // A control of the popover may have asked for this: the window has to outlive its own event.
    m_view->hide();
    m_view.release()->deleteLater();
    if (wasSheet && m_panel.isVisible())
        m_panel.requestActivate();
    emit changed();
}

void Popovers::panelPressed(const QPointF &position)
{
    if (m_open != Kind::None && !m_anchor.contains(position))
        close();
}

} // namespace cobblet
