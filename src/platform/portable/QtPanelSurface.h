#pragma once

#include "platform/PanelSurface.h"

#include <QRect>
#include <QVariantAnimation>

class QWindow;

namespace cobblet {

class Screens;

/// A floating panel as far as the toolkit alone can make one. Backends add what their window system knows.
class QtPanelSurface : public PanelSurface {
    Q_OBJECT
public:
    /// Whether key status follows the toolkit's focus window, or the derived class tells resignedKey() itself.
    enum class Focus { Toolkit, Derived };

    /// The window is not shown yet; both references outlive the surface.
    QtPanelSurface(QWindow &window, const Screens &screens, Focus focus = Focus::Toolkit);

    Availability availability() const override;
    bool isVisible() const override;
    void setPlace(const PanelPlace &place) override;
    void animatePlace(const PanelPlace &place, double seconds, Easing easing) override;
    void setAlpha(double alpha) override;
    void fade(double alpha, double seconds, Easing easing, std::function<void()> done) override;
    void makeKeyAndOrderFront() override;
    void orderOut() override;
    KeyWindow otherKeyWindow() const override;
    void orderOutOtherKeyWindow() override;
    bool hasModalWindow() const override;

protected:
    QWindow &window() const { return m_window; }
    /// The panel, what is transient for it, and menus.
    bool isFamily(const QWindow *other) const;
    /// Moves the window (y-down points, with the overhang); where it lies already, nothing is asked of the window
    /// system.
    virtual void setGeometry(const QRect &geometry);
    /// Gives the window the current alpha, or full opacity where nothing is blended.
    virtual void applyAlpha();

private:
    void applyFrame(const QRectF &frame);

    QWindow &m_window;
    const Screens &m_screens;
    QRectF m_frame;
    double m_alpha = 1;
    QVariantAnimation m_frameAnimation;
    QVariantAnimation m_fade;
    std::function<void()> m_fadeDone;
};

} // namespace cobblet
