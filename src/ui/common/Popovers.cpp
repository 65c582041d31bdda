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
    for (const QPointer<QQuickWindow> &window : m_closed)
        delete window; // before the engine that its items belong to
    while (!m_open.empty())
        m_open.pop_back();
}

/// How many popovers the window lies in, itself among them.
size_t Popovers::depthOf(const QObject *window) const
{
    const auto found =
        std::find_if(m_open.begin(), m_open.end(), [&](const Popover &open) { return open.window.get() == window; });
    return found == m_open.end() ? 0 : size_t(found - m_open.begin()) + 1;
}

void Popovers::closeAbove(size_t depth)
{
    while (m_open.size() > depth)
        close();
}

void Popovers::toggle(QQmlComponent *content, QQuickItem *anchor)
{
    const bool wasOpen = anchor && std::any_of(m_open.begin(), m_open.end(),
                                               [&](const Popover &open) { return open.anchor == anchor; });
    closeAbove(anchor ? depthOf(anchor->window()) : 0);
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
    auto window = std::make_unique<QQuickWindow>();
    content->setParent(window.get());
    content->setParentItem(window->contentItem());
    connect(content, SIGNAL(dismissed()), this, SLOT(close()));
    window->setFlags((takesKeyboard ? Qt::Tool : Qt::ToolTip) | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    window->setTransientParent(&owner);
    window->setTitle(content->property("title").toString());
    window->setScreen(owner.screen());
    // Opaque to the edge, where the mask cuts: without a compositor whatever is translucent turns dark.
    window->setColor(content->property("color").value<QColor>());

    constexpr int gap = 6;
    const QSize size = content->size().toSize();
    const int over = overhang(owner.devicePixelRatio());
    const QRectF beside = anchor.mapRectToScene(QRectF(QPointF(0, 0), anchor.size()));
    const QPoint origin = owner.mapToGlobal(QPoint(0, 0));
    QPoint at = origin + QPoint(int(beside.left()), int(beside.bottom()) + gap);
    if (content->property("opensAbove").toBool())
        at = origin + QPoint(int(beside.right()) - size.width(), int(beside.top()) + gap - size.height());
    if (const QScreen *screen = owner.screen()) {
        const QRect area = screen->availableGeometry();
        // Rather above the anchor than over it.
        const int above = origin.y() + int(beside.top()) - gap - size.height();
        if (at.y() + size.height() > area.bottom() + 1 && above >= area.top())
            at.setY(above);
        at.setX(std::max(area.left(), std::min(at.x(), area.right() + 1 - size.width())));
        at.setY(std::max(area.top(), std::min(at.y(), area.bottom() + 1 - size.height())));
    }
    window->setGeometry(QRect(at, size + QSize(over, over)));
    window->setMask(roundedRegion(size, content->property("radius").toDouble()));
    if (m_keyMonitor && m_open.empty())
        window->installEventFilter(m_keyMonitor);
    owner.installEventFilter(this);
    window->show();
    if (takesKeyboard)
        window->requestActivate();
    m_open.push_back({std::move(window), &anchor});
    emit anchorChanged();
}

void Popovers::close()
{
    if (m_open.empty())
        return;
    QQuickWindow *window = m_open.back().window.release(); // a control of the popover may have asked for this
    m_open.pop_back();
    QWindow *owner = window->transientParent();
    const bool tookKeyboard = window->type() == Qt::Tool;
    m_closed.removeAll(nullptr);
    m_closed.append(window);
    window->hide();
    window->deleteLater();
    if (owner) {
        owner->removeEventFilter(this);
        if (tookKeyboard && owner->isVisible())
            owner->requestActivate();
    }
    emit anchorChanged();
}

bool Popovers::eventFilter(QObject *watched, QEvent *event)
{
    const size_t depth = depthOf(watched);
    if (event->type() == QEvent::Hide) {
        closeAbove(depth);
    } else if (event->type() == QEvent::MouseButtonPress && depth < m_open.size()) {
        const QPointF position = static_cast<QMouseEvent *>(event)->position();
        const QQuickItem *anchor = m_open[depth].anchor;
        if (!anchor || !anchor->contains(anchor->mapFromScene(position)))
            closeAbove(depth);
    }
    return QObject::eventFilter(watched, event);
}

} // namespace cobblet
