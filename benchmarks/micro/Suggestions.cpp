// Suggesting groups from 20,000 pairs of applications, with and without the sessions of six busy weeks.
#include "control/GroupSuggestions.h"

#include <benchmark/benchmark.h>

using namespace cobblet;

namespace {

constexpr int applications = 201; // of which 20,100 pairs can be made, each of them twice in the table
constexpr int days = 42, sessionsOfADay = 8, launchesOfASession = 15;

SuggestionInput largeInput(bool withSessions)
{
    SuggestionInput input;
    input.today = QDate(2026, 3, 31);
    const auto id = [](int i) { return QStringLiteral("org.example.app.name%1").arg(i, 5, 10, QLatin1Char('0')); };
    for (int i = 0; i < applications; ++i) {
        input.counts[id(i)] = 40 + i;
        input.applications.append({id(i), QStringLiteral("Example Application %1").arg(i), {}});
        for (int j = 0; j < applications; ++j)
            if (i != j)
                input.pairs[id(i)][id(j)] = i / 5 == j / 5 ? 35 : 1 + i * j % 3;
    }
    for (int session = 0; withSessions && session < days * sessionsOfADay; ++session) {
        const QString key = QStringLiteral("@%1 %2:00")
                                .arg(input.today.addDays(-session / sessionsOfADay).toString(Qt::ISODate))
                                .arg(session % sessionsOfADay + 10);
        for (int i = 0; i < launchesOfASession; ++i) // three groups of five
            input.pairs[key][id(((session * 7 + i / 5 * (session % 11 + 1)) % 40) * 5 + i % 5)] = 1;
    }
    return input;
}

void suggest(benchmark::State &state)
{
    const SuggestionInput input = largeInput(true);
    for (auto _ : state)
        benchmark::DoNotOptimize(suggestedGroups(input));
}

void suggestFromPairs(benchmark::State &state)
{
    const SuggestionInput input = largeInput(false);
    for (auto _ : state)
        benchmark::DoNotOptimize(suggestedGroups(input));
}

BENCHMARK(suggest)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(suggestFromPairs)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
