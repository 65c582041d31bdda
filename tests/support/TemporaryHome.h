#pragma once

#include <QTemporaryDir>

namespace cobblet::test {

/// A home folder of its own for one test: the XDG folders point into it while the object lives.
class TemporaryHome {
public:
    TemporaryHome()
    {
        for (const auto &[name, folder] : {std::pair("HOME", "."),
                                           {"XDG_CONFIG_HOME", ".config"},
                                           {"XDG_DATA_HOME", ".local/share"},
                                           {"XDG_CACHE_HOME", ".cache"}})
            set(name, path(QLatin1String(folder)).toLocal8Bit());
    }
    ~TemporaryHome()
    {
        for (const auto &[name, value] : m_before)
            value.isNull() ? qunsetenv(name) : qputenv(name, value);
    }
    TemporaryHome(const TemporaryHome &) = delete;
    TemporaryHome &operator=(const TemporaryHome &) = delete;

    /// Sets an environment variable while the object lives.
    void set(const char *name, const QByteArray &value)
    {
        m_before.prepend({name, qgetenv(name)});
        qputenv(name, value);
    }
    QString path(const QString &relative = {}) const { return m_dir.filePath(relative); }

private:
    QTemporaryDir m_dir;
    QList<std::pair<const char *, QByteArray>> m_before;
};

} // namespace cobblet::test
