#include "control/GroupSuggestions.h"

#include "control/SuggestionEvidence.h"

#include <algorithm>
#include <tuple>

namespace cobblet {

namespace {

using Evidence = SuggestionEvidence;
using Members = Evidence::Members;

constexpr size_t fewestMembers = 3, mostMembers = 8;
constexpr double nearlyAll = 0.6;
constexpr qsizetype mostSeeds = 1000; ///< pairs that are looked at
constexpr qsizetype longestHalf = 20; ///< of a name made of two
constexpr double keeping = 1.5;       ///< what a group is worth more that was proposed before

/// What founds a group, and each of its members.
struct Bounds {
    double affinity; ///< of each with the others
    double surprise; ///< of all
    double days;     ///< on which they were opened together, where each counts for less as it grows old
};
struct Rules {
    Bounds toEnter;
    Bounds toStay; ///< for what was suggested before
};
/// Chosen by the measurements in benchmarks/suggestions.
constexpr Rules forSessions{{0.35, 10.5, 4.0}, {0.25, 6.0, 2.5}};
constexpr Rules forLaunches{{0.45, 30.0, 0.0}, {0.35, 18.0, 0.0}}; ///< which come many at a time, and on unknown days

bool contains(const Members &members, int application)
{
    return std::find(members.begin(), members.end(), application) != members.end();
}

/// Lets go, one by one, of those who have least in common with the rest.
void shrink(const Evidence &evidence, Members &members, double bound)
{
    while (members.size() >= fewestMembers) {
        const auto affinity = [&](int each) { return evidence.affinity(each, members); };
        const auto least =
            std::min_element(members.begin(), members.end(), [&](int a, int b) { return affinity(a) < affinity(b); });
        if (affinity(*least) >= bound)
            return;
        members.erase(least);
    }
}

/// Takes in, one by one, those free ones who have most in common with all of them.
void grow(const Evidence &evidence, Members &members, const std::vector<bool> &isFree, double bound)
{
    while (members.size() < mostMembers) {
        int best = -1;
        double most = 0;
        for (int each = 0; each < evidence.size(); ++each) {
            if (!isFree[each] || contains(members, each))
                continue;
            if (const double affinity = evidence.affinity(each, members); affinity > most) {
                most = affinity;
                best = each;
            }
        }
        if (best < 0 || most < bound)
            return;
        members.push_back(best);
    }
}

struct Candidate {
    Members members;
    double surprise = 0;
    const SuggestedGroup *previous = nullptr; ///< what it was proposed as before
};

bool holds(const Evidence &evidence, const Candidate &candidate, const Bounds &bounds)
{
    return candidate.members.size() >= fewestMembers && candidate.surprise >= bounds.surprise &&
           evidence.days(candidate.members).recent >= bounds.days;
}

/// All that are founded, each application in one of them at most.
std::vector<Candidate> candidates(const Evidence &evidence, const QList<SuggestedGroup> &previous)
{
    const Rules &rules = evidence.hasDays() ? forSessions : forLaunches;
    std::vector<bool> isFree(size_t(evidence.size()), true);
    std::vector<Candidate> found;
    const auto consider = [&](Members members, const Bounds &bounds, const SuggestedGroup *before) {
        shrink(evidence, members, bounds.affinity);
        grow(evidence, members, isFree, rules.toEnter.affinity);
        shrink(evidence, members, bounds.affinity);
        Candidate candidate{members, evidence.surprise(members), before};
        if (!holds(evidence, candidate, bounds))
            return;
        for (const int each : members)
            isFree[each] = false;
        found.push_back(std::move(candidate));
    };

    for (const SuggestedGroup &group : previous) {
        Members members;
        for (const AppItem &app : group.apps)
            if (const auto known = evidence.index(app.bundleID);
                known && isFree[*known] && !contains(members, *known) && members.size() < mostMembers)
                members.push_back(*known);
        if (members.size() >= 2)
            consider(members, rules.toStay, &group);
    }

    struct Seed {
        double surprise;
        int a, b;
    };
    std::vector<Seed> seeds;
    for (int a = 0; a < evidence.size(); ++a)
        for (int b = 0; b < a; ++b)
            if (evidence.affinity(a, b) >= rules.toEnter.affinity)
                seeds.push_back({evidence.surprise(a, b), a, b});
    const auto shown = seeds.begin() + std::min<qsizetype>(seeds.size(), mostSeeds);
    std::partial_sort(seeds.begin(), shown, seeds.end(), [](const Seed &x, const Seed &y) {
        return std::tie(y.surprise, x.a, x.b) < std::tie(x.surprise, y.a, y.b);
    });
    for (auto seed = seeds.begin(); seed != shown; ++seed)
        if (isFree[seed->a] && isFree[seed->b])
            consider({seed->a, seed->b}, rules.toEnter, nullptr);
    return found;
}

// What a group is called.

struct Kind {
    const char *categories; ///< of desktop menus, any of them
    const char *name;
    const char16_t *emoji;
};
/// The particular ones before those that hold them.
constexpr Kind kinds[] = {
    // clang-format off
    {"Photography", "Photos", u"\U0001F4F7"},
    {"Music", "Music", u"\U0001F3B5"},
    {"Chat InstantMessaging IRCClient", "Chat", u"\U0001F4AC"},
    {"Email", "Mail", u"\U0001F4E7"},
    {"Finance", "Finance", u"\U0001F4B0"},
    {"WebDevelopment", "Web Development", u"\U0001F310"},
    {"Development", "Development", u"\U0001F4BB"},
    {"Graphics", "Graphics", u"\U0001F3A8"},
    {"Audio", "Audio", u"\U0001F3A7"},
    {"Video", "Video", u"\U0001F3AC"},
    {"AudioVideo", "Media", u"\U0001F3AC"},
    {"Game", "Games", u"\U0001F3AE"},
    {"Science", "Science", u"\U0001F52C"},
    {"Education", "Learning", u"\U0001F393"},
    {"Office", "Office", u"\U0001F4C4"},
    {"Network", "Internet", u"\U0001F310"},
    {"System Settings", "System", u"\U0001F9F0"},
    {"Utility", "Tools", u"\U0001F527"},
    // clang-format on
};
constexpr const char16_t *anyEmoji = u"\U0001F4C1";

bool isOf(const Kind &kind, const InstalledApplication &application)
{
    const QStringList categories = QString::fromLatin1(kind.categories).split(u' ');
    return std::any_of(categories.begin(), categories.end(),
                       [&](const QString &each) { return application.categories.contains(each); });
}

/// The name and emoji of the kind that most of the applications are of, unless somebody has the name; else it is
/// called after the first two.
void nameGroup(SuggestedGroup &group, const Evidence &evidence, const Members &members, const QSet<QString> &taken)
{
    const Kind *best = nullptr;
    qsizetype most = 1;
    for (const Kind &kind : kinds) {
        const auto ofKind = std::count_if(members.begin(), members.end(),
                                          [&](int each) { return isOf(kind, evidence.application(each)); });
        if (ofKind > most) {
            most = ofKind;
            best = &kind;
        }
    }
    group.emoji = QString::fromUtf16(best ? best->emoji : anyEmoji);
    if (best && 2 * size_t(most) > members.size())
        group.name = QLatin1String(best->name);
    if (!group.name.isEmpty() && !taken.contains(group.name.toCaseFolded()))
        return;
    const auto shortened = [](const QString &text) {
        if (text.size() <= longestHalf)
            return text;
        QString start = text.left(longestHalf - 1);
        if (start.back().isHighSurrogate())
            start.chop(1);
        return QString(start.trimmed() + u'…');
    };
    group.name = QStringLiteral("%1 & %2").arg(shortened(group.apps[0].name), shortened(group.apps[1].name));
}

QString reason(const Evidence &evidence, const Members &members)
{
    if (!evidence.hasDays())
        return QStringLiteral("Often opened together");
    const auto days = evidence.days(members);
    return QStringLiteral("Opened together on %1 of %2 days").arg(days.together).arg(days.any);
}

QUuid idOf(const QSet<QString> &applications)
{
    QStringList ids = applications.values();
    ids.sort();
    return QUuid::createUuidV5(QUuid(), ids.join(u'\n'));
}

} // namespace

bool coversNearly(const QSet<QString> &known, const QSet<QString> &applications)
{
    const qsizetype both = (QSet<QString>(known) & applications).size();
    return both == applications.size() ||
           double(both) > nearlyAll * double(known.size() + applications.size() - both);
}

QList<SuggestedGroup> suggestedGroups(const SuggestionInput &input)
{
    const Evidence evidence(input);
    QList<QSet<QString>> existing, dismissed;
    QSet<QString> names;
    for (const AppGroup &group : input.groups) {
        existing.append(evidence.identifiers(group.apps));
        names.insert(group.name.toCaseFolded());
    }
    for (const AppGroup &group : input.dismissed)
        dismissed.append(evidence.identifiers(group.apps));

    std::vector<Candidate> best = candidates(evidence, input.previous);
    std::stable_sort(best.begin(), best.end(), [](const Candidate &a, const Candidate &b) {
        const auto worth = [](const Candidate &each) { return each.surprise * (each.previous ? keeping : 1); };
        return worth(a) > worth(b);
    });
    QList<SuggestedGroup> suggestions;
    for (Candidate &candidate : best) {
        Members &members = candidate.members;
        const Members all = members;
        if (!candidate.previous) // which keeps its order
            std::stable_sort(members.begin(), members.end(),
                             [&](int a, int b) { return evidence.affinity(a, all) > evidence.affinity(b, all); });
        SuggestedGroup group;
        for (const int each : members)
            group.apps.append(evidence.item(each));
        const QSet<QString> ids = evidence.identifiers(group.apps);
        const auto isKnown = [&](const QSet<QString> &known) { return coversNearly(known, ids); };
        if (suggestions.size() == mostSuggestions || std::any_of(existing.begin(), existing.end(), isKnown) ||
            std::any_of(dismissed.begin(), dismissed.end(), isKnown))
            continue;
        if (candidate.previous && !names.contains(candidate.previous->name.toCaseFolded())) {
            group.name = candidate.previous->name;
            group.emoji = candidate.previous->emoji;
        } else {
            nameGroup(group, evidence, members, names);
        }
        group.id = candidate.previous ? candidate.previous->id : idOf(ids);
        group.reason = reason(evidence, members);
        names.insert(group.name.toCaseFolded());
        suggestions.append(group);
    }
    return suggestions;
}

} // namespace cobblet
