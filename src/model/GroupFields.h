#pragma once

#include "model/AppGroup.h"

#include <string>
#include <string_view>

namespace cobblet {

class TextBlock;

/// The fields of a group as its JSON names them.
namespace field {

enum Field {
    Id,
    Name,
    Emoji,
    Apps,
    IsPinned,
    IsStandalone,
    IconName,
    IconStyle,
    IconColor,
    IconFill,
    PopupColumns,
    PopupMaxRows,
    PopupShowsTitles,
    PopupAnchor,
    Unknown
};

Field named(std::string_view key);
QLatin1String nameOf(Field field);

/// Whether a value of a wrong type is swallowed, and the field reset, instead of failing the group.
bool isLenient(Field field);
void reset(AppGroup &group, Field field);

/// False where the field takes no such value.
bool set(AppGroup &group, Field field, bool value);
bool set(AppGroup &group, Field field, int value);
/// `texts` is only used in between.
bool set(AppGroup &group, Field field, const std::string &value, TextBlock &texts);

} // namespace field

} // namespace cobblet
