#include "ui/common/EmojiFont.h"

#include "ui/common/Units.h"

#include <QPainter>

#include <hb-ot.h>
#include <hb.h>

#include <array>

namespace cobblet {

namespace {

constexpr qsizetype longestEmoji = 32; // of UTF-16
constexpr double largestSide = 1024;   // pixels

/// A table of the font that is user data, handed over as the shaper asks for it.
hb_blob_t *fontTable(hb_face_t *, hb_tag_t tag, void *font)
{
    std::array<char, 5> name{};
    hb_tag_to_string(tag, name.data());
    auto table = std::make_unique<QByteArray>(static_cast<const QRawFont *>(font)->fontTable(name.data()));
    if (table->isEmpty())
        return hb_blob_get_empty();
    const char *bytes = table->constData();
    const auto size = unsigned(table->size());
    return hb_blob_create(bytes, size, HB_MEMORY_MODE_READONLY, table.release(),
                          [](void *data) { delete static_cast<QByteArray *>(data); });
}

/// The picture that the font has of the glyph, in the one size that it has it in; null for an outline.
QImage bitmap(hb_font_t *font, hb_codepoint_t glyph)
{
    hb_blob_t *png = hb_ot_color_glyph_reference_png(font, glyph);
    unsigned size = 0;
    const char *bytes = hb_blob_get_data(png, &size);
    const QImage image = QImage::fromData(reinterpret_cast<const uchar *>(bytes), int(size), "PNG");
    hb_blob_destroy(png);
    return image;
}

/// What fonts of outlines are drawn by.
QImage drawn(const QString &emoji, double pixels)
{
    const QFont font = Units::emojiFontOf(int(pixels));
    const int side = int(pixels * 1.25);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setFont(font);
    painter.drawText(image.rect(), Qt::AlignCenter, emoji);
    return image;
}

} // namespace

EmojiFont::EmojiFont()
    : m_raw(QRawFont::fromFont(Units::emojiFont())),
      m_face(hb_face_create_for_tables(fontTable, &m_raw, nullptr), hb_face_destroy),
      m_font(hb_font_create(m_face.get()), hb_font_destroy), m_buffer(hb_buffer_create(), hb_buffer_destroy)
{
}

EmojiFont::~EmojiFont() = default;

quint32 EmojiFont::glyph(const QString &emoji) const
{
    // Whatever says of a character only that it is to be an emoji would count as one more glyph.
    const QList<uint> characters = emoji.left(longestEmoji).remove(QChar(0xfe0f)).toUcs4();
    hb_buffer_t *buffer = m_buffer.get();
    hb_buffer_clear_contents(buffer);
    hb_buffer_add_codepoints(buffer, characters.constData(), int(characters.size()), 0, int(characters.size()));
    hb_buffer_guess_segment_properties(buffer);
    hb_shape(m_font.get(), buffer, nullptr, 0);
    unsigned count = 0;
    const hb_glyph_info_t *glyphs = hb_buffer_get_glyph_infos(buffer, &count);
    return count == 1 ? glyphs[0].codepoint : 0;
}

bool EmojiFont::canDraw(const QString &emoji) const
{
    return m_raw.isValid() && glyph(emoji) != 0;
}

QImage EmojiFont::picture(const QString &emoji, double pixels) const
{
    const quint32 found = m_raw.isValid() ? glyph(emoji) : 0;
    if (found == 0)
        return {};
    const QImage image = bitmap(m_font.get(), found);
    if (image.isNull())
        return drawn(emoji, pixels);
    hb_glyph_extents_t extents{};
    hb_font_get_glyph_extents(m_font.get(), found, &extents);
    const double scale = pixels / hb_face_get_upem(m_face.get());
    const QSizeF size = QSizeF(extents.width, -extents.height) * scale;
    if (size.width() < 1 || size.height() < 1 || size.width() > largestSide || size.height() > largestSide)
        return {};
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied)
        .scaled(qRound(size.width()), qRound(size.height()), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

} // namespace cobblet
