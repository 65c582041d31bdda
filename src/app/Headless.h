#pragma once

#include "integration/CommandLine.h"
#include "platform/Bundle.h"
#include "platform/Platform.h"

namespace cobblet {

/// Carries out a command line in this process, without a window and without becoming the instance that runs, and
/// comes back when that is done. `options` are the panel's. Makes an application object of its own: none may exist.
CommandReply runHeadless(const Bundle &bundle, const PlatformOptions &options, const CommandLine &line);

/// Why the group that the panel is to open with can't be shown; absent when it can, or when none was asked for.
/// The same conditions.
std::optional<CommandReply> refusal(const Bundle &bundle, const PlatformOptions &options, const CommandLine &line);

} // namespace cobblet
