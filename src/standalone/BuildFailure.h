#pragma once

#include "platform/Result.h"

#include <QString>

#include <optional>
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

    QString message() const;
    bool operator==(const CodesignError &) const = default;
};

enum class StandaloneError {
    IconRenderFailed, ///< the group's icon could not be drawn or written
    BundleSyncFailed  ///< the new bundle could not be copied over the one that was there
};

/// A sentence about it.
QString message(StandaloneError error);

/// Why a group did not become an application; an Error where the file system was in the way.
using BuildFailure = std::variant<CodesignError, StandaloneError, Error>;
/// What became of a step: absent when it went well.
using BuildOutcome = std::optional<BuildFailure>;

/// One sentence or line that says what went wrong.
QString description(const BuildFailure &failure);

/// What a person can pass on about a failure: the group, the error, the versions and the tools, one item a line.
QString failureDetails(const AppGroup &group, const BuildFailure &failure, const Bundle &program,
                       const BundleTools &tools);

/// Whether the path leads to a program that may be run.
bool isExecutable(const QString &path);

/// For what went wrong in the file system.
inline BuildOutcome outcome(const Status &status)
{
    return status ? BuildOutcome() : BuildOutcome(Error{status.error()});
}

} // namespace cobblet
