#pragma once

#include <QImage>
#include <QRawFont>
#include <QString>

#include <memory>

struct hb_buffer_t;
struct hb_face_t;
struct hb_font_t;

namespace cobblet {

/// The system's font of emoji: what it has, and its pictures. The pictures come from the font's own table rather than
/// through the toolkit, which would keep each one that it has drawn. Holds that table (10 MB) from the first picture
/// on.
class EmojiFont {
public:
    EmojiFont();
    ~EmojiFont();

    /// Whether it draws the emoji as one picture: not as a box, nor as the parts of a sequence side by side.
    bool canDraw(const QString &emoji) const;
    /// The emoji as in a font of so many pixels; null for what it can't draw.
    QImage picture(const QString &emoji, double pixels) const;

private:
    quint32 glyph(const QString &emoji) const;

    QRawFont m_raw;
    std::unique_ptr<hb_face_t, void (*)(hb_face_t *)> m_face;
    std::unique_ptr<hb_font_t, void (*)(hb_font_t *)> m_font;
    std::unique_ptr<hb_buffer_t, void (*)(hb_buffer_t *)> m_buffer;
};

} // namespace cobblet
