// Watches the windows of a program from outside and times them: one line of JSON for each measurement.

#include "Failure.h"
#include "Rounds.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <regex>
#include <string_view>

namespace {

using panelwatch::Failure;
using panelwatch::Plan;

constexpr const char *usage =
    "usage: cobblet_bench_panelwatch show   --class PATTERN REQUEST [OPTIONS] [-- PROGRAM ARGUMENTS]\n"
    "       cobblet_bench_panelwatch cycles --class PATTERN REQUEST --pid PID [OPTIONS]\n"
    "       cobblet_bench_panelwatch change --class PATTERN --key CHORD --back CHORD [OPTIONS]\n"
    "       cobblet_bench_panelwatch run    [OPTIONS] -- PROGRAM ARGUMENTS\n"
    "       cobblet_bench_panelwatch idle   --pid PID [--seconds N]\n"
    "REQUEST is --key CHORD, --bus NAME (Activate on the session bus) or the program after --.\n"
    "  --action NAME    of the program on the bus, instead of Activate\n"
    "  --label TEXT     name in the output          --pid PID      the program that stays\n"
    "  --dismiss CHORD  or \"end\" for a started one  --rounds N --warmup N --colours N\n"
    "  --quiet MS       undrawn for so long: settled --pause MS --timeout MS\n"
    "Status 0: measured; 1: the measurement could not be made, with the reason; 2: wrong arguments.\n";

template<typename Number>
Number number(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < Number{})
        throw std::invalid_argument("\"" + std::string(text) + "\" is no number");
    return value;
}

Plan planFrom(int argc, char **argv)
{
    Plan plan;
    const std::map<std::string_view, std::function<void(const char *)>> options = {
        {"--label", [&](const char *text) { plan.label = text; }},
        {"--class", [&](const char *text) { plan.windowClass = text; }},
        {"--key", [&](const char *text) { plan.key = text; }},
        {"--bus", [&](const char *text) { plan.bus = text; }},
        {"--action", [&](const char *text) { plan.action = text; }},
        {"--dismiss", [&](const char *text) { plan.dismiss = text; }},
        {"--back", [&](const char *text) { plan.back = text; }},
        {"--pid", [&](const char *text) { plan.pid = number<int>(text); }},
        {"--rounds", [&](const char *text) { plan.rounds = number<int>(text); }},
        {"--warmup", [&](const char *text) { plan.warmup = number<int>(text); }},
        {"--colours", [&](const char *text) { plan.colours = number<size_t>(text); }},
        {"--quiet", [&](const char *text) { plan.quiet = number<double>(text); }},
        {"--pause", [&](const char *text) { plan.pause = number<double>(text); }},
        {"--timeout", [&](const char *text) { plan.timeout = number<double>(text); }},
        {"--seconds", [&](const char *text) { plan.seconds = number<double>(text); }},
    };
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "--") == 0) {
            plan.command.assign(argv + i + 1, argv + argc);
            break;
        }
        const auto option = options.find(argv[i]);
        if (option == options.end() || i + 1 == argc)
            throw std::invalid_argument(std::string("unknown or incomplete option ") + argv[i]);
        option->second(argv[++i]);
    }
    return plan;
}

using Measure = nlohmann::ordered_json (*)(const Plan &);

// The measurement that the arguments ask for; says what is wrong with them otherwise.
Measure measureFor(const std::string_view name, const Plan &plan)
{
    const int requests = int(!plan.key.empty()) + int(!plan.bus.empty()) + int(!plan.command.empty());
    if (name != "idle" && name != "run" && (plan.windowClass.empty() || requests != 1 || plan.rounds < 1))
        throw std::invalid_argument("one --class, one request and at least one round are needed");
    if (plan.dismiss == "end" && plan.command.empty())
        throw std::invalid_argument("--dismiss end needs a program that was started");
    if (name == "show")
        return panelwatch::measureShow;
    if (name == "change" && !plan.key.empty() && !plan.back.empty())
        return panelwatch::measureChange;
    if (name == "cycles" && plan.pid > 0)
        return panelwatch::measureCycles;
    if (name == "run" && !plan.command.empty() && plan.rounds > 0)
        return panelwatch::measureRun;
    if (name == "idle" && plan.pid > 0)
        return panelwatch::measureIdle;
    throw std::invalid_argument("no such measurement, or an option of it is missing");
}

} // namespace

int main(int argc, char **argv)
{
    std::string label;
    try {
        const Plan plan = planFrom(argc, argv);
        label = plan.label;
        const Measure measure = measureFor(argc > 1 ? argv[1] : "", plan);
        std::puts(measure(plan).dump().c_str());
        return 0;
    } catch (const Failure &failure) {
        std::puts(
            nlohmann::ordered_json{{"label", label}, {"kind", "failed"}, {"why", failure.what()}}.dump().c_str());
        return 1;
    } catch (const std::regex_error &) {
        std::fputs("--class is no regular expression\n", stderr);
    } catch (const std::invalid_argument &wrong) {
        std::fprintf(stderr, "%s\n%s", wrong.what(), usage);
    }
    return 2;
}
