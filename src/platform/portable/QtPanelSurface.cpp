#include "platform/portable/QtPanelSurface.h"

#include "platform/Screens.h"

#include <QEasingCurve>
#include <QGuiApplication>
#include <QSurfaceFormat>
#include <QWindow>

#include <utility>

namespace cobblet {

namespace {

constexpr const char *panelMark = "cobbletPanel";

QEasingCurve curve(Easing easing)
{
    return easing == Easing::In ? QEasingCurve::InQuad : QEasingCurve::OutQuad;
}

} // namespace

QtPanelSurface::QtPanelSurface(QWindow &window, const Screens &screens, Focus focus)
    : m_window(window), m_screens(screens)
{
    QSurfaceFormat format = m_window.requestedFormat();
    format.setAlphaBufferSize(8);
    m_window.setFormat(format);
    m_window.setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_window.setProperty(panelMark, true);

    connect(&m_frameAnimation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant &value) { applyFrame(value.toRectF()); });
    connect(&m_fade, &QVariantAnimation::valueChanged, this, [this](const QVariant &value) {
        m_alpha = value.toDouble();
        applyAlpha();
    });
    connect(&m_fade, &QVariantAnimation::finished, this, [this] {
        if (const auto done = std::exchange(m_fadeDone, nullptr))
            done();
    });
    if (focus == Focus::Toolkit)
        connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow *now) {
            if (isVisible() && !isFamily(now))
                emit resignedKey();
        });
}

Availability QtPanelSurface::availability() const
{
    if (!QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return Availability::works();
    return Availability::partly(
        QStringLiteral("This desktop places the panel itself, not beside the dock. Start Cobblet "
                       "with QT_QPA_PLATFORM=xcb to have it there."));
}

bool QtPanelSurface::isVisible() const
{
    return m_window.isVisible();
}

void QtPanelSurface::setPlace(const PanelPlace &place)
{
    m_frameAnimation.stop();
    applyFrame(place.frame);
}

void QtPanelSurface::animatePlace(const PanelPlace &place, double seconds, Easing easing)
{
    m_frameAnimation.stop();
    m_frameAnimation.setStartValue(m_frame);
    m_frameAnimation.setEndValue(place.frame);
    m_frameAnimation.setEasingCurve(curve(easing));
    m_frameAnimation.setDuration(qRound(seconds * 1000));
    m_frameAnimation.start();
}

void QtPanelSurface::applyFrame(const QRectF &frame)
{
    m_frame = frame;
    // Each edge by itself: rounding the size would move the edge beside the dock.
    const QRectF placed = m_screens.toWindowSystem(frame);
    const int over = overhang(m_window.devicePixelRatio());
    setGeometry(QRect(placed.topLeft().toPoint(), placed.bottomRight().toPoint() + QPoint(over - 1, over - 1)));
}

void QtPanelSurface::setGeometry(const QRect &geometry)
{
    if (geometry != m_window.geometry())
        m_window.setGeometry(geometry);
}

void QtPanelSurface::setAlpha(double alpha)
{
    m_fadeDone = nullptr;
    m_fade.stop();
    m_alpha = alpha;
    applyAlpha();
}

void QtPanelSurface::applyAlpha()
{
    m_window.setOpacity(blendsWithDesktop() ? m_alpha : 1);
}

void QtPanelSurface::fade(double alpha, double seconds, Easing easing, std::function<void()> done)
{
    const double from = m_alpha;
    setAlpha(blendsWithDesktop() ? from : alpha);
    if (!blendsWithDesktop()) {
        if (done)
            done();
        return;
    }
    m_fadeDone = std::move(done);
    m_fade.setStartValue(from);
    m_fade.setEndValue(alpha);
    m_fade.setEasingCurve(curve(easing));
    m_fade.setDuration(qRound(seconds * 1000));
    m_fade.start();
}

void QtPanelSurface::makeKeyAndOrderFront()
{
    m_window.show();
    m_window.raise();
    m_window.requestActivate();
}

void QtPanelSurface::orderOut()
{
    m_frameAnimation.stop();
    m_window.hide();
}

bool QtPanelSurface::isFamily(const QWindow *other) const
{
    return other && (other == &m_window || m_window.isAncestorOf(other, QWindow::IncludeTransients) ||
                     other->type() == Qt::Popup || other->type() == Qt::ToolTip);
}

KeyWindow QtPanelSurface::otherKeyWindow() const
{
    const QWindow *key = QGuiApplication::focusWindow();
    if (!key || isFamily(key))
        return KeyWindow::None;
    if (key->property(panelMark).toBool())
        return KeyWindow::Panel;
    return key->flags().testFlag(Qt::FramelessWindowHint) ? KeyWindow::Borderless : KeyWindow::Titled;
}

void QtPanelSurface::orderOutOtherKeyWindow()
{
    if (otherKeyWindow() != KeyWindow::None)
        QGuiApplication::focusWindow()->hide();
}

bool QtPanelSurface::hasModalWindow() const
{
    return QGuiApplication::modalWindow() != nullptr;
}

} // namespace cobblet
