#pragma once

#include "platform/DockTile.h"
#include "platform/Result.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace cobblet {

/// Makes the bundles that were built on this machine known to its docks, menus and launchers. Any thread, one call
/// at a time.
class LaunchRegistry {
public:
    virtual ~LaunchRegistry() = default;

    /// Registers the bundle under the identifier, the name and the icon file that it states, or renews what is
    /// registered. `menu` is what its icon offers, where a desktop takes that from here.
    virtual Status registerBundle(const QString &bundle, const QList<DockMenuItem> &menu) = 0;
    /// Forgets the bundle with this identifier; one that is not registered is forgotten already.
    virtual Status unregisterBundle(const QString &identifier) = 0;
    /// The identifiers of per-group bundles that are registered, also of those that are gone. Empty where the
    /// desktop forgets them by itself.
    virtual QStringList registeredAgents() const = 0;
};

} // namespace cobblet
