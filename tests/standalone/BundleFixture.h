#pragma once

#include "platform/LaunchRegistry.h"
#include "platform/freedesktop/FreedesktopBundleTools.h"
#include "standalone/BundleBuilder.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet::test {

/// Remembers what is registered. Any thread, as the real one.
class FakeLaunchRegistry : public LaunchRegistry {
public:
    Availability availability() const override { return {}; }
    Status registerBundle(const Registration &registration) override
    {
        EXPECT_EQ(registration.icons.size(), 7) << "of the bundle that was built";
        menus.insert(registration.bundle, registration.menu);
        ++registrations;
        return {};
    }
    Status unregisterBundle(const QString &identifier) override
    {
        forgotten.append(identifier);
        return {};
    }
    QStringList registered(const QString &) const override { return agents; }

    QMap<QString, QList<DockMenuItem>> menus; ///< by bundle
    int registrations = 0;
    QStringList forgotten;
    QStringList agents; ///< what is registered
};

inline QString read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QStringLiteral("(no file)");
}

inline void write(const QString &path, const QByteArray &bytes, bool executable = false)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    file.write(bytes);
    if (executable)
        file.setPermissions(file.permissions() | QFile::ExeOwner);
}

inline constexpr const char *infoOf = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleExecutable</key><string>cobblet</string>
<key>CFBundleIconName</key><string>Main</string>
<key>CFBundleIdentifier</key><string>%1</string>
</dict></plist>)";

inline QByteArray info(const QString &identifier)
{
    return QString::fromLatin1(infoOf).arg(identifier).toUtf8();
}

/// A program's bundle, and a folder where agents' bundles are built with the real tools.
class BundleTest : public testing::Test {
protected:
    BundleTest()
    {
        write(source + QStringLiteral("/Contents/Info.plist"), info(QStringLiteral("com.vantor.cobblet")));
        write(source + QStringLiteral("/Contents/MacOS/cobblet"), QByteArray(40'000, 'x'), true);
        write(source + QStringLiteral("/Contents/Resources/Metadata.appintents/actions"), "of the main program");
        QDir().mkpath(agents);
        tools = freedesktop::bundleTools({});
        tools.codesign = QStringLiteral(COBBLET_CODESIGN);
        work.name = QStringLiteral("Work");
        work.emoji = QStringLiteral("🛠");
        work.apps = {{QStringLiteral("Mail"), QStringLiteral("com.apple.mail")}};
    }

    BundleBuilder::Services services() { return {source, stamp, AgentsFolder(agents), tools, registry, groupIcons}; }
    static QString described(const BuildStatus &status) { return status ? QStringLiteral("ok") : status.error(); }
    /// What lies in the folder of the applications, without what is only there to keep others out.
    QStringList leftovers() const
    {
        QStringList names = QDir(agents).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        names.removeAll(QStringLiteral(".staging"));
        names +=
            QDir(agents + QStringLiteral("/.staging")).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
        return names;
    }

    QTemporaryDir folder;
    const QString source = folder.filePath(QStringLiteral("Cobblet.app"));
    const QString agents = folder.filePath(QStringLiteral("Cobblet Groups"));
    const QString destination = agents + QStringLiteral("/Work.app");
    QString stamp = QStringLiteral("1234");
    BundleTools tools;
    FakeLaunchRegistry registry;
    FakeWorkspace workspace;
    IconProvider icons{workspace, 1};
    GroupIconProvider groupIcons{icons, workspace};
    AppGroup work;
};

} // namespace cobblet::test
