#pragma once

#include "platform/Availability.h"
#include "platform/DockTile.h"
#include "platform/IconFile.h"
#include "platform/Result.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace cobblet {

/// What docks, menus and launchers are told of a bundle that was built on this machine. Desktops that read the bundle
/// itself use its path alone.
struct Registration {
    QString bundle;     ///< the ".app" folder
    QString identifier; ///< that the bundle states; its letters are those of file names
    QString name;
    QString comment; ///< one line that says what it does
    QString program; ///< the full path of what starts it, and with "--action NAME" carries out an entry of the menu
    QList<IconFileImage> icons;
    QList<DockMenuItem> menu; ///< what its icon offers
};

/// Makes the bundles that were built on this machine known to its docks, menus and launchers. Any thread, one call
/// at a time.
class LaunchRegistry {
public:
    virtual ~LaunchRegistry() = default;

    virtual Availability availability() const = 0;

    /// Registers the bundle, or renews what is registered under its identifier.
    virtual Status registerBundle(const Registration &registration) = 0;
    /// Forgets the bundle with this identifier; one that is not registered is forgotten already.
    virtual Status unregisterBundle(const QString &identifier) = 0;
    /// The identifiers with this beginning that are registered, also of bundles that are gone. Empty where the
    /// desktop forgets those by itself.
    virtual QStringList registered(const QString &prefix) const = 0;
};

} // namespace cobblet
