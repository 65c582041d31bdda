#pragma once

#include "platform/HotKeys.h"

namespace cobblet {

/// The combination as people read it: "Alt+Shift+1".
QString combinationText(const HotKey &key);
/// As the desktops' shortcut notation has it: "ALT+SHIFT+1".
QString combinationTrigger(const HotKey &key);

} // namespace cobblet
