#pragma once

#include "support/TemporaryHome.h"
#include "support/Test.h"

namespace cobblet::test {

/// Runs the event loop until the condition holds; false when it does not within the time.
inline bool waitFor(const std::function<bool()> &condition, int milliseconds = 10'000)
{
    return QTest::qWaitFor(condition, milliseconds);
}

/// A user and a system with no applications but the ones a test writes, on a desktop of a certain name.
class DesktopFixture : public testing::Test {
protected:
    DesktopFixture()
    {
        set("XDG_DATA_DIRS", (home.path(u"system"_s) + u':' + home.path(u"vendor"_s)).toLocal8Bit());
        set("XDG_CONFIG_DIRS", home.path(u"etc"_s).toLocal8Bit());
        set("XDG_CURRENT_DESKTOP", "GNOME");
    }
    ~DesktopFixture() override
    {
        for (const auto &[name, value] : m_before)
            qputenv(name, value);
    }

    /// Sets an environment variable for the time of the test.
    void set(const char *name, const QByteArray &value)
    {
        m_before.insert(m_before.begin(), {name, qgetenv(name)});
        qputenv(name, value);
    }
    QString user(const QString &id) const { return home.path(u".local/share/applications/%1.desktop"_s.arg(id)); }
    QString system(const QString &id) const { return home.path(u"system/applications/%1.desktop"_s.arg(id)); }
    static QByteArray entry(const QByteArray &name, const QByteArray &exec, const QByteArray &more = {})
    {
        return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n" + more + "\n";
    }

    TemporaryHome home;

private:
    std::vector<std::pair<const char *, QByteArray>> m_before;
};

} // namespace cobblet::test
