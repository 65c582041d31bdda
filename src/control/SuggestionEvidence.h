#pragma once

#include "control/GroupSuggestions.h"

#include <QSet>

#include <optional>
#include <utility>
#include <vector>

namespace cobblet {

/// How often applications were opened, and together: in sessions; while most of what was counted is older than those,
/// in launches. The applications are those that are installed and were opened most, by index.
class SuggestionEvidence {
public:
    using Members = std::vector<int>;

    /// `input` outlives the object.
    explicit SuggestionEvidence(const SuggestionInput &input);

    int size() const { return int(m_applications.size()); }
    const InstalledApplication &application(int a) const { return *m_applications[size_t(a)]; }
    /// As a group holds it.
    AppItem item(int a) const;
    /// Absent for what is not among the applications.
    std::optional<int> index(const QString &identifier) const;
    /// The applications of a group, as they are called on this desktop.
    QSet<QString> identifiers(const QList<AppItem> &apps) const;

    /// The part of their recent openings that two have in common, if they are together more than chance makes them;
    /// else 0.
    double affinity(int a, int b) const;
    /// The average of it, with the others among these.
    double affinity(int a, const Members &others) const;
    /// How hard it is to explain by chance that two are together so often: the logarithm of a ratio of likelihoods.
    double surprise(int a, int b) const;
    /// The sum of it, over all pairs of these.
    double surprise(const Members &members) const;

    /// Whether it is known on which days applications were opened.
    bool hasDays() const { return !m_sessions.empty(); }
    struct Days {
        int together;  ///< on which more than half of them were opened in one session
        int any;       ///< on which any of them was opened
        double recent; ///< the first, each of which counts for less as it grows old
    };
    Days days(const Members &members) const;

private:
    struct Session {
        QDate day;
        Members members; ///< in order
    };

    QString resolved(const QString &identifier) const;
    size_t at(int a, int b) const { return size_t(a) * m_applications.size() + size_t(b); }
    double expected(int a, int b) const;
    void readCounts();
    void readSessions();
    void readPairs();

    const SuggestionInput &m_input;
    QHash<QString, int> m_index; ///< by every identifier
    std::vector<const InstalledApplication *> m_applications;
    std::vector<QString> m_told;                              ///< the identifier under which each was counted most
    std::vector<double> m_together;                           ///< how often each two were opened together
    std::vector<double> m_strength;                           ///< the sum of that over all others
    double m_all = 0;                                         ///< and over all
    std::vector<double> m_recentlyOpened, m_recentlyTogether; ///< where what is old counts for less
    std::vector<Session> m_sessions;                          ///< none where launches count
};

} // namespace cobblet
