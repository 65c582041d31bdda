#pragma once

#include <QString>

#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>

namespace cobblet::test {

/// A disk that is soon full, in a folder. Where this user may mount nothing, no file of this process or of those that
/// it starts can grow past the size instead.
class SmallDisk {
public:
    SmallDisk(const QString &folder, int kibibytes) : m_folder(folder.toLocal8Bit())
    {
        const QByteArray size = "size=" + QByteArray::number(kibibytes) + "k";
        m_mounted = ::mount("tmpfs", m_folder.constData(), "tmpfs", 0, size.constData()) == 0;
        if (m_mounted)
            return;
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = rlim_t(kibibytes) * 1024;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallDisk()
    {
        if (m_mounted)
            ::umount2(m_folder.constData(), MNT_DETACH);
        else
            ::setrlimit(RLIMIT_FSIZE, &m_before);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

private:
    const QByteArray m_folder;
    bool m_mounted = false;
    rlimit m_before{};
};

} // namespace cobblet::test
