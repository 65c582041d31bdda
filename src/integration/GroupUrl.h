#pragma once

#include "integration/GroupIntents.h"

#include <optional>

namespace cobblet {

/// An address of the program's own scheme: "cobblet://VERB/GROUP" with the verb show, launch or quit, and the group's
/// id or percent-encoded name.
struct GroupUrl {
    /// Absent for anything else: another verb, a user, a port, a query, a fragment, a broken encoding.
    static std::optional<GroupRequest> parse(const QString &text);
    /// Whether the text claims to be an address of this scheme, well formed or not.
    static bool hasScheme(const QString &text);
};

} // namespace cobblet
