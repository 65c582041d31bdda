#pragma once

#include <QString>

#include <functional>

namespace cobblet {

/// What the builder of bundles uses of this desktop. The paths are full ones, and the programs need not be there.
struct BundleTools {
    QString codesign;
    QString codesignAllocate;
    QString rsync;
    /// Takes from one file, or from a link itself, the attributes that other programs leave and that no bundle is
    /// signed with.
    std::function<void(const QString &path)> stripAttributes;
};

} // namespace cobblet
