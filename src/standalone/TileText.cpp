#include "standalone/TileText.h"

#include <QGlyphRun>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRawFont>
#include <QTextLayout>

#include <algorithm>
#include <cmath>

namespace cobblet {

namespace {

/// Longer than any one emoji; several are wider than a tile.
constexpr int maximumLength = 32;

/// The size in which fonts of pictures are drawn: that of the pictures of the usual one. They are scaled here,
/// because the toolkit keeps each picture in each size, megabytes in the largest, and shrinks them coarsely.
constexpr double picturePixels = 128;

/// The start of the text as its fonts take it.
QString drawable(const QString &text)
{
    // The toolkit chooses a font for each character, and would tear a sequence apart at one that only says that it is
    // an emoji.
    QString start = text.left(4 * maximumLength).remove(QChar(0xfe0f)).trimmed().left(maximumLength);
    if (!start.isEmpty() && start.back().isHighSurrogate())
        start.chop(1);
    return start;
}

QStringList emojiFamilies()
{
    return {QStringLiteral("Noto Color Emoji"), QStringLiteral("Apple Color Emoji")};
}

/// Whether there is more to draw than text: in the emoji font digits would be grey, and spaces wide.
bool isPictograph(const QString &text)
{
    const QList<uint> characters = text.toUcs4();
    return std::any_of(characters.cbegin(), characters.cend(), [](uint c) {
        return QChar::category(c) == QChar::Symbol_Other || QChar::category(c) == QChar::Mark_Enclosing;
    });
}

/// One line in the system's font. Of emoji, which other fonts may have in black, the colour font comes first.
void lay(QTextLayout &layout, double pixels)
{
    const QString systemFamily = QGuiApplication::font().family();
    QFont font;
    font.setFamilies(isPictograph(layout.text()) ? emojiFamilies() << systemFamily : QStringList{systemFamily});
    font.setPointSizeF(pixels);
    // Pixels can only be whole, so this is a device whose points are pixels.
    QImage device(1, 1, QImage::Format_Mono);
    device.setDotsPerMeterX(qRound(72 / 0.0254));
    device.setDotsPerMeterY(qRound(72 / 0.0254));
    layout.setFont(QFont(font, &device));
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
}

QSizeF box(const QTextLayout &layout)
{
    const QTextLine line = layout.lineAt(0);
    return line.isValid() ? QSizeF(line.naturalTextWidth(), line.height()) : QSizeF();
}

/// Whether the emoji font draws any of it.
bool hasPictures(const QTextLayout &layout)
{
    const QList<QGlyphRun> runs = layout.glyphRuns();
    return std::any_of(runs.cbegin(), runs.cend(),
                       [](const QGlyphRun &run) { return emojiFamilies().contains(run.rawFont().familyName()); });
}

void drawCentred(QPainter &painter, const QTextLayout &layout, QSizeF area)
{
    const QSizeF size = box(layout);
    layout.draw(&painter, {(area.width() - size.width()) / 2, (area.height() - size.height()) / 2});
}

/// The layout in the middle of an image of its own.
QImage picture(const QTextLayout &layout, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawCentred(painter, layout, size);
    return image;
}

} // namespace

void drawCentredText(QPainter &painter, const QString &text, double pixels, int side)
{
    const QString start = drawable(text);
    QTextLayout layout(start);
    lay(layout, picturePixels);
    if (!hasPictures(layout)) {
        QTextLayout exact(start);
        lay(exact, pixels);
        drawCentred(painter, exact, QSizeF(side, side));
        return;
    }
    const double scale = pixels / picturePixels;
    const QSize whole = QSizeF(side / scale, side / scale).toSize();
    if (scale < 1) { // shrunk as a whole, which averages over what becomes one pixel; the painter does not
        painter.drawImage(0, 0,
                          picture(layout, whole).scaled(side, side, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        return;
    }
    const QSizeF size = box(layout);
    const QImage image =
        picture(layout, QSize(int(std::ceil(size.width())), int(std::ceil(size.height()))).boundedTo(whole));
    QRectF target({}, scale * QSizeF(image.size()));
    target.moveCenter(QPointF(side, side) / 2);
    painter.drawImage(target, image);
}

} // namespace cobblet
