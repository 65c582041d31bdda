// usage: cobblet_bench_suggestions tuning|final
//
// How good the suggestions of groups are: made-up people use a computer for thirty days, the real tracker counts, and
// each evening groups are suggested, as the program does it. Beside them four simple ways to suggest from the same
// counts. Prints one line of JSON. Thresholds were chosen on the seeds "tuning"; those of "final" were not looked at
// before.
#include "Person.h"

#include "control/GroupSuggestions.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstring>
#include <map>

using namespace cobblet;

namespace {

using Groups = QList<QSet<int>>;

constexpr int people = 300, withoutHabits = 1000;

/// Time, in which nothing is saved.
class Clock : public test::VirtualScheduler {
public:
    Handle after(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        return delay < std::chrono::minutes(1) ? nullptr : VirtualScheduler::after(delay, std::move(work));
    }
};

QString idOf(int application)
{
    return QStringLiteral("org.example.app%1").arg(application);
}

/// What there is to suggest from, on one evening.
struct Evening {
    const Person &person;
    const UsageTracker &usage;
    std::vector<int> lastOpened; ///< the newest last
};

// The simple ways. Each has the three groups that there may be.

Groups ofFour(const std::vector<int> &order)
{
    Groups groups;
    for (size_t i = 0; i + 4 <= std::min<size_t>(order.size(), 12); i += 4)
        groups.append(QSet<int>(order.begin() + i, order.begin() + i + 4));
    return groups;
}

Groups atRandom(const Evening &evening)
{
    Chance chance(quint64(evening.person.launches.size()));
    std::vector<int> some = evening.lastOpened;
    for (size_t i = some.size(); i > 1; --i)
        std::swap(some[i - 1], some[size_t(chance.between(0, int(i) - 1))]);
    return ofFour(some);
}

Groups mostUsed(const Evening &evening)
{
    std::vector<std::pair<qint64, int>> most;
    for (int i = 0; i < evening.person.applications; ++i)
        most.emplace_back(-evening.usage.counts().value(idOf(i)), i);
    std::sort(most.begin(), most.end());
    std::vector<int> order;
    for (const auto &[count, application] : most)
        order.push_back(application);
    return ofFour(order);
}

Groups mostRecent(const Evening &evening)
{
    return ofFour({evening.lastOpened.rbegin(), evening.lastOpened.rend()});
}

/// The pair with the highest count, and whoever has at least half of that with those that are in it.
Groups rawCounts(const Evening &evening)
{
    const auto count = [&](int a, int b) {
        return double(evening.usage.cooccurrence().value(idOf(a)).value(idOf(b)));
    };
    Groups groups;
    QSet<int> taken;
    while (groups.size() < 3) {
        QList<int> members;
        double first = 0;
        for (int a = 0; a < evening.person.applications; ++a)
            for (int b = 0; b < a; ++b)
                if (!taken.contains(a) && !taken.contains(b) && count(a, b) > first) {
                    first = count(a, b);
                    members = {a, b};
                }
        for (bool grows = first > 0; grows && members.size() < 8;) {
            grows = false;
            double most = first / 2;
            int next = -1;
            for (int a = 0; a < evening.person.applications; ++a) {
                if (taken.contains(a) || members.contains(a))
                    continue;
                double mean = 0;
                for (const int member : members)
                    mean += count(a, member) / double(members.size());
                if (mean >= most) {
                    most = mean;
                    next = a;
                    grows = true;
                }
            }
            if (grows)
                members.append(next);
        }
        const QSet<int> group(members.begin(), members.end());
        if (group.isEmpty())
            break;
        taken += group;
        if (group.size() >= 3)
            groups.append(group);
    }
    return groups;
}

bool nearlySameNumbers(const QSet<int> &a, const QSet<int> &b)
{
    const double both = double((QSet<int>(a) & b).size());
    return both > 0.6 * (double(a.size() + b.size()) - both);
}

/// How much of what is suggested was planted, and of what was planted is suggested, over all people.
struct Score {
    int suggested = 0, planted = 0, right = 0;

    void add(const Groups &suggestions, const Groups &truth)
    {
        Groups open = truth;
        for (const QSet<int> &suggestion : suggestions) {
            const auto match = std::find_if(open.begin(), open.end(), [&](const QSet<int> &group) {
                return nearlySameNumbers(suggestion, group);
            });
            if (match != open.end()) {
                open.erase(match);
                ++right;
            }
        }
        suggested += int(suggestions.size());
        planted += int(truth.size());
    }
    double precision() const { return suggested > 0 ? double(right) / suggested : 0; }
    double recall() const { return planted > 0 ? double(right) / planted : 0; }
};

/// What is suggested in the end, and how often that changed.
struct Outcome {
    Groups groups;
    int everSuggested = 0; ///< the most on one evening
    int changes = 0;       ///< evenings on which it was not what it was the evening before
};

Groups numbers(const QList<SuggestedGroup> &suggestions)
{
    Groups groups;
    for (const SuggestedGroup &suggestion : suggestions) {
        QSet<int> group;
        for (const AppItem &app : suggestion.apps)
            group.insert(app.bundleID.mid(15).toInt());
        groups.append(group);
    }
    return groups;
}

struct Suggesting {
    bool withDays;
    SuggestionInput input;
    Outcome outcome;

