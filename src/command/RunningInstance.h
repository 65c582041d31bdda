#pragma once

#include <span>
#include <string>

namespace cobblet {

/// What became of a request to the running instance.
struct Answer {
    enum class Kind {
        NobodyRuns, ///< there is no instance in this session, or no session bus
        Carried     ///< the rest says how it went; also when the instance failed to answer
    };

    Kind kind = Kind::NobodyRuns;
    int status = 0;     ///< to end with
    std::string output; ///< for standard output
    std::string errors; ///< for standard error
};

struct Identity;

/// Hands the arguments, which are without the program's name, to the running instance and waits for what comes of
/// them: a few seconds, or a few more where applications are asked to quit. Never starts anything.
Answer askRunningInstance(const Identity &identity, std::span<char *const> arguments);

} // namespace cobblet
