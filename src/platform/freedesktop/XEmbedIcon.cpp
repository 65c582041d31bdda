#include "platform/freedesktop/XEmbedIcon.h"

#include <QPainter>

#include <unistd.h>

#include <array>

namespace cobblet {

namespace {

constexpr uint32_t protocolVersion = 0;
constexpr uint32_t mapped = 1;
constexpr uint32_t requestDock = 0;
constexpr const char *colorsName = "_NET_SYSTEM_TRAY_COLORS";

/// Larger than any place for an icon; a bound on what is read and drawn.
constexpr int maximumSide = 512;

QImage::Format formatOf(uint8_t depth)
{
    return depth == 32   ? QImage::Format_ARGB32_Premultiplied
           : depth == 30 ? QImage::Format_RGB30
                         : QImage::Format_RGB32;
}

} // namespace

XEmbedIcon::XEmbedIcon(X11Connection &x11, xcb_window_t tray, StatusItem::Template image, const QString &description,
                       qreal ratio)
    : m_x11(x11), m_tray(tray), m_image(std::move(image)), m_ratio(ratio)
{
    connect(&m_x11, &X11Connection::eventArrived, this, &XEmbedIcon::handle);
    readColors();
    makeWindow(description);
    dock();
}

XEmbedIcon::~XEmbedIcon()
{
    xcb_connection_t *xcb = m_x11.xcb();
    xcb_free_gc(xcb, m_pen);
    xcb_destroy_window(xcb, m_window);
    if (m_colormap != XCB_NONE)
        xcb_free_colormap(xcb, m_colormap);
    m_x11.flush();
}

/// In the visual that the tray names, which is how it says that it blends icons; otherwise in the screen's own, with
/// the tray's picture behind it.
void XEmbedIcon::makeWindow(const QString &description)
{
    xcb_connection_t *xcb = m_x11.xcb();
    m_depth = m_x11.screen()->root_depth;
    m_visual = m_x11.screen()->root_visual;
    const auto asked = m_x11.cardinals(m_tray, m_x11.atom("_NET_SYSTEM_TRAY_VISUAL"), 1);
    for (auto depths = xcb_screen_allowed_depths_iterator(m_x11.screen()); !asked.empty() && depths.rem > 0;
         xcb_depth_next(&depths))
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0; xcb_visualtype_next(&visuals))
            if (visuals.data->visual_id == asked[0] && depths.data->depth == 32) {
                m_depth = 32;
                m_visual = asked[0];
            }

    constexpr uint32_t events =
        XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_BUTTON_PRESS;
    const uint16_t side = uint16_t(qRound(StatusItem::imagePoints * m_ratio));
    m_size = QSize(side, side);
    m_window = xcb_generate_id(xcb);
    if (isTranslucent()) {
        m_colormap = xcb_generate_id(xcb);
        xcb_create_colormap(xcb, XCB_COLORMAP_ALLOC_NONE, m_colormap, m_x11.root(), m_visual);
        const std::array<uint32_t, 4> values{0, 0, events, m_colormap};
        xcb_create_window(xcb, m_depth, m_window, m_x11.root(), -1, -1, side, side, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          m_visual, XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                          values.data());
    } else {
        const std::array<uint32_t, 2> values{XCB_BACK_PIXMAP_PARENT_RELATIVE, events};
        xcb_create_window(xcb, m_depth, m_window, m_x11.root(), -1, -1, side, side, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          m_visual, XCB_CW_BACK_PIXMAP | XCB_CW_EVENT_MASK, values.data());
    }
    m_pen = xcb_generate_id(xcb);
    xcb_create_gc(xcb, m_pen, m_window, 0, nullptr);

