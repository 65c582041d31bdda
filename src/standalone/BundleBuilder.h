#pragma once

#include "platform/BundleTools.h"
#include "platform/IconFile.h"
#include "platform/Tool.h"
#include "standalone/AgentsFolder.h"
#include "standalone/BuildFailure.h"

#include <QHash>
#include <QUuid>

#include <functional>

namespace cobblet {

class GroupIconProvider;
class LaunchRegistry;

/// Builds the bundles of agents: copies of the program's own bundle that hold a group in place of the program's
/// identity. Nothing is changed where the desktop can see it before it is whole and signed. Waits for disk and tools,
/// so for a thread of its own; one call at a time, but for stop().
class BundleBuilder {
public:
    struct Services {
        QString source; ///< the program's own bundle
        QString stamp;  ///< identifies the program's executable
        AgentsFolder folder;
        BundleTools tools;
        LaunchRegistry &registry;
        GroupIconProvider &icons;
    };

    explicit BundleBuilder(Services services) : m_services(std::move(services)) {}

    const AgentsFolder &folder() const { return m_services.folder; }
    const BundleTools &tools() const { return m_services.tools; }

    /// Builds the group's bundle aside, signs it, and brings it to `destination`. When that fails, what was there
    /// before is there still.
    BuildStatus sync(const AppGroup &group, const QString &destination);
    /// Writes the group into a copy of the program's bundle.
    BuildStatus prepare(const QString &bundle, const AppGroup &group);
    BuildStatus sign(const QString &bundle);
    /// Makes the desktop look at the bundle afresh that was built last for this group. What fails is logged.
    void registerBundle(const QString &bundle, const AppGroup &group);
    /// Takes the bundle and its registration away.
    Status remove(const AgentBundle &bundle);
    /// Clears what builds have left that did not come to their end.
    Status recover();
    /// Ends the tool that runs, and every later one.
    void stop() { m_runner.stop(); }

private:
    BuildStatus fill(const QString &staging, const AppGroup &group, const QString &destination);
    BuildStatus mirror(const QString &staging, const QString &bundle, const QString &destination);
    void strip(const QString &bundle);
    BuildStatus codesign(CodesignError::Kind failure, const QStringList &arguments);
    BuildStatus verify(const QString &bundle);

    const Services m_services;
    ToolRunner m_runner;
    QHash<QUuid, QList<IconFileImage>> m_icons; ///< of the bundles that are built and not registered yet
};

} // namespace cobblet
