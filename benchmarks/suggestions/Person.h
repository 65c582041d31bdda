#pragma once

#include <QList>
#include <QSet>

#include <random>
#include <vector>

/// Random numbers that are the same for a seed everywhere.
class Chance {
public:
    explicit Chance(quint64 seed) : m_engine(seed) {}

    double between(double low, double high) { return low + (high - low) * double(m_engine() >> 11) * 0x1p-53; }
    /// Including both.
    int between(int low, int high) { return low + int(between(0.0, 1.0) * (high - low + 1)); }
    bool happens(double probability) { return between(0.0, 1.0) < probability; }
    /// How long until something that happens every `mean` on average.
    double wait(double mean);
    /// An index, each as likely as its weight.
    int pick(const std::vector<double> &weights);

private:
    std::mt19937_64 m_engine; // whose numbers the standard prescribes
};

/// An application that is launched or brought forward. Applications are numbers.
struct Launch {
    double minute; ///< since the first midnight
    int application;
};

/// What a made-up person does with a computer. Application 0 is opened every morning and brought forward all day
/// long; the others are opened at random, each as often as it is popular, one to three at a time, on busy days and on
/// idle ones; and those of each planted group are opened within some minutes of each other on some of the days.
struct Person {
    static constexpr int days = 30;

    enum class Habits { Groups, None };
    Person(quint64 seed, Habits habits);

    int applications;
    QList<QSet<int>> groups;      ///< the planted ones, as they are on the last day
    std::vector<Launch> launches; ///< in order

private:
    struct Habit {
        QSet<int> members;
        int firstDay = 0, lastDay = days;
        double probability; ///< on a working day
    };
    QList<Habit> makeHabits(Chance &chance);
    QSet<int> strangers(Chance &chance, const QSet<int> &but, int count) const;
    void live(Chance &chance, const QList<Habit> &habits, int day);

    std::vector<double> m_popularity;
};
