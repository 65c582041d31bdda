#include "standalone/GroupIconProvider.h"

#include "model/AppGroup.h"
#include "platform/Workspace.h"
#include "standalone/IconProvider.h"
#include "standalone/TileText.h"

#include <QBuffer>
#include <QPainter>

#include <algorithm>
#include <mutex>

namespace cobblet {

namespace {

/// Those of an icon file, and the two more that docks and menus ask for most.
constexpr int iconSizes[] = {16, 24, 32, 48, 64, 128, 256, 512, 1024};
/// The lightest compression, in the toolkit's terms: a quarter more bytes than its usual one in two thirds of the
/// time.
constexpr int pngQuality = 80;

/// The lengths of a tile, in pixels.
struct TileGeometry {
    explicit TileGeometry(int size)
        : inset(0.1 * size), side(size - 2 * inset), radius(0.22 * side), iconsInset(inset + 0.14 * side),
          iconsWidth(size - 2 * iconsInset)
    {
    }
    double inset; ///< of the rounded square
    double side;
    double radius;
    double iconsInset; ///< of the square that the icons share
    double iconsWidth;
};

QByteArray png(const QImage &image)
{
    QByteArray data;
    QBuffer buffer(&data);
    return image.save(&buffer, "PNG", pngQuality) ? data : QByteArray();
}

} // namespace

std::optional<QColor> hexColor(const QString &text)
{
    QStringView digits = QStringView(text).trimmed();
    if (digits.startsWith(u'#'))
        digits = digits.sliced(1);
    // The conversion alone would also take "0x12ab" and signs.
    const bool plain = std::all_of(digits.cbegin(), digits.cend(), [](QChar c) {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    });
    if (digits.size() != 6 || !plain)
        return {};
    return QColor::fromRgb(digits.toUInt(nullptr, 16));
}

QColor tileColor(const AppGroup &group)
{
    return (group.iconColor ? hexColor(*group.iconColor) : std::nullopt).value_or(QColor(0xc7, 0xc7, 0xc7));
}

QImage GroupIconProvider::image(const AppGroup &group, int size)
{
    const Key key(group.id, size);
    int generation = 0;
    {
        const std::shared_lock lock(m_mutex);
        if (const auto it = m_cache.constFind(key); it != m_cache.cend())
            return *it;
        generation = m_generation;
    }
    const QImage tile = cgImage(group, size);
    const std::unique_lock lock(m_mutex);
    if (generation == m_generation)
        m_cache.insert(key, tile);
    return tile;
}

void GroupIconProvider::clearCache()
{
    const std::unique_lock lock(m_mutex);
    ++m_generation;
    m_cache.clear();
}

QImage GroupIconProvider::cgImage(const AppGroup &group, int size) const
{
    QImage tile(size, size, QImage::Format_ARGB32_Premultiplied);
    if (tile.isNull())
        return tile;
    tile.fill(Qt::transparent);
    const TileGeometry geometry(size);
    QPainter painter(&tile);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    painter.setPen(Qt::NoPen);
    const QColor color = tileColor(group);
    painter.setBrush(color);
    painter.drawRoundedRect(QRectF(geometry.inset, geometry.inset, geometry.side, geometry.side), geometry.radius,
                            geometry.radius);
    if (group.iconStyle == GroupIconStyle::Grid && !group.apps.isEmpty()) {
        drawGrid(painter, group, size);
    } else {
        painter.setPen(qGray(color.rgb()) < 96 ? Qt::white : Qt::black); // for letters: emoji have their own colours
        drawCentredText(painter, group.emoji, 0.68 * geometry.side, size);
    }
    return tile;
}

void GroupIconProvider::drawGrid(QPainter &painter, const AppGroup &group, int size) const
{
    const TileGeometry geometry(size);
    // On whole pixels, so that icons are not blurred, and the same on both sides, so that they are centred.
    if (group.apps.size() == 1) {
        const int inset = qRound((size - 0.64 * geometry.iconsWidth) / 2);
        painter.drawImage(inset, inset, icon(group.apps.first().bundleID, size - 2 * inset));
        return;
    }
    const int side = int(0.9 * geometry.iconsWidth / 2); // between two of them there is a tenth
    const int near = qRound(geometry.iconsInset);
    const int far = size - near - side;
    for (qsizetype i = 0; i < std::min<qsizetype>(group.apps.size(), 4); ++i)
        painter.drawImage(i % 2 ? far : near, i / 2 ? far : near, icon(group.apps[i].bundleID, side));
}

QImage GroupIconProvider::icon(const QString &bundleID, int pixels) const
{
    if (pixels < 1)
        return {};
    // A larger one than those that are kept is looked up anew, as these would be blurred.
    QImage image =
        pixels <= IconProvider::iconPoints ? m_icons.icon(bundleID) : m_workspace.icon(bundleID, pixels, 1);
    if (image.isNull())
        image = m_workspace.genericIcon(pixels, 1);
    if (image.width() != pixels)
        image = image.scaled(pixels, pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    image.setDevicePixelRatio(1);
    return image;
}

QList<IconFileImage> GroupIconProvider::images(const AppGroup &group) const
{
    QList<IconFileImage> images;
    for (const int size : iconSizes)
        if (const QImage tile = cgImage(group, size); !tile.isNull())
            images.append({size, png(tile), tile});
    return images;
}

} // namespace cobblet
