#pragma once

#include "platform/IconFile.h"

#include <QColor>
#include <QHash>
#include <QImage>
#include <QUuid>

#include <optional>
#include <shared_mutex>
#include <utility>

class QPainter;

namespace cobblet {

struct AppGroup;
class IconProvider;
class Workspace;

/// The colour of six hexadecimal digits, with a number sign or without.
std::optional<QColor> hexColor(const QString &text);

/// The colour of a group's tile.
QColor tileColor(const AppGroup &group);

/// The square tile that stands for a group: its emoji, or the icons of its first applications, on a rounded square.
/// A tile has as many pixels on a side as the size says; it is null when there is no memory for it. Any thread.
class GroupIconProvider {
public:
    GroupIconProvider(IconProvider &icons, const Workspace &workspace) : m_icons(icons), m_workspace(workspace) {}

    /// The tile as it was first drawn in this size since clearCache(), whatever changed in the group.
    QImage image(const AppGroup &group, int size);
    void clearCache();

    /// The tile, drawn now and not kept.
    QImage cgImage(const AppGroup &group, int size) const;
    /// The tile in the sizes of an icon file and of icon themes; empty when there is no memory for any.
    QList<IconFileImage> images(const AppGroup &group) const;

private:
    using Key = std::pair<QUuid, int>;

    void drawGrid(QPainter &painter, const AppGroup &group, int size) const;
    /// An icon of exactly so many pixels.
    QImage icon(const QString &bundleID, int pixels) const;

    IconProvider &m_icons;
    const Workspace &m_workspace;

    // Standard primitives, not the toolkit's: ThreadSanitizer sees through these only.
    std::shared_mutex m_mutex;
    QHash<Key, QImage> m_cache;
    int m_generation = 0; ///< a tile drawn for an earlier one is not kept
};

} // namespace cobblet
