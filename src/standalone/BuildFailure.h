#pragma once

#include <QString>

namespace cobblet {

/// Why an application of a group's own could not be built.
enum class StandaloneError {
    IconRenderFailed, ///< the icon could not be drawn or written
    BundleSyncFailed, ///< the new bundle could not be copied over the one there is
};

/// One sentence for a person.
QString message(StandaloneError error);

} // namespace cobblet
