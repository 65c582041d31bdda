#include "ui/common/Popovers.h"

#include "platform/PanelSurface.h"

#include <QMouseEvent>
#include <QQuickWindow>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace cobblet {

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

Popovers::Popovers(QObject *parent) : QObject(parent) {}

Popovers::~Popovers()
{
    delete m_closed; // before the engine that its items belong to
}

void Popovers::toggle(QQmlComponent *content, QQuickItem *anchor)
{
    const bool wasOpen = m_window && m_anchor == anchor;
    close();
    if (!wasOpen && content && anchor && anchor->window())
        open(*content, *anchor);
}

void Popovers::open(QQmlComponent &component, QQuickItem &anchor)
{
    auto *content = qobject_cast<QQuickItem *>(component.create(component.creationContext()));
    if (!content) {
        qWarning("%s", qPrintable(component.errorString()));
        return;
    }
    const bool takesKeyboard = content->property("takesKeyboard").toBool();
    QQuickWindow &owner = *anchor.window();
    m_window = std::make_unique<QQuickWindow>();
    content->setParent(m_window.get());
    content->setParentItem(m_window->contentItem());
    m_window->setFlags((takesKeyboard ? Qt::Tool : Qt::ToolTip) | Qt::FramelessWindowHint |
                       Qt::NoDropShadowWindowHint);
    m_window->setTransientParent(&owner);
    m_window->setTitle(content->property("title").toString());
    m_window->setScreen(owner.screen());
    // Opaque to the edge, where the mask cuts: without a compositor whatever is translucent turns dark.
    m_window->setColor(content->property("color").value<QColor>());

    constexpr int gap = 6;
    const QSize size = content->size().toSize();
    const int over = overhang(owner.devicePixelRatio());
    const QRectF beside = anchor.mapRectToScene(QRectF(QPointF(0, 0), anchor.size()));
    QPoint at = owner.mapToGlobal(QPoint(0, 0));
    if (content->property("opensAbove").toBool())
        at += QPoint(int(beside.right()) - size.width(), int(beside.top()) + gap - size.height());
    else
        at += QPoint(int(beside.left()), int(beside.bottom()) + gap);
    if (const QScreen *screen = owner.screen()) {
        const QRect area = screen->availableGeometry();
        at.setX(std::max(area.left(), std::min(at.x(), area.right() + 1 - size.width())));
        at.setY(std::max(area.top(), std::min(at.y(), area.bottom() + 1 - size.height())));
    }
    m_window->setGeometry(QRect(at, size + QSize(over, over)));
    m_window->setMask(roundedRegion(size, content->property("radius").toDouble()));
    if (m_keyMonitor)
        m_window->installEventFilter(m_keyMonitor);
    owner.installEventFilter(this);
    m_window->show();
    if (takesKeyboard)
        m_window->requestActivate();
    m_anchor = &anchor;
    emit anchorChanged();
}

void Popovers::close()
{
    if (!m_window)
        return;
    QWindow *owner = m_window->transientParent();
    const bool tookKeyboard = m_window->type() == Qt::Tool;
    m_anchor = nullptr;
    m_window->hide();
    m_closed = m_window.release(); // a control of the popover may have asked for this
    m_closed->deleteLater();
    if (owner) {
        owner->removeEventFilter(this);
        if (tookKeyboard && owner->isVisible())
            owner->requestActivate();
    }
    emit anchorChanged();
}

bool Popovers::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Hide) {
        close();
    } else if (event->type() == QEvent::MouseButtonPress) {
        const QPointF position = static_cast<QMouseEvent *>(event)->position();
        if (!m_anchor || !m_anchor->contains(m_anchor->mapFromScene(position)))
            close();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace cobblet