    void evening(const UsageTracker &usage, const QDate &today)
    {
        input.counts = usage.counts();
        input.pairs = usage.cooccurrence();
        input.today = today;
        if (!withDays)
            input.pairs.removeIf([](const auto &entry) { return UsageTracker::sessionDay(entry.key()).isValid(); });
        const QList<SuggestedGroup> suggestions = suggestedGroups(input);
        const Groups groups = numbers(suggestions);
        outcome.changes += groups != outcome.groups;
        outcome.groups = groups;
        outcome.everSuggested = std::max(outcome.everSuggested, int(groups.size()));
        input.previous = suggestions;
    }
};

/// Lets the person live, and suggests every evening, with the days and from the pairs alone.
template<class AtTheEnd>
void live(const Person &person, AtTheEnd atTheEnd)
{
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
    Clock clock;
    UsageTracker usage(QStringLiteral("/nowhere"), running, workspace, clock);
    Suggesting suggesting{true, {}, {}}, fromPairs{false, {}, {}};
    for (int i = 0; i < person.applications; ++i)
        for (SuggestionInput *input : {&suggesting.input, &fromPairs.input})
            input->applications.append({idOf(i), QStringLiteral("Application %1").arg(i), {}});
    Evening evening{person, usage, {}};
    const QDateTime start = clock.now();
    const double begin = start.time().msecsSinceStartOfDay() / 60000.0 - 24 * 60; // tomorrow is the first day
    double now = begin;
    auto launch = person.launches.begin();
    for (int day = 0; day < Person::days; ++day) {
        for (; launch != person.launches.end() && launch->minute < (day + 1) * 24 * 60; ++launch) {
            clock.advance(std::chrono::milliseconds(qint64((launch->minute - now) * 60000)));
            now = launch->minute;
            usage.recordLaunch(idOf(launch->application));
            std::erase(evening.lastOpened, launch->application);
            evening.lastOpened.push_back(launch->application);
        }
        suggesting.evening(usage, clock.now().date());
        fromPairs.evening(usage, clock.now().date());
    }
    atTheEnd(evening, suggesting.outcome, fromPairs.outcome);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const bool isFinal = argc == 2 && !std::strcmp(argv[1], "final");
    if (!isFinal && (argc != 2 || std::strcmp(argv[1], "tuning") != 0)) {
        std::fputs("usage: cobblet_bench_suggestions tuning|final\n", stderr);
        return 2;
    }
    const quint64 firstSeed = isFinal ? 17'000'000 : 1'000'000;

    std::map<std::string, Score> scores;
    int changes = 0;
    for (int i = 0; i < people; ++i) {
        const Person person(firstSeed + quint64(i), Person::Habits::Groups);
        live(person, [&](const Evening &evening, const Outcome &ours, const Outcome &fromPairs) {
            const std::pair<const char *, Groups> ways[] = {{"ours", ours.groups},
                                                            {"pairs alone", fromPairs.groups},
                                                            {"random", atRandom(evening)},
                                                            {"most used", mostUsed(evening)},
                                                            {"most recent", mostRecent(evening)},
                                                            {"raw pair counts", rawCounts(evening)}};
            for (const auto &[name, groups] : ways)
                scores[name].add(groups, person.groups);
            changes += ours.changes;
        });
    }
    int wrong = 0, wrongFromPairs = 0;
    for (int i = 0; i < withoutHabits; ++i)
        live(Person(firstSeed + 1'000'000 + quint64(i), Person::Habits::None),
             [&](const Evening &, const Outcome &ours, const Outcome &fromPairs) {
                 wrong += ours.everSuggested > 0;
                 wrongFromPairs += fromPairs.everSuggested > 0;
             });

    std::printf("{\"label\":\"suggestions %s\",\"kind\":\"suggestions\",\"people\":%d,\"changes\":%.2f,"
                "\"unstructured\":%d,\"wrong\":%d,\"wrong from pairs\":%d,\"ways\":{",
                argv[1], people, double(changes) / people, withoutHabits, wrong, wrongFromPairs);
    const char *separator = "";
    for (const auto &[name, score] : scores) {
        std::printf("%s\"%s\":{\"precision\":%.3f,\"recall\":%.3f}", separator, name.c_str(), score.precision(),
                    score.recall());
        separator = ",";
    }
    std::puts("}}");
}
