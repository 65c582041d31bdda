#pragma once

#include <QString>

namespace cobblet {

/// What the running program's own bundle says of it.
struct Bundle {
    QString identifier; ///< "com.vantor.cobblet", or an agent's; empty outside a bundle
    QString version;    ///< the short version string; empty when unavailable
    QString build;      ///< the bundle version; empty when unavailable
    QString executable; ///< the running program's file
    QString path;       ///< the ".app" folder; empty outside a bundle

    /// Identifiers of per-group agents begin with this.
    static constexpr const char *agentPrefix = "com.cobblet.agent.";
    bool isAgent() const { return identifier.startsWith(QLatin1String(agentPrefix)); }

    QString resource(const QString &name) const { return path + QStringLiteral("/Contents/Resources/") + name; }

    /// Reads the bundle that holds the running executable.
    static Bundle current();
};

} // namespace cobblet
