#pragma once

#include <QTemporaryDir>

namespace cobblet::test {

/// A home folder of its own for one test: the XDG folders point into it while the object lives.
class TemporaryHome {
public:
    TemporaryHome()
    {
        for (const auto &[name, folder] : variables)
            m_before.append({QByteArray(name), qEnvironmentVariableIsSet(name), qgetenv(name)}),
                qputenv(name, m_dir.filePath(QLatin1String(folder)).toLocal8Bit());
    }
    ~TemporaryHome()
    {
        for (const Saved &saved : m_before)
            saved.wasSet ? qputenv(saved.name.constData(), saved.value) : qunsetenv(saved.name.constData());
    }
    TemporaryHome(const TemporaryHome &) = delete;
    TemporaryHome &operator=(const TemporaryHome &) = delete;

    QString path(const QString &relative = {}) const { return m_dir.filePath(relative); }

private:
    struct Saved {
        QByteArray name;
        bool wasSet;
        QByteArray value;
    };
    struct Variable {
        const char *name;
        const char *folder;
    };
    static constexpr Variable variables[] = {{"HOME", "."},
                                             {"XDG_CONFIG_HOME", ".config"},
                                             {"XDG_DATA_HOME", ".local/share"},
                                             {"XDG_CACHE_HOME", ".cache"}};

    QTemporaryDir m_dir;
    QList<Saved> m_before;
};

} // namespace cobblet::test
