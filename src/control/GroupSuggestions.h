#pragma once

#include "control/UsageTracker.h"
#include "model/AppGroup.h"
#include "platform/Workspace.h"

#include <QDate>
#include <QHash>
#include <QList>

namespace cobblet {

/// A new group that is proposed to a person.
struct SuggestedGroup {
    QUuid id; ///< the same from day to day, while most of the applications are
    QString name;
    QString emoji;
    QList<AppItem> apps; ///< three to eight, those that belong together most first
    QString reason;      ///< why it is proposed: "Opened together on 9 of 12 days"

    bool operator==(const SuggestedGroup &) const = default;
};

/// All that suggestions depend on. Nothing of it is trusted: what cannot be is left out.
struct SuggestionInput {
    UsageTracker::Counts counts;              ///< the launches of each application
    UsageTracker::Pairs pairs;                ///< the tracker's table, with the sessions in it where it has any
    QDate today;                              ///< the sessions are as old as this says
    QList<AppGroup> groups;                   ///< those that exist
    QList<SuggestedGroup> previous;           ///< what was proposed last, which is kept while it holds
    QList<AppGroup> dismissed;                ///< what is not to be proposed again
    QList<InstalledApplication> applications; ///< those that may be proposed
    QHash<QString, QString> counterparts;     ///< identifiers above that stand for others here
};

inline constexpr qsizetype mostSuggestions = 3;

/// The groups of applications that are opened together more than the frequency of each explains; at most
/// `mostSuggestions`, the best founded first. None that exists, or was dismissed, or nearly so. A pure function, for
/// any thread.
QList<SuggestedGroup> suggestedGroups(const SuggestionInput &input);

/// Whether a group with these applications would say nothing beside one with those that are `known`: they hold all of
/// them, or the two share more than 0.6 of what is in either.
bool coversNearly(const QSet<QString> &known, const QSet<QString> &applications);

} // namespace cobblet
