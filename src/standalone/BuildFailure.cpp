#include "standalone/BuildFailure.h"

namespace cobblet {

QString message(StandaloneError error)
{
    switch (error) {
    case StandaloneError::IconRenderFailed:
        return QStringLiteral("The group's icon can't be drawn or saved. Check that the disk has room.");
    case StandaloneError::BundleSyncFailed:
        return QStringLiteral("The group's application can't be replaced by the new one. Quit it and try again.");
    }
    return {};
}

} // namespace cobblet
