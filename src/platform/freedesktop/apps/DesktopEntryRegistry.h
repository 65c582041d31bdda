#pragma once

#include "platform/LaunchRegistry.h"

namespace cobblet {

/// Bundles as applications of the desktop: an entry and icons below the user's data folder, named by the bundle's
/// identifier.
///
/// The icons are written first and the entry last, so that an application that is seen is whole. What stands there
/// already is not written again, and a link in the place of a file is replaced.
class DesktopEntryRegistry : public LaunchRegistry {
public:
    /// So many of the menu's entries are offered: docks show them as one list, which has to fit on a screen. The last
    /// ones, which are about the whole group, stay.
    static constexpr qsizetype maximumActions = 27;
    static constexpr qsizetype lastActions = 3;
    static constexpr qsizetype maximumText = 1000; ///< of a name, in UTF-16 units; what is longer is cut

    Availability availability() const override;
    Status registerBundle(const Registration &registration) override;
    Status unregisterBundle(const QString &identifier) override;
    QStringList registered(const QString &prefix) const override;
};

} // namespace cobblet
