#pragma once

#include <QCache>
#include <QColor>
#include <QImage>
#include <QObject>
#include <QStringList>

namespace cobblet {

class IconProvider;

/// The pictures of the grid's cells, 48 points wide: application icons, the placeholder that stands in until
/// an icon has loaded, and the tile of the add cell. Each is drawn once for the window's pixel ratio.
class TileImages : public QObject {
    Q_OBJECT
public:
    explicit TileImages(IconProvider &icons);

    /// The colour of the placeholder and of the add tile.
    void setColor(const QColor &secondary);
    void setDevicePixelRatio(qreal ratio);

    void preload(const QStringList &bundleIDs);
    /// The icon, or the placeholder while it is not loaded.
    QImage tile(const QString &bundleID);
    QImage addTile();

signals:
    /// These have their icons now.
    void loaded(const QStringList &bundleIDs);
    /// Every tile may be another one than before.
    void changed();

private:
    const QImage &placeholder();
    void forget();

    IconProvider &m_icons;
    QColor m_color;
    qreal m_ratio = 1;
    QCache<QString, QImage> m_tiles; ///< the cost of an entry is its size in bytes
    QImage m_placeholder;
    QImage m_add;
};

} // namespace cobblet
