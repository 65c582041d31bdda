#pragma once

#include <QHashFunctions>
#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

namespace cobblet {

/// One application in a group.
struct AppItem {
    QString name;     ///< display name shown under the icon
    QString bundleID; ///< the key by which the desktop launches, quits and looks the application up

    bool operator==(const AppItem &) const = default;
};

inline size_t qHash(const AppItem &item, size_t seed = 0)
{
    return qHashMulti(seed, item.name, item.bundleID);
}

enum class GroupIconStyle { Emoji, Grid };
enum class GroupIconFill { Solid, Gradient, Glass };
/// Where the popup opens: centred over the dock, or above the dock icon that was clicked.
enum class PopupAnchor { DockCenter, DockIcon };

/// A named, ordered list of applications. Fields stand in the order of the JSON keys.
struct AppGroup {
    QUuid id = QUuid::createUuid(); ///< identity; never changes for the life of the group
    QString name;
    QString emoji;
    QList<AppItem> apps;
    bool isPinned = false;
    bool isStandalone = false;
    std::optional<QString> iconName;
    GroupIconStyle iconStyle = GroupIconStyle::Emoji;
    std::optional<QString> iconColor;
    GroupIconFill iconFill = GroupIconFill::Solid;
    std::optional<int> popupColumns; ///< the four overrides: absent means the global preference applies
    std::optional<int> popupMaxRows;
    std::optional<bool> popupShowsTitles;
    std::optional<PopupAnchor> popupAnchor;

    bool operator==(const AppGroup &) const = default;

    /// Reserved for the synthetic Most Used group; no stored group has it.
    static const QUuid mostUsedID;
    /// That group, without applications.
    static AppGroup mostUsed();
};

} // namespace cobblet
