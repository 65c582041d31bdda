#pragma once

#include "platform/LaunchRegistry.h"

#include <functional>

namespace cobblet {

/// Bundles as applications of the desktop: an entry and icons below the user's data folder, named by the bundle's
/// identifier.
///
/// The icons are written first and the entry last, so that an application that is seen is whole. What stands there
/// already is not written again, and a link in the place of a file is replaced.
class DesktopEntryRegistry : public LaunchRegistry {
public:
    /// So many of the menu's entries are offered. The last ones, which are about the whole group, stay.
    static constexpr qsizetype maximumActions = 1000;
    static constexpr qsizetype lastActions = 3;
    static constexpr qsizetype maximumText = 1000; ///< of a name, in UTF-16 units; what is longer is cut

    /// What an application's icon is called, as a theme's name or a full path; empty where it has none.
    using IconNames = std::function<QString(const QString &bundleID)>;

    /// `iconNames` is asked on the caller's thread, for the entries of the menu; without it they have no icons.
    explicit DesktopEntryRegistry(IconNames iconNames = {}) : m_iconNames(std::move(iconNames)) {}

    Availability availability() const override;
    Status registerBundle(const Registration &registration) override;
    Status unregisterBundle(const QString &identifier) override;
    QStringList registered(const QString &prefix) const override;

private:
    const IconNames m_iconNames;
};

} // namespace cobblet
