#pragma once

#include "platform/Result.h"

#include <QString>

#include <chrono>
#include <memory>

namespace cobblet {

/// Holds an advisory lock across processes for the life of the object. The kernel drops it when the process
/// ends in any way. A lock file that cannot be made leaves the object unlocked: the caller goes on alone.
class FileLock {
public:
    /// What one holder's change, or a queue of them, takes on a slow disk; longer is a process that was stopped.
    static constexpr std::chrono::milliseconds defaultPatience{3000};

    /// Waits until the lock is free, or until its holder has tried the caller's patience; without patience it only
    /// looks. Missing folders are made.
    explicit FileLock(const QString &path, std::chrono::milliseconds patience = defaultPatience);
    ~FileLock();
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

    bool isHeld() const { return m_descriptor != nullptr; }
    /// An error while another process keeps the lock, and writing would undo what it is about to write.
    const Status &mayWrite() const { return m_mayWrite; }

private:
    std::shared_ptr<const int> m_descriptor; ///< null unless held
    Status m_mayWrite;
};

} // namespace cobblet
