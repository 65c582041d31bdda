// A fast client of the running instance.
//   platform_flood calls          sends calls without end
//   platform_flood panel ROUNDS   asks for the panel, prints how long that took; status 1 when it was refused once

#include "RawClient.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <thread>
#include <vector>

using namespace cobblet::test;

namespace {

using Clock = std::chrono::steady_clock;

/// No more at a time than the bus itself can take, whose own queue would be measured otherwise.
[[noreturn]] void flood()
{
    constexpr int atATime = 200;
    RawClient client;
    for (;;) {
        std::map<std::string, int> answers;
        for (int i = 0; i < atATime; ++i)
            client.send(RawClient::find("work"));
        while (sum(answers) < atATime)
            client.countAnswers(answers, 10);
    }
}

int askForPanel(int rounds)
{
    RawClient person;
    std::vector<double> times;
    int refused = 0;
    for (int i = 0; i < rounds; ++i) {
        const auto start = Clock::now();
        if (!person.call(RawClient::activate()))
            ++refused;
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::sort(times.begin(), times.end());
    std::printf("Activate: median %.2f ms, longest %.2f ms\n", times[times.size() / 2], times.back());
    return refused == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view what = argc > 1 ? argv[1] : "";
    if (what == "calls")
        flood();
    return what == "panel" && argc == 3 ? askForPanel(std::max(1, std::atoi(argv[2]))) : 2;
}
