#include "standalone/TileText.h"

#include <QGlyphRun>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRawFont>
#include <QTextLayout>

#include <algorithm>

namespace cobblet {

namespace {

/// Longer than any one emoji; several are wider than a tile.
constexpr int maximumLength = 32;
constexpr QChar emojiPresentation(0xfe0f);
/// The size that the pictures of the usual emoji font have. They are drawn in it and scaled here, because the toolkit
/// keeps a copy of each picture in each size, megabytes in the largest, and shrinks pictures coarsely.
constexpr double picturePixels = 128;

bool isPictograph(const QString &text)
{
    const QList<uint> characters = text.toUcs4();
    return std::any_of(characters.cbegin(), characters.cend(), [](uint c) {
        constexpr uint combiningKeycap = 0x20e3;
        return c == combiningKeycap || c == emojiPresentation.unicode() || QChar::category(c) == QChar::Symbol_Other;
    });
}

/// One line, laid out without a device: one point is one pixel.
class Line {
public:
    Line(const QString &text, bool isPictograph, double pixels)
    {
        // Other fonts have black shapes for many emoji, and the choice between fonts is made character by character,
        // which would tear sequences apart.
        QStringList families{QGuiApplication::font().family()};
        if (isPictograph)
            families.prepend(QStringLiteral("Noto Color Emoji"));
        QFont font(families);
        font.setPointSizeF(pixels);
    }
};

} // namespace

} // namespace cobblet
