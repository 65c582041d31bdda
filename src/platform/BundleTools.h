#pragma once

#include "platform/Availability.h"

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

    /// Whether the programs that building takes are there: without the first no bundle is built, without rsync none
    /// is built again.
    Availability availability() const;
};

/// Whether the path leads to a program that may be run.
bool isExecutable(const QString &path);

} // namespace cobblet
