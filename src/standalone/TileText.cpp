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

/// One line of text in the system's font, and an emoji in the colour font, though other fonts may have it in black.
void lay(QTextLayout &layout, double pixels)
{
    QFont font;
    font.setFamilies(
        {QStringLiteral("Noto Color Emoji"), QStringLiteral("Apple Color Emoji"), QGuiApplication::font().family()});
    font.setPointSizeF(pixels);
    // Pixels can only be whole, so this is a device whose points are pixels.
    QImage device(1, 1, QImage::Format_Mono);
    device.setDotsPerMeterX(qRound(72 / 0.0254));
    device.setDotsPerMeterY(qRound(72 / 0.0254));
    layout.setFont(QFont(font, &device));
    layout.setCacheEnabled(true);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
}

QSizeF box(const QTextLayout &layout)
{
    const QTextLine line = layout.lineAt(0);
    return {line.naturalTextWidth(), line.height()};
}

/// Whether the emoji font draws any of it.
bool hasPictures(const QTextLayout &layout)
{
    const QList<QGlyphRun> runs = layout.glyphRuns();
    return std::any_of(runs.cbegin(), runs.cend(),
                       [](const QGlyphRun &run) { return emojiFamilies().contains(run.rawFont().familyName()); });
}

QImage picture(const QTextLayout &layout)
{
    const QSizeF size = box(layout);
    QImage image(int(std::ceil(size.width())), int(std::ceil(size.height())), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.fill(Qt::transparent);
    QPainter painter(&image);
    layout.draw(&painter, {});
    return image;
}

} // namespace

void drawCentredText(QPainter &painter, const QString &text, double pixels, int side)
{
    const QString start = drawable(text);
    QTextLayout layout(start);
    lay(layout, picturePixels);
    painter.setPen(Qt::black);
    if (!hasPictures(layout)) {
        QTextLayout exact(start);
        lay(exact, pixels);
        const QSizeF size = box(exact);
        exact.draw(&painter, {(side - size.width()) / 2, (side - size.height()) / 2});
        return;
    }
    const double scale = pixels / picturePixels;
    const QSizeF size = scale * box(layout);
    // On whole pixels, so that it is not blurred.
    const int x = qRound((side - size.width()) / 2);
    const int y = qRound((side - size.height()) / 2);
    const QRect target(x, y, side - 2 * x, side - 2 * y);
    if (scale < 1) // averages over what becomes one pixel, which the painter does not
        painter.drawImage(target.topLeft(),
                          picture(layout).scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    else
        painter.drawImage(target, picture(layout));
}

} // namespace cobblet
