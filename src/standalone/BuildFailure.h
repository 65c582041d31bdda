#pragma once

#include "platform/Result.h"

#include <QString>

#include <variant>

namespace cobblet {

struct AppGroup;
struct Bundle;
struct BundleTools;

/// Why a bundle could not be signed.
struct CodesignError {
    enum class Kind {
        ToolMissing, ///< `path` is no program
        Failed,      ///< the tool ended with `status` and wrote `output`
        VerifyFailed ///< the same, when it was to check what it had signed
    };

    Kind kind = Kind::Failed;
    QString path;
    qint32 status = 0;
    QString output;
};

enum class StandaloneError {
    IconRenderFailed, ///< the group's icon could not be drawn or written
    BundleSyncFailed  ///< the new bundle could not be copied over the one that was there
};

/// The bundle is whole, but the agent did not start.
struct LaunchFailed {
    QString reason;
};

/// Why a group did not become standalone; an Error where the file system was in the way.
using BuildFailure = std::variant<CodesignError, StandaloneError, LaunchFailed, Error>;
/// What became of a step of building.
using BuildStatus = Result<void, BuildFailure>;

/// One sentence or line that says what went wrong.
QString message(const BuildFailure &failure);

/// What a person can pass on about a failure: the group, the error, the versions and the tools, one item a line.
QString failureDetails(const AppGroup &group, const BuildFailure &failure, const Bundle &program,
                       const BundleTools &tools);

} // namespace cobblet
