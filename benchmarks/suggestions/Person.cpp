#include "Person.h"

#include <algorithm>
#include <cmath>
#include <numeric>

double Chance::wait(double mean)
{
    return -mean * std::log(1 - between(0.0, 1.0));
}

int Chance::pick(const std::vector<double> &weights)
{
    double left = between(0.0, std::accumulate(weights.begin(), weights.end(), 0.0));
    for (size_t i = 0; i + 1 < weights.size(); ++i)
        if ((left -= weights[i]) < 0)
            return int(i);
    return int(weights.size()) - 1;
}

Person::Person(quint64 seed, Habits kind)
{
    Chance chance(seed);
    applications = chance.between(25, 50);
    for (int i = 0; i < applications; ++i)
        m_popularity.push_back(i == 0 ? 0 : 1 / std::pow(chance.between(1.0, double(applications)), 0.8));
    const QList<Habit> habits = kind == Habits::Groups ? makeHabits(chance) : QList<Habit>();
    for (int day = 0; day < days; ++day)
        live(chance, habits, day);
    std::stable_sort(launches.begin(), launches.end(),
                     [](const Launch &a, const Launch &b) { return a.minute < b.minute; });
}

QSet<int> Person::strangers(Chance &chance, const QSet<int> &but, int count) const
{
    QSet<int> some;
    while (some.size() < count)
        if (const int each = chance.between(1, applications - 1); !but.contains(each))
            some.insert(each);
    return some;
}

/// One to three groups that last. Some begin late, some change a member, some share one; and there may be one that
/// the person gives up.
QList<Person::Habit> Person::makeHabits(Chance &chance)
{
    QList<Habit> habits;
    QSet<int> taken;
    const auto probability = [&] { return chance.between(0.3, 0.75); };
    for (int count = chance.between(1, 3); count > 0; --count) {
        Habit habit{strangers(chance, taken, chance.between(3, 6)), 0, days, probability()};
        taken += habit.members;
        if (!habits.isEmpty() && chance.happens(0.2))
            habit.members.insert(*std::min_element(groups.last().begin(), groups.last().end()));
        if (chance.happens(0.3))
            habit.firstDay = chance.between(4, 14);
        if (habit.firstDay == 0 && chance.happens(0.4)) {
            Habit before = habit;
            before.lastDay = habit.firstDay = chance.between(7, 15);
            const QSet<int> newcomer = strangers(chance, taken, 1);
            const int gone = *std::min_element(habit.members.begin(), habit.members.end());
            habit.members.remove(gone);
            habit.members += newcomer;
            taken += newcomer;
            habits.append(before);
        }
        habits.append(habit);
        groups.append(habit.members);
    }
    if (chance.happens(0.3))
        habits.append({strangers(chance, taken, chance.between(3, 5)), 0, chance.between(5, 10), probability()});
    return habits;
}

void Person::live(Chance &chance, const QList<Habit> &habits, int day)
{
    const bool isFree = day % 7 >= 5;
    const double begin = day * 24.0 * 60 + chance.between(7.5, 10.0) * 60;
    const double end = begin + chance.between(6.0, 11.0) * 60;
    const double busy = chance.between(0.4, 1.6) * (isFree ? 0.5 : 1);

    for (double at = begin; at < end; at += chance.wait(45))
        launches.push_back({at, 0});
    for (double at = begin + chance.wait(60 / busy); at < end; at += chance.wait(60 / busy)) {
        double minute = at;
        for (int some = chance.between(1, 3); some > 0; --some, minute += chance.wait(2))
            launches.push_back({minute, chance.pick(m_popularity)});
    }
    for (const Habit &habit : habits) {
        if (day < habit.firstDay || day >= habit.lastDay || !chance.happens(habit.probability * (isFree ? 0.5 : 1)))
            continue;
        QList<int> members(habit.members.begin(), habit.members.end());
        std::sort(members.begin(), members.end()); // a set has no order of its own
        for (int times = chance.happens(0.3) ? 2 : 1; times > 0; --times) {
            double minute = chance.between(begin, end);
            for (qsizetype i = members.size(); i > 1; --i)
                members.swapItemsAt(i - 1, chance.between(0, int(i) - 1));
            for (const int each : members)
                if (chance.happens(0.85))
                    launches.push_back({minute += chance.wait(2), each});
        }
    }
}
