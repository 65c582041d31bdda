#pragma once

#include "support/TemporaryHome.h"
#include "support/Test.h"

namespace cobblet::test {

/// A user and a system with no applications but the ones a test writes, on a desktop of a certain name.
class DesktopFixture : public testing::Test {
protected:
    DesktopFixture()
    {
        home.set("XDG_DATA_DIRS", (home.path(u"system"_s) + u':' + home.path(u"vendor"_s)).toLocal8Bit());
        home.set("XDG_CONFIG_DIRS", home.path(u"etc"_s).toLocal8Bit());
        home.set("XDG_CURRENT_DESKTOP", "GNOME");
    }

    QString user(const QString &id) const { return home.path(u".local/share/applications/%1.desktop"_s.arg(id)); }
    QString system(const QString &id) const { return home.path(u"system/applications/%1.desktop"_s.arg(id)); }
    static QByteArray entry(const QByteArray &name, const QByteArray &exec, const QByteArray &more = {})
    {
        return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + "\n" + more + "\n";
    }

    TemporaryHome home;
};

} // namespace cobblet::test
