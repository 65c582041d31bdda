#include "control/SuggestionEvidence.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace cobblet {

namespace {

constexpr qsizetype longestIdentifier = 200; ///< as of an installed application
constexpr qsizetype longestName = 40;
constexpr qint64 absurdCount = 1'000'000; ///< fifty launches a day for half a century
constexpr qsizetype mostApplications = 400;
constexpr qsizetype largestSession = 64; ///< a larger one says little of who belongs together
constexpr qsizetype mostSessions = 4000; ///< a tracker keeps at most half of it
constexpr double halfLife = 14;          ///< days until a session counts for half
constexpr int enoughDays = 14;           ///< of sessions, to forget older launches
constexpr double leastLift = 1.25;       ///< times what chance gives

double weightOf(QDate day, QDate today)
{
    return std::exp2(-double(day.daysTo(today)) / halfLife);
}

} // namespace

SuggestionEvidence::SuggestionEvidence(const SuggestionInput &input) : m_input(input)
{
    readCounts();
    readSessions();
    if (!hasDays())
        readPairs();
    for (auto row = m_together.cbegin(); row != m_together.cend(); row += size())
        m_strength.push_back(std::accumulate(row, row + size(), 0.0));
    m_all = std::accumulate(m_strength.begin(), m_strength.end(), 0.0);
}

QString SuggestionEvidence::resolved(const QString &identifier) const
{
    return m_input.counterparts.value(identifier, identifier);
}

void SuggestionEvidence::readCounts()
{
    QHash<QString, const InstalledApplication *> installed;
    for (const InstalledApplication &application : m_input.applications)
        installed.insert(application.bundleID, &application);
    std::vector<std::pair<qint64, QString>> most;
    for (auto it = m_input.counts.begin(); it != m_input.counts.end(); ++it)
        if (it.value() > 0 && it.value() <= absurdCount && it.key().size() <= longestIdentifier &&
            installed.contains(resolved(it.key())))
            most.emplace_back(-it.value(), it.key());
    std::sort(most.begin(), most.end());
    for (const auto &[negative, told] : most) {
        const QString id = resolved(told);
        if (m_index.contains(id) || m_index.size() == mostApplications)
            continue;
        m_index.insert(id, size());
        m_applications.push_back(installed.value(id));
        m_told.push_back(told);
        m_recentlyOpened.push_back(double(-negative));
    }
    for (auto it = m_input.counterparts.begin(); it != m_input.counterparts.end(); ++it)
        if (const auto here = index(it.value()))
            m_index.insert(it.key(), *here);
    m_together.resize(m_applications.size() * m_applications.size());
    m_recentlyTogether = m_together;
}

void SuggestionEvidence::readSessions()
{
    std::vector<double> opened(m_applications.size());
    double launches = 0;
    QDate first = m_input.today;
    qsizetype left = mostSessions;
    for (auto it = m_input.pairs.end(); it != m_input.pairs.begin() && left > 0;) {
        --it;
        const QDate day = UsageTracker::sessionDay(it.key());
        if (!day.isValid() || day > m_input.today || it->size() > largestSession)
            continue;
        --left;
        Members members;
        for (auto app = it->begin(); app != it->end(); ++app)
            if (const auto known = index(app.key())) {
                members.push_back(*known);
                launches += double(std::min(app.value(), absurdCount));
            }
        std::sort(members.begin(), members.end());
        members.erase(std::unique(members.begin(), members.end()), members.end());
        const double weight = weightOf(day, m_input.today);
        for (const int a : members) {
            opened[size_t(a)] += weight;
            for (const int b : members)
                if (a != b) {
                    m_together[at(a, b)] += 1;
                    m_recentlyTogether[at(a, b)] += weight;
                }
        }
        first = std::min(first, day);
        m_sessions.push_back({day, std::move(members)});
    }
    const double counted = std::accumulate(m_recentlyOpened.begin(), m_recentlyOpened.end(), 0.0);
    if (counted > 2 * launches && first.daysTo(m_input.today) < enoughDays) {
        m_sessions.clear();
        std::fill(m_together.begin(), m_together.end(), 0.0);
    } else {
        m_recentlyOpened = std::move(opened);
    }
}

/// Of the table, which says everything twice, the half above the diagonal.
void SuggestionEvidence::readPairs()
{
    for (auto row = m_input.pairs.begin(); row != m_input.pairs.end(); ++row)
        if (const auto a = index(row.key()))
            for (auto cell = row->upperBound(row.key()); cell != row->end(); ++cell)
                if (const auto b = index(cell.key()); b && *a != *b && cell.value() <= absurdCount)
                    m_together[at(std::max(*a, *b), std::min(*a, *b))] += double(cell.value());
    // These are launches: two were together at most as often as the rarer one was opened.
    for (int a = 0; a < size(); ++a)
        for (int b = 0; b < a; ++b)
            m_together[at(a, b)] = m_together[at(b, a)] =
                std::min({m_together[at(a, b)], m_recentlyOpened[size_t(a)], m_recentlyOpened[size_t(b)]});
    m_recentlyTogether = m_together;
}

AppItem SuggestionEvidence::item(int a) const
{
    return {application(a).name.left(longestName), m_told[size_t(a)]};
}

std::optional<int> SuggestionEvidence::index(const QString &identifier) const
{
    const auto it = m_index.constFind(identifier);
    return it == m_index.cend() ? std::nullopt : std::optional(*it);
}

QSet<QString> SuggestionEvidence::identifiers(const QList<AppItem> &apps) const
{
    QSet<QString> ids;
    for (const AppItem &app : apps)
        ids.insert(resolved(app.bundleID));
    return ids;
}

/// How often two would be together if each were with the others as often as it is, but at random.
double SuggestionEvidence::expected(int a, int b) const
{
    return m_all > 0 ? m_strength[size_t(a)] * m_strength[size_t(b)] / m_all : 0;
}

double SuggestionEvidence::affinity(int a, int b) const
{
    const double opened = m_recentlyOpened[size_t(a)] + m_recentlyOpened[size_t(b)];
    return m_together[at(a, b)] > leastLift * expected(a, b) ? 2 * m_recentlyTogether[at(a, b)] / opened : 0;
}

double SuggestionEvidence::affinity(int a, const Members &others) const
{
    double sum = 0;
    int count = 0;
    for (const int each : others)
        if (each != a) {
            sum += affinity(a, each);
            ++count;
        }
    return count > 0 ? sum / count : 0;
}

double SuggestionEvidence::surprise(int a, int b) const
{
    const double both = m_together[at(a, b)], chance = expected(a, b);
    return both > chance ? both * std::log(both / chance) - (both - chance) : 0;
}

double SuggestionEvidence::surprise(const Members &members) const
{
    double sum = 0;
    for (auto a = members.begin(); a != members.end(); ++a)
        for (auto b = members.begin(); b != a; ++b)
            sum += surprise(*a, *b);
    return sum;
}

SuggestionEvidence::Days SuggestionEvidence::days(const Members &members) const
{
    QSet<QDate> together, any;
    double recent = 0;
    for (const Session &session : m_sessions) {
        const auto there = std::count_if(members.begin(), members.end(), [&](int each) {
            return std::binary_search(session.members.begin(), session.members.end(), each);
        });
        if (there > 0)
            any.insert(session.day);
        if (2 * size_t(there) > members.size() && !together.contains(session.day)) {
            together.insert(session.day);
            recent += weightOf(session.day, m_input.today);
        }
    }
    return {int(together.size()), int(any.size()), recent};
}

} // namespace cobblet
