#pragma once

#include <QLatin1String>
#include <QString>

namespace cobblet {

/// The names by which desktops and processes know this program.
namespace identifier {
inline constexpr QLatin1String mainApplication{"com.vantor.cobblet"};
/// What an agent's identifier begins with; the group's upper-case id follows.
inline constexpr QLatin1String agentPrefix{"com.cobblet.agent."};
/// The suite of preferences that agents read too.
inline constexpr QLatin1String sharedSuite{"com.cobblet.shared"};
} // namespace identifier

/// Whether the bundle with this identifier is an agent's.
inline bool isAgentIdentifier(const QString &bundleIdentifier)
{
    return bundleIdentifier.startsWith(identifier::agentPrefix);
}

} // namespace cobblet
