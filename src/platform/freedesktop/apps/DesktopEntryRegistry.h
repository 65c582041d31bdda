#pragma once

#include "platform/LaunchRegistry.h"

namespace cobblet {

/// The bundles of groups as applications of the desktop: an entry and icons below the user's data folder, named by
/// the bundle's identifier. Other identifiers than those of groups are refused, because they become file names.
///
/// The icons are written first and the entry last, so that an application that is seen is whole. What stands there
/// already is not written again, and a link in the place of a file is replaced.
class DesktopEntryRegistry : public LaunchRegistry {
public:
    /// So many of the menu's entries are offered: docks show them as one list, which has to fit on a screen. The last
    /// ones, which are about the whole group, stay.
    static constexpr qsizetype maximumActions = 27;
    static constexpr qsizetype lastActions = 3;

    Status registerBundle(const QString &bundle, const QList<DockMenuItem> &menu) override;
    Status unregisterBundle(const QString &identifier) override;
    QStringList registeredAgents() const override;
};

} // namespace cobblet
