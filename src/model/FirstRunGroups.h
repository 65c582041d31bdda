#pragma once

#include "model/AppGroup.h"

namespace cobblet {

/// The three groups of someone who has none yet, each with a fresh id.
QList<AppGroup> firstRunGroups();

} // namespace cobblet