    const auto set = [&](xcb_atom_t name, xcb_atom_t type, uint8_t format, uint32_t count, const void *data) {
        xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, m_window, name, type, format, count, data);
    };
    const QByteArray title = description.toUtf8();
    const std::array<uint32_t, 2> information{protocolVersion, mapped};
    const uint32_t process = uint32_t(::getpid());
    // The flag for a smallest size, 4 unused fields, and the size.
    const std::array<uint32_t, 18> hints{1 << 4, 0, 0, 0, 0, side, side};
    // Not the panel's: who looks for that by its class finds no other window.
    constexpr char windowClass[] = "status-item\0Cobblet";
    const xcb_atom_t embedding = m_x11.atom("_XEMBED_INFO");
    set(embedding, embedding, 32, information.size(), information.data());
    set(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, uint32_t(title.size()), title.constData());
    set(m_x11.atom("_NET_WM_NAME"), m_x11.atom("UTF8_STRING"), 8, uint32_t(title.size()), title.constData());
    set(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof windowClass, windowClass);
    set(m_x11.atom("_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &process);
    set(XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
}

void XEmbedIcon::dock()
{
    m_x11.sendTo(m_tray, m_x11.atom("_NET_SYSTEM_TRAY_OPCODE"), {XCB_CURRENT_TIME, requestDock, m_window});
}

void XEmbedIcon::setDarkDesktop(bool dark)
{
    m_darkDesktop = dark;
    paint();
}

/// The first of the tray's colours, with 16 bits a component, is the one for text and symbols.
void XEmbedIcon::readColors()
{
    const auto colors = m_x11.cardinals(m_tray, m_x11.atom(colorsName), 12);
    m_wanted = colors.size() < 3 ? QColor()
                                 : QColor::fromRgba64(uint16_t(colors[0]), uint16_t(colors[1]), uint16_t(colors[2]));
}

void XEmbedIcon::handle(const xcb_generic_event_t *event)
{
    switch (event->response_type & 0x7f) {
    case XCB_EXPOSE: {
        const auto *exposed = reinterpret_cast<const xcb_expose_event_t *>(event);
        if (exposed->window == m_window && exposed->count == 0)
            paint();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto *configured = reinterpret_cast<const xcb_configure_notify_event_t *>(event);
        const QSize size(configured->width, configured->height);
        if (configured->window == m_window && std::exchange(m_size, size) != size)
            paint();
        break;
    }
    case XCB_REPARENT_NOTIFY: {
        // A tray that goes gives its icons back to the screen, where the window manager would frame ours.
        const auto *moved = reinterpret_cast<const xcb_reparent_notify_event_t *>(event);
        if (moved->window == m_window && moved->parent == m_x11.root()) {
            xcb_unmap_window(m_x11.xcb(), m_window);
            m_x11.flush();
        }
        break;
    }
    case XCB_PROPERTY_NOTIFY: {
        const auto *changed = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (changed->window == m_tray && changed->atom == m_x11.atom(colorsName)) {
            readColors();
            paint();
        }
        break;
    }
    case XCB_BUTTON_PRESS: {
        const auto *button = reinterpret_cast<const xcb_button_press_event_t *>(event);
        if (button->event == m_window && (button->detail == 1 || button->detail == 3))
            press(*button);
        break;
    }
    }
}

void XEmbedIcon::press(const xcb_button_press_event_t &event)
{
    // The press holds the pointer for this connection; the menu takes it for the toolkit's. The answer to any
    // request says that the server has let go.
    xcb_ungrab_pointer(m_x11.xcb(), event.time);
    const XcbReply<xcb_get_input_focus_reply_t> done(
        xcb_get_input_focus_reply(m_x11.xcb(), xcb_get_input_focus(m_x11.xcb()), nullptr));
    m_x11.drainSoon();
    emit pressed({QPoint(event.root_x - event.event_x, event.root_y - event.event_y), m_size});
}

void XEmbedIcon::paint()
{
    if (m_size.isEmpty() || m_size.width() > maximumSide || m_size.height() > maximumSide)
        return;
    const int drawing = ++m_drawing;
    if (isTranslucent()) {
        // The tray blends, so the window does not hold what is behind it; the screen does.
        m_x11.whenReplied(xcb_translate_coordinates(m_x11.xcb(), m_window, m_x11.root(), 0, 0).sequence, this,
                          [this, drawing](const void *raw) {
                              const auto *place = static_cast<const xcb_translate_coordinates_reply_t *>(raw);
                              if (place && drawing == m_drawing)
                                  readScreen(place->dst_x, place->dst_y);
                          });
        return;
    }
    xcb_clear_area(m_x11.xcb(), 0, m_window, 0, 0, 0, 0);
    m_x11.whenReplied(xcb_get_image(m_x11.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, 0, 0, uint16_t(m_size.width()),
                                    uint16_t(m_size.height()), ~0u)
                          .sequence,
                      this, [this, drawing](const void *raw) {
                          if (drawing == m_drawing)
                              draw(imageFrom(raw));
                      });
}

void XEmbedIcon::readScreen(int x, int y)
{
    m_x11.whenReplied(xcb_get_image(m_x11.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_x11.root(), int16_t(x), int16_t(y),
                                    uint16_t(m_size.width()), uint16_t(m_size.height()), ~0u)
                          .sequence,
                      this, [this, drawing = m_drawing](const void *raw) {
                          if (drawing == m_drawing)
                              draw(imageFrom(raw));
                      });
}

/// Null when the server did not answer, as for a window that is not on the screen, or with pixels of another kind.
QImage XEmbedIcon::imageFrom(const void *raw) const
{
    const auto *reply = static_cast<const xcb_get_image_reply_t *>(raw);
    const qsizetype line = qsizetype(m_size.width()) * 4;
    if (!reply || xcb_get_image_data_length(reply) != line * m_size.height())
        return {};
    return QImage(xcb_get_image_data(reply), m_size.width(), m_size.height(), line,
                  reply->depth == 32 ? QImage::Format_RGB32 : formatOf(reply->depth))
        .copy();
}

/// By what the corners show, which the picture leaves free.
QColor XEmbedIcon::tintFor(const QImage &behind) const
{
    if (m_wanted.isValid())
        return m_wanted;
    bool dark = m_darkDesktop;
    if (!behind.isNull()) {
        int gray = 0;
        for (const int x : {0, behind.width() - 1})
            for (const int y : {0, behind.height() - 1})
                gray += qGray(behind.pixel(x, y));
        dark = gray / 4 < 128;
    }
    return StatusItem::tint(dark);
}

void XEmbedIcon::draw(const QImage &behind)
{
    if (behind.isNull() && !isTranslucent())
        return; // not on the screen; it is told when it is
    QImage canvas(m_size, formatOf(m_depth));
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    if (!isTranslucent())
        painter.drawImage(0, 0, behind);
    const int side = qMin(qRound(StatusItem::imagePoints * m_ratio), qMin(m_size.width(), m_size.height()));
    const QImage picture = m_image(tintFor(behind), side, 1);
    painter.drawImage((m_size.width() - side) / 2, (m_size.height() - side) / 2, picture);
    painter.end();
    xcb_put_image(m_x11.xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, m_pen, uint16_t(m_size.width()),
                  uint16_t(m_size.height()), 0, 0, 0, m_depth, uint32_t(canvas.sizeInBytes()), canvas.constBits());
    m_x11.flush();
}

} // namespace cobblet
