#pragma once

#include "platform/Screens.h"
#include "platform/freedesktop/ScreenGeometry.h"
#include "platform/freedesktop/X11Connection.h"

#include <QHash>
#include <QSet>

class QScreen;

namespace cobblet {

/// The toolkit's screens less what docks reserve on each. Without an X server the toolkit's own idea of the
/// available part of a screen counts.
class X11Screens : public Screens {
    Q_OBJECT
public:
    /// `x11` may be null and outlives this object.
    explicit X11Screens(X11Connection *x11, QObject *parent = nullptr);

    QList<Screen> screens() const override;
    std::optional<QPointF> pointer() const override;
    QRectF toWindowSystem(const QRectF &yUp) const override;

private:
    void watch(QScreen *screen);
    void loadStruts();
    void handle(const xcb_generic_event_t *event);
    void followClients();
    void followStrut(xcb_window_t window);
    void takeClients(const std::vector<uint32_t> &windows);
    void setStrut(xcb_window_t window, const std::optional<geometry::Strut> &strut);
    void update();
    QList<Screen> measured() const;

    X11Connection *m_x11;
    QSize m_desktop;
    QSet<xcb_window_t> m_clients;
    QHash<xcb_window_t, geometry::Strut> m_struts;
    QList<Screen> m_screens;
};

} // namespace cobblet
