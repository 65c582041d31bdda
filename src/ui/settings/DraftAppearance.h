#pragma once

#include "model/AppGroup.h"

namespace cobblet {

/// What the settings edit of a group, before it is applied. The members are those of the group.
struct DraftAppearance {
    QString name;
    QString emoji;
    GroupIconStyle iconStyle = GroupIconStyle::Emoji;
    std::optional<QString> iconColor;
    GroupIconFill iconFill = GroupIconFill::Solid;
    QList<AppItem> apps;
    std::optional<int> popupColumns;
    std::optional<int> popupMaxRows;
    std::optional<bool> popupShowsTitles;
    std::optional<PopupAnchor> popupAnchor;

    bool operator==(const DraftAppearance &) const = default;

    static DraftAppearance of(const AppGroup &group);
    /// The group with every field of the draft.
    AppGroup appliedTo(AppGroup group) const;
    /// Takes over what changed from `base` to `now`, but for the fields that the draft itself changed from `base`.
    void follow(const DraftAppearance &base, const DraftAppearance &now);
};

} // namespace cobblet
