#pragma once

#include "platform/Screens.h"
#include "platform/freedesktop/ScreenGeometry.h"
#include "platform/freedesktop/x11/X11Windows.h"

#include <QHash>

class QScreen;

namespace cobblet {

/// The toolkit's screens less what docks reserve on each. Without an X server the toolkit's own idea of the
/// available part of a screen counts.
class DesktopScreens : public Screens {
    Q_OBJECT
public:
    /// `windows`, among which docks are looked for, may be null and outlives this object.
    explicit DesktopScreens(X11Windows *windows);

    Availability availability() const override;
    QList<Screen> screens() const override { return m_screens; }
    std::optional<QPointF> pointer() const override;
    QRectF toWindowSystem(const QRectF &yUp) const override;

private:
    void watch(QScreen *screen);
    void readStrut(xcb_window_t window);
    void setStrut(xcb_window_t window, const std::optional<geometry::Strut> &strut);
    void update();
    QList<Screen> measured() const;

    X11Windows *m_windows;
    QHash<xcb_window_t, geometry::Strut> m_struts;
    QList<Screen> m_screens;
};

} // namespace cobblet
