#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include <sys/types.h>

namespace panelwatch {

/// What to measure and how; durations in milliseconds.
struct Plan {
    std::string label;
    std::string windowClass;          ///< pattern for "instance.class" of WM_CLASS
    std::string key;                  ///< the request: a chord of keys,
    std::string bus;                  ///< or the bus name of a running program,
    std::string action;               ///< of that program, instead of its activation
    std::vector<std::string> command; ///< or a program to start
    std::string dismiss = "Escape";   ///< a chord, or "end" to end the started program
    std::string back;                 ///< the chord that undoes a change
    pid_t pid = 0;                    ///< the program that stays, whose CPU time and memory count
    int rounds = 20;
    int warmup = 2;
    size_t colours = 12;   ///< so many in the drawn part are a painted panel
    double quiet = 200;    ///< nothing drawn for so long means settled
    double pause = 150;    ///< between rounds
    double timeout = 5000; ///< of every single wait
    double seconds = 10;   ///< of watching an idle program
};

/// Request, window mapped, content painted, settled, dismissed, gone; as often as planned.
nlohmann::ordered_json measureShow(const Plan &plan);
/// A change inside a panel that is on screen: from a key press to the first frame that shows most of the result.
nlohmann::ordered_json measureChange(const Plan &plan);
/// Show and hide as quickly as they go, and what that does to the memory of the program.
nlohmann::ordered_json measureCycles(const Plan &plan);
/// A whole process: from before it is started until it has ended.
nlohmann::ordered_json measureRun(const Plan &plan);
/// What a program does while nobody asks anything of it.
nlohmann::ordered_json measureIdle(const Plan &plan);

} // namespace panelwatch
