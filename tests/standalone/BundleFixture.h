#pragma once

#include "platform/LaunchRegistry.h"
#include "platform/freedesktop/FreedesktopBundleTools.h"
#include "standalone/BundleBuilder.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"
#include "support/Test.h"

namespace cobblet::test {

/// Remembers what is registered. Any thread, as the real one.
class FakeLaunchRegistry : public LaunchRegistry {
public:
    Availability availability() const override { return {}; }
    Status registerBundle(const Registration &registration) override
    {
        QList<int> sides;
        for (const IconFileImage &icon : registration.icons)
            sides.append(icon.side);
        EXPECT_EQ(sides, (QList<int>{16, 24, 32, 48, 64, 128, 256, 512, 1024}));
        menu = registration.menu;
        ++registrations;
        return {};
    }
    Status unregisterBundle(const QString &identifier) override
    {
        forgotten.append(identifier);
        return {};
    }
    QStringList registered(const QString &) const override { return agents; }

    QList<DockMenuItem> menu; ///< of the last one
    int registrations = 0;
    QStringList forgotten;
    QStringList agents; ///< what is registered
};

/// The Info.plist of a program's bundle.
inline QByteArray info(const QString &identifier)
{
    return "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>cobblet</string>"
           "<key>CFBundleIconName</key><string>Main</string>"
           "<key>CFBundleIdentifier</key><string>" +
           identifier.toUtf8() + "</string></dict></plist>";
}

/// A program's bundle, and a folder where agents' bundles are built with the real tools.
class BundleTest : public testing::Test {
protected:
    BundleTest()
    {
        write(source + u"/Contents/Info.plist"_s, info(u"com.vantor.cobblet"_s));
        writeProgram(source + u"/Contents/MacOS/cobblet"_s, QByteArray(40'000, 'x'));
        write(source + u"/Contents/Resources/Metadata.appintents/actions"_s, "of the main program");
        write(source + u"/Contents/Resources/emoji/en.emoji"_s, "names");
        QDir().mkpath(agents);
        tools = freedesktop::bundleTools({});
        tools.codesign = QStringLiteral(COBBLET_CODESIGN);
        work.name = u"Work"_s;
        work.apps = {{u"Mail"_s, u"com.apple.mail"_s}};
    }

    BundleBuilder::Services services() { return {source, stamp, AgentsFolder(agents), tools, registry, groupIcons}; }
    /// What lies in the folder of the applications, without what is only there to keep others out.
    QStringList leftovers() const
    {
        QStringList names = QDir(agents).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        names.removeAll(u".staging"_s);
        return names + QDir(agents + u"/.staging"_s).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QString builtName() const { return readAgentGroupConfig(destination).value().group.name; }

    QTemporaryDir folder;
    const QString source = folder.filePath(u"Cobblet.app"_s);
    const QString agents = folder.filePath(u"Cobblet Groups"_s);
    const QString destination = agents + u"/Work.app"_s;
    const QStringList built{u"Work.app"_s}; ///< what is left over by a build that succeeds
    const QString stamp = u"1234"_s;
    BundleTools tools;
    FakeLaunchRegistry registry;
    FakeWorkspace workspace;
    IconProvider icons{workspace, 1};
    GroupIconProvider groupIcons{icons, workspace};
    AppGroup work;
};

} // namespace cobblet::test
