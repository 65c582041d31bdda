#pragma once

#include "platform/BundleTools.h"

namespace cobblet::freedesktop {

/// The system's rsync, and the signing tool of the bundle itself.
BundleTools bundleTools(const QString &bundle);

} // namespace cobblet::freedesktop
