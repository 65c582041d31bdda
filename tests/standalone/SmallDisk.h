#pragma once

#include <QString>

#include <sys/mount.h>

namespace cobblet::test {

/// A disk that is soon full, in a folder.
class SmallDisk {
public:
    SmallDisk(const QString &folder, int kibibytes) : m_folder(folder.toLocal8Bit())
    {
        const QByteArray size = "size=" + QByteArray::number(kibibytes) + "k";
        m_mounted = ::mount("tmpfs", m_folder.constData(), "tmpfs", 0, size.constData()) == 0;
    }
    ~SmallDisk()
    {
        if (m_mounted)
            ::umount2(m_folder.constData(), MNT_DETACH);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

    /// False where this user may mount nothing.
    bool isMounted() const { return m_mounted; }

private:
    const QByteArray m_folder;
    bool m_mounted = false;
};

} // namespace cobblet::test
