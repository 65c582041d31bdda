#pragma once

#include "platform/Result.h"

#include <QString>

#include <functional>

namespace cobblet {

// Whole folders. Links are copied and removed as links, never followed. Any thread.

/// Copies a folder and all in it to `to`, which must not exist, with the files' times of modification. What could be
/// copied stays when it fails.
Status copyTree(const QString &from, const QString &to);
/// The same with a second name for each file in place of a copy, where the file system has such.
Status linkTree(const QString &from, const QString &to);
/// Removes a file, a link, or a folder with all in it; what is not there is removed already.
Status removeTree(const QString &path);
/// Gives a file or a folder another path on the same file system, where nothing may be yet.
Status moveTree(const QString &from, const QString &to);
/// The path itself and all below it, to be called for each.
void forEachInTree(const QString &path, const std::function<void(const QString &)> &visit);
/// Makes the files of one tree a second newer than those of the same names in the other, where they were modified at
/// nearly the same time: what compares trees by whole seconds would take them for the same.
void outdate(const QString &older, const QString &newer);
/// Sets the time of modification to now; failures are ignored.
void touch(const QString &path);

} // namespace cobblet
