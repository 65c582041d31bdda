#include "model/GroupFields.h"

#include "model/GroupCoding.h"
#include "model/TextBlock.h"

#include <algorithm>
#include <array>

namespace cobblet::field {

namespace {

constexpr std::array<std::string_view, Unknown> names{
    "id",        "name",      "emoji",    "apps",         "isPinned",     "isStandalone",     "iconName",
    "iconStyle", "iconColor", "iconFill", "popupColumns", "popupMaxRows", "popupShowsTitles", "popupAnchor"};

} // namespace

Field named(std::string_view key)
{
    return Field(std::find(names.begin(), names.end(), key) - names.begin());
}

QLatin1String nameOf(Field field)
{
    return QLatin1String(names[field].data(), qsizetype(names[field].size()));
}

bool isLenient(Field field)
{
    return field == IconStyle || field == IconFill || field >= PopupColumns;
}

void reset(AppGroup &group, Field field)
{
    switch (field) {
    case IconStyle:
        group.iconStyle = GroupIconStyle::Emoji;
        break;
    case IconFill:
        group.iconFill = GroupIconFill::Solid;
        break;
    case PopupColumns:
        group.popupColumns.reset();
        break;
    case PopupMaxRows:
        group.popupMaxRows.reset();
        break;
    case PopupShowsTitles:
        group.popupShowsTitles.reset();
        break;
    case PopupAnchor:
        group.popupAnchor.reset();
        break;
    default:
        break;
    }
}

bool set(AppGroup &group, Field field, bool value)
{
    switch (field) {
    case IsPinned:
        group.isPinned = value;
        return true;
    case IsStandalone:
        group.isStandalone = value;
        return true;
    case PopupShowsTitles:
        group.popupShowsTitles = value;
        return true;
    default:
        return false;
    }
}

bool set(AppGroup &group, Field field, int value)
{
    if (field != PopupColumns && field != PopupMaxRows)
        return false;
    (field == PopupColumns ? group.popupColumns : group.popupMaxRows) = value;
    return true;
}

bool set(AppGroup &group, Field field, const std::string &value, TextBlock &texts)
{
    switch (field) {
    case Id: {
        const auto id = parseUuid(QString::fromStdString(value));
        group.id = id.value_or(QUuid());
        return id.has_value();
    }
    case Name:
        group.name = texts.single(value);
        return true;
    case Emoji:
        group.emoji = texts.single(value);
        return true;
    case IconName:
        group.iconName = texts.single(value);
        return true;
    case IconColor:
        group.iconColor = texts.single(value);
        return true;
    case IconStyle:
        group.iconStyle = value == "grid" ? GroupIconStyle::Grid : GroupIconStyle::Emoji;
        return true;
    case IconFill:
        group.iconFill = value == "gradient" ? GroupIconFill::Gradient
                         : value == "glass"  ? GroupIconFill::Glass
                                             : GroupIconFill::Solid;
        return true;
    case PopupAnchor:
        reset(group, field);
        if (value == "dockIcon")
            group.popupAnchor = cobblet::PopupAnchor::DockIcon;
        else if (value == "dockCenter")
            group.popupAnchor = cobblet::PopupAnchor::DockCenter;
        return true;
    default:
        return false;
    }
}

} // namespace cobblet::field
