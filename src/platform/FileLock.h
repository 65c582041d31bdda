#pragma once

#include <QString>

namespace cobblet {

/// Holds an advisory lock across processes for the life of the object. The kernel drops it when the process
/// ends in any way. A lock file that cannot be made leaves the object unlocked: the caller goes on alone.
class FileLock {
public:
    /// Waits until the lock is free. Missing folders are made.
    explicit FileLock(const QString &path);
    ~FileLock();
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

    bool isHeld() const { return m_descriptor >= 0; }

private:
    int m_descriptor = -1;
};

} // namespace cobblet
