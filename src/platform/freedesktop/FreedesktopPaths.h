#pragma once

#include <QString>

namespace cobblet::freedesktop {

/// "$XDG_DATA_HOME/Cobblet": where the program keeps its files.
QString applicationSupportFolder();
/// "$XDG_CONFIG_HOME/cobblet": where the preferences are.
QString preferencesFolder();

} // namespace cobblet::freedesktop
