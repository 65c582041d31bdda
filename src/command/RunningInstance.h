#pragma once

#include <optional>
#include <span>
#include <string>

namespace cobblet {

/// What became of a request to the running instance; also when it failed to answer.
struct Answer {
    int status = 0;     ///< to end with
    std::string output; ///< for standard output
    std::string errors; ///< for standard error
};

struct Identity;

/// Hands the arguments, which are without the program's name, to the running instance and waits for what comes of
/// them. Absent when there is no instance in this session, or no session bus. Never starts anything. What takes more
/// than a few seconds, or a few more where applications are asked to quit, ends this process with a sentence.
std::optional<Answer> askRunningInstance(const Identity &identity, std::span<char *const> arguments);

} // namespace cobblet
