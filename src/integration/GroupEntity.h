#pragma once

#include "model/GroupCoding.h"
#include "platform/IntentsHost.h"

namespace cobblet {

/// A group as the intents see it: what it was called when it was chosen.
struct GroupEntity {
    static constexpr QLatin1String typeDisplayName{"Group"};

    QUuid id;
    QString name;
    QString emoji;

    GroupEntity() = default;
    explicit GroupEntity(const AppGroup &group) : id(group.id), name(group.name), emoji(group.emoji) {}

    const QString &title() const { return name; }
    const QString &subtitle() const { return emoji; }

    IntentGroup intentGroup() const { return {uuidText(id), name, emoji}; }

    bool operator==(const GroupEntity &) const = default;
};

/// The one way in which an intent fails: its group is not in the list.
struct GroupIntentError {
    QString name; ///< of the group that was asked for

    static GroupIntentError groupNotFound(const QString &name) { return {name}; }
    QString message() const;
    IntentFailure failure() const { return {IntentFailure::Kind::GroupNotFound, message(), {}}; }
};

} // namespace cobblet
