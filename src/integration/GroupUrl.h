#pragma once

#include "platform/IntentsHost.h"

#include <optional>

namespace cobblet {

/// An address of the program's own scheme: "cobblet://VERB/GROUP" with the verb show, launch or quit, and the group's
/// id or percent-encoded name.
struct GroupUrl {
    IntentRequests::Verb verb;
    QString group;

    /// Absent for anything else: another verb, a user, a port, a query, a fragment, a broken encoding.
    static std::optional<GroupUrl> parse(const QString &text);
    /// Whether the text claims to be an address of this scheme, well formed or not.
    static bool hasScheme(const QString &text);

    bool operator==(const GroupUrl &) const = default;
};

} // namespace cobblet
