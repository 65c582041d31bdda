#pragma once

#include "platform/StatusItem.h"
#include "platform/freedesktop/X11Connection.h"

#include <QRect>

namespace cobblet {

/// A picture docked into a tray of the XEmbed kind, with a window of its own on our connection. The toolkit's
/// would do, but once it has docked one it never again uses a status notifier, whichever tray comes later.
class XEmbedIcon : public QObject {
    Q_OBJECT
public:
    /// Docks into the tray that owns this window. `ratio` is device pixels per point.
    XEmbedIcon(X11Connection &x11, xcb_window_t tray, StatusItem::Template image, const QString &description,
               qreal ratio);
    ~XEmbedIcon() override;

    /// What decides the tint where the bar behind the icon cannot be seen.
    void setDarkDesktop(bool dark);

signals:
    /// A press of the main or the context button, and where the icon is on the screen, in device pixels.
    void pressed(const QRect &place);

private:
    void makeWindow(const QString &description);
    void dock();
    void readColors();
    void handle(const xcb_generic_event_t *event);
    void press(const xcb_button_press_event_t &event);
    /// Reads what is behind the icon and draws it.
    void paint();
    void readScreen(int x, int y);
    void draw(const QImage &behind);
    QColor tintFor(const QImage &behind) const;
    QImage imageFrom(const void *reply) const;
    bool isTranslucent() const { return m_depth == 32; }

    X11Connection &m_x11;
    const xcb_window_t m_tray;
    const StatusItem::Template m_image;
    const qreal m_ratio;
    bool m_darkDesktop = false;
    QColor m_wanted; ///< what the tray asks for; may be invalid
    uint8_t m_depth = 0;
    xcb_visualid_t m_visual = 0;
    xcb_colormap_t m_colormap = XCB_NONE;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    xcb_gcontext_t m_pen = XCB_NONE;
    QSize m_size;
    int m_drawing = 0; ///< answers for earlier drawings no longer count
};

} // namespace cobblet
