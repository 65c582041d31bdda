#pragma once

#include "support/TemporaryHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>

namespace cobblet::test {

/// Runs the event loop until the condition holds; false when it does not within the time.
inline bool waitFor(const std::function<bool()> &condition, int milliseconds = 2000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > milliseconds)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(2);
    }
    return true;
}

inline void write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
    file.write(bytes);
}

/// A user and a system with no applications but the ones a test writes.
class DesktopFixture : public testing::Test {
protected:
    DesktopFixture()
    {
        m_systemBefore = qgetenv("XDG_DATA_DIRS");
        m_configBefore = qgetenv("XDG_CONFIG_DIRS");
        m_desktopBefore = qgetenv("XDG_CURRENT_DESKTOP");
        qputenv("XDG_DATA_DIRS",
                (home.path(QStringLiteral("system")) + QStringLiteral(":") + home.path(QStringLiteral("vendor")))
                    .toLocal8Bit());
        qputenv("XDG_CONFIG_DIRS", home.path(QStringLiteral("etc")).toLocal8Bit());
        qputenv("XDG_CURRENT_DESKTOP", "GNOME");
    }
    ~DesktopFixture() override
    {
        qputenv("XDG_DATA_DIRS", m_systemBefore);
        qputenv("XDG_CONFIG_DIRS", m_configBefore);
        qputenv("XDG_CURRENT_DESKTOP", m_desktopBefore);
    }

    QString user(const QString &id) const
    {
        return home.path(QStringLiteral(".local/share/applications/%1.desktop").arg(id));
    }
    QString system(const QString &id) const
    {
        return home.path(QStringLiteral("system/applications/%1.desktop").arg(id));
    }
    QString vendor(const QString &id) const
    {
        return home.path(QStringLiteral("vendor/applications/%1.desktop").arg(id));
    }

    static QByteArray entry(const QByteArray &name, const QByteArray &exec, const QByteArray &more = {})
    {
        return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n" + more + "\n";
    }

    TemporaryHome home;

private:
    QByteArray m_systemBefore;
    QByteArray m_configBefore;
    QByteArray m_desktopBefore;
};

} // namespace cobblet::test
