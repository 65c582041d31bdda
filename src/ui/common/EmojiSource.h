#pragma once

#include <QString>

namespace cobblet {

class UserDefaults;

/// What the emoji of a view room come from.
struct EmojiSource {
    QString tables;         ///< the folder of the tables of names; empty for none
    UserDefaults &defaults; ///< where the last skin tone is remembered, for all processes
};

} // namespace cobblet
