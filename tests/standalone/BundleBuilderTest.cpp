#include "standalone/BundleFixture.h"
#include "standalone/SmallDisk.h"

#include "platform/FileTree.h"
#include "platform/InfoPlist.h"

#include <QProcess>

#include <thread>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace cobblet {
namespace {

using test::read;
using test::write;

class BundleBuilderTest : public test::BundleTest {
protected:
    QString build(const AppGroup &group, const QString &at)
    {
        return described(BundleBuilder(services()).build(group, at));
    }
    QString build() { return build(work, destination); }
    bool isSound(const QString &bundle) const
    {
        return QProcess::execute(tools.codesign, {QStringLiteral("--verify"), QStringLiteral("--strict"), bundle}) ==
               0;
    }
    static ino_t inode(const QString &path)
    {
        struct stat status {};
        ::stat(path.toLocal8Bit().constData(), &status);
        return status.st_ino;
    }
    /// A stand-in for a tool, in the shell's language.
    QString tool(const QByteArray &script)
    {
        const QString path = folder.filePath(QStringLiteral("tool"));
        write(path, "#!/bin/sh\n" + script, true);
        return path;
    }
};

TEST_F(BundleBuilderTest, ABundleHasTheGroupsIdentityAndIsSigned)
{
    work.name = QStringLiteral("Work \"1\" \x01<&>");
    ASSERT_EQ(build(), QStringLiteral("ok"));
    const auto plist = InfoPlist::read(destination);
    ASSERT_TRUE(plist && plist.value());
    EXPECT_EQ(plist.value()->text("CFBundleIdentifier"), agentIdentifier(work.id));
    EXPECT_EQ(plist.value()->text("CFBundleDisplayName"), QStringLiteral("Work \"1\" <&>"));
    EXPECT_EQ(plist.value()->text("CFBundleName"), plist.value()->text("CFBundleDisplayName"));
    EXPECT_EQ(plist.value()->text("CFBundleIconFile"), QStringLiteral("AppIcon"));
    EXPECT_EQ(plist.value()->text("CFBundleExecutable"), QStringLiteral("cobblet"));
    EXPECT_EQ(plist.value()->text("CBBinaryStamp"), stamp);
    const QString xml = read(destination + QStringLiteral("/Contents/Info.plist"));
    EXPECT_FALSE(xml.contains(QStringLiteral("CFBundleIconName")));
    EXPECT_TRUE(xml.simplified().contains(QStringLiteral("<key>LSMultipleInstancesProhibited</key> <false/>")));
    EXPECT_FALSE(QFileInfo::exists(destination + QStringLiteral("/Contents/Resources/Metadata.appintents")));
    const auto config = readAgentGroupConfig(destination);
    ASSERT_TRUE(config);
    EXPECT_EQ(config.value().group, work);
    EXPECT_TRUE(
        read(destination + QStringLiteral("/Contents/Resources/AppIcon.icns")).startsWith(QStringLiteral("icns")));
    EXPECT_TRUE(QFileInfo(destination + QStringLiteral("/Contents/MacOS/cobblet")).isExecutable());
    EXPECT_TRUE(isSound(destination));
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));
}

TEST_F(BundleBuilderTest, ARebuiltBundleIsTheSameFolderAndHoldsNothingOfBefore)
{
    ASSERT_EQ(build(), QStringLiteral("ok"));
    const ino_t before = inode(destination);
    write(destination + QStringLiteral("/Contents/Resources/stale"), "of an earlier version");
    work.name = QStringLiteral("Office");
    ASSERT_EQ(build(), QStringLiteral("ok"));
    EXPECT_EQ(inode(destination), before);
    EXPECT_FALSE(QFileInfo::exists(destination + QStringLiteral("/Contents/Resources/stale")));
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CFBundleName"), work.name);
    EXPECT_TRUE(isSound(destination));
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));
}

TEST_F(BundleBuilderTest, AFailureLeavesWhatWasThere)
{
    struct Row {
        const char *what;
        std::function<void()> spoil;
        QString expected; ///< the beginning
        bool firstBuildToo = true;
    };
    const Row rows[] = {
        {"signing is made to fail", [] { qputenv("CB_SIMULATE_SIGN_FAILURE", ""); },
         QStringLiteral("codesign exited with status 1 — simulated failure (CB_SIMULATE_SIGN_FAILURE)")},
        {"the signing tool is missing", [this] { tools.codesign = QStringLiteral("/none/codesign"); },
         QStringLiteral("/none/codesign is missing or not executable on this Mac")},
        {"signing fails", [this] { tools.codesign = tool("echo broken; echo badly >&2; exit 3"); },
         QStringLiteral("codesign exited with status 3 — broken\nbadly")},
        {"the check fails", [this] { tools.codesign = tool("test \"$1\" != --verify"); },
         QStringLiteral("codesign --verify exited with status 1")},
        {"the signing tool is killed", [this] { tools.codesign = tool("kill -9 $$"); },
         QStringLiteral("codesign exited with status 137")},
        {"the program's Info.plist is missing",
         [this] { QFile::remove(source + QStringLiteral("/Contents/Info.plist")); }, QStringLiteral("Can't read")},
        {"the program holds what can't be copied",
         [this] { ::mkfifo((source + QStringLiteral("/Contents/pipe")).toLocal8Bit().constData(), 0600); },
         QStringLiteral("“") + source + QStringLiteral("/Contents/pipe” can't be copied")},
        {"the program is gone", [this] { QDir(source).removeRecursively(); }, QStringLiteral("“") + source},
        {"rsync is missing", [this] { tools.rsync = QStringLiteral("/none/rsync"); },
         QStringLiteral("The program “/none/rsync” can't be run"), false},
        {"rsync fails half-way",
         [this] {
             tools.rsync = tool("for last; do :; done; cd \"$last/Contents\"; rm Info.plist MacOS/cobblet; "
                                "echo new > MacOS/cobblet; exit 11");
         },
         message(StandaloneError::BundleSyncFailed), false},
        {"rsync takes all away and fails",
         [this] { tools.rsync = tool("for last; do :; done; rm -rf \"$last/Contents\"; exit 12"); },
         message(StandaloneError::BundleSyncFailed), false},
    };
    const BundleTools sound = tools;
    for (const Row &row : rows) {
        for (const bool first : {true, false}) {
            if (first && !row.firstBuildToo)
                continue;
            SCOPED_TRACE(std::string(row.what) + (first ? ", first build" : ", rebuild"));
            ASSERT_TRUE(removeTree(destination) && removeTree(source + QStringLiteral("/Contents/pipe")));
            write(source + QStringLiteral("/Contents/Info.plist"), test::info(QStringLiteral("com.vantor.cobblet")));
            write(source + QStringLiteral("/Contents/MacOS/cobblet"), QByteArray(40'000, 'x'), true);
            tools = sound;
            ino_t before = 0;
            if (!first) {
                ASSERT_EQ(build(), QStringLiteral("ok"));
                before = inode(destination);
            }
            const auto config = readAgentGroupConfig(destination);
            row.spoil();
            AppGroup changed = work;
            changed.name = QStringLiteral("Changed");
            EXPECT_TRUE(build(changed, destination).startsWith(row.expected))
                << build(changed, destination).toStdString();
            qunsetenv("CB_SIMULATE_SIGN_FAILURE");
            tools = sound;
            EXPECT_EQ(leftovers(), first ? QStringList() : QStringList(QStringLiteral("Work.app")));
            if (first)
                continue;
            EXPECT_EQ(inode(destination), before);
            EXPECT_TRUE(isSound(destination));
            EXPECT_EQ(readAgentGroupConfig(destination).value().group, config.value().group);
        }
    }
}

TEST_F(BundleBuilderTest, AFullDiskLeavesTheOldBundleOrNone)
{
    int failures = 0;
    for (const bool first : {true, false}) {
        bool succeeded = false;
        for (int size = 8; !succeeded && size < 4096; size += 24) {
            SCOPED_TRACE(testing::Message() << size << " KiB, first build: " << first);
            QDir().mkpath(agents);
            const test::SmallDisk disk(agents, first ? size : size + 512);
            if (!first) {
                // What is left of the disk is what the rebuild finds.
                ASSERT_EQ(build(), QStringLiteral("ok"));
                write(agents + QStringLiteral("/ballast"), QByteArray(qMax(0, 512 - size) * 1024, 'b'));
            }
            AppGroup changed = work;
            changed.name = QStringLiteral("Changed");
            const QString result = build(changed, destination);
            succeeded = result == QStringLiteral("ok");
            failures += !succeeded;
            QFile::remove(agents + QStringLiteral("/ballast"));
            EXPECT_EQ(leftovers(), first && !succeeded ? QStringList() : QStringList(QStringLiteral("Work.app")))
                << result.toStdString();
            if (!first || succeeded) {
                EXPECT_TRUE(isSound(destination)) << result.toStdString();
                EXPECT_EQ(readAgentGroupConfig(destination).value().group.name, succeeded ? changed.name : work.name);
            }
            ASSERT_TRUE(removeTree(destination));
        }
        EXPECT_TRUE(succeeded);
    }
    EXPECT_GT(failures, 3);
}

TEST_F(BundleBuilderTest, WhatWasNotMadeHereIsLeftAlone)
{
    const QString elsewhere = folder.filePath(QStringLiteral("elsewhere"));
    write(elsewhere + QStringLiteral("/Contents/Info.plist"), test::info(agentIdentifier(work.id)));
    write(elsewhere + QStringLiteral("/precious"), "data");
    struct Row {
        const char *what;
        std::function<void()> put;
    };
    const Row rows[] = {
        {"a link to another folder", [&] { QFile::link(elsewhere, destination); }},
        {"a link to nowhere", [&] { QFile::link(QStringLiteral("/none"), destination); }},
        {"a file", [&] { write(destination, "a file"); }},
        {"somebody's folder", [&] { write(destination + QStringLiteral("/note"), "mine"); }},
        {"another application",
         [&] {
             write(destination + QStringLiteral("/Contents/Info.plist"), test::info(QStringLiteral("org.other")));
         }},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        row.put();
        const QStringList before = leftovers();
        EXPECT_TRUE(build().contains(QStringLiteral("was not made by Cobblet"))) << build().toStdString();
        EXPECT_EQ(leftovers(), before);
        EXPECT_EQ(read(elsewhere + QStringLiteral("/precious")), QStringLiteral("data"));
        ASSERT_TRUE(removeTree(destination));
    }

    // A folder for what is half done that leads elsewhere.
    ASSERT_TRUE(removeTree(agents + QStringLiteral("/.staging")));
    QFile::link(elsewhere, agents + QStringLiteral("/.staging"));
    EXPECT_TRUE(BundleBuilder(services()).recover());
    EXPECT_TRUE(build().contains(QStringLiteral("is a link")));
    EXPECT_EQ(read(elsewhere + QStringLiteral("/precious")), QStringLiteral("data"));
}

TEST_F(BundleBuilderTest, LinksInTheProgramsBundleAreNeverWrittenThrough)
{
    const QString store = folder.filePath(QStringLiteral("store"));
    for (const char *file : {"/Contents/Info.plist", "/Contents/Resources/group-config.json"}) {
        const QString path = source + QLatin1String(file);
        QFile::remove(path);
        const QString kept = store + QLatin1Char('/') + QFileInfo(path).fileName();
        write(kept, test::info(QStringLiteral("com.vantor.cobblet")));
        QFile::link(kept, path);
    }
    ASSERT_EQ(build(), QStringLiteral("ok"));
    for (const char *file : {"Info.plist", "group-config.json"})
        EXPECT_EQ(read(store + QLatin1Char('/') + QLatin1String(file)).toUtf8(),
                  test::info(QStringLiteral("com.vantor.cobblet")));
    EXPECT_EQ(InfoPlist::read(destination).value()->text("CFBundleIdentifier"), agentIdentifier(work.id));
}

TEST_F(BundleBuilderTest, AttributesOfOtherProgramsGoButNotThoseOfWhatALinkLeadsTo)
{
    const QString outside = folder.filePath(QStringLiteral("outside"));
    const QString program = destination + QStringLiteral("/Contents/MacOS/cobblet");
    write(outside, "x");
    QFile::link(outside, source + QStringLiteral("/Contents/Resources/link"));
    ASSERT_EQ(build(), QStringLiteral("ok"));
    const auto attribute = [](const QString &path) {
        return ::getxattr(path.toLocal8Bit().constData(), "user.xdg.origin.url", nullptr, 0);
    };
    for (const QString &path : {outside, program}) {
        ASSERT_EQ(::setxattr(path.toLocal8Bit().constData(), "user.xdg.origin.url", "x", 1, 0), 0);
        ASSERT_EQ(attribute(path), 1);
    }
    ASSERT_EQ(build(), QStringLiteral("ok"));
    EXPECT_EQ(attribute(program), -1);
    EXPECT_EQ(attribute(outside), 1);
}

TEST_F(BundleBuilderTest, AnInfoPlistThatIsNoDictionaryIsLeftAsItIs)
{
    const QByteArray list = "<plist version=\"1.0\"><array><string>x</string></array></plist>";
    write(source + QStringLiteral("/Contents/Info.plist"), list);
    ASSERT_EQ(build(), QStringLiteral("ok"));
    EXPECT_EQ(read(destination + QStringLiteral("/Contents/Info.plist")).toUtf8(), list);
    EXPECT_EQ(readAgentGroupConfig(destination).value().group, work);
}

TEST_F(BundleBuilderTest, ABuildThatWasKilledIsTakenBackAtTheNextStart)
{
    struct Row {
        const char *what;
        std::function<void(const QString &staging)> die; ///< leaves what a process leaves that dies here
        bool keepsOld;
    };
    const AgentsFolder agentsFolder(agents);
    const QString program = destination + QStringLiteral("/Contents/MacOS/cobblet");
    const Row rows[] = {
        {"while the copy is made",
         [&](const QString &staging) { write(staging + QStringLiteral("/Cobblet.app/Contents/MacOS/cobblet"), "x"); },
         true},
        {"before anything is mirrored",
         [&](const QString &staging) { ASSERT_TRUE(agentsFolder.keep(staging, destination)); }, true},
        {"half-way through the mirroring",
         [&](const QString &staging) {
             ASSERT_TRUE(agentsFolder.keep(staging, destination));
             QFile::remove(program);
             write(program, "half of a new one", true);
         },
         true},
        {"while it was put back",
         [&](const QString &staging) {
             ASSERT_TRUE(agentsFolder.keep(staging, destination));
             ASSERT_TRUE(moveTree(destination + QStringLiteral("/Contents"), staging + QStringLiteral("/broken")));
         },
         true},
        {"once all was mirrored",
         [&](const QString &staging) {
             AppGroup changed = work;
             changed.name = QStringLiteral("Changed");
             ASSERT_TRUE(agentsFolder.keep(staging, destination));
             ASSERT_EQ(build(changed, destination), QStringLiteral("ok"));
         },
         false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        ASSERT_EQ(build(), QStringLiteral("ok"));
        const auto staging = agentsFolder.makeStaging();
        ASSERT_TRUE(staging);
        row.die(staging.value());
        EXPECT_TRUE(BundleBuilder(services()).recover());
        EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));
        EXPECT_TRUE(isSound(destination));
        EXPECT_EQ(readAgentGroupConfig(destination).value().group.name,
                  row.keepsOld ? work.name : QStringLiteral("Changed"));
    }
}

TEST_F(BundleBuilderTest, TheFolderListsOnlyWholeBundlesOfItsOwn)
{
    ASSERT_EQ(build(), QStringLiteral("ok"));
    const QString huge = agents + QStringLiteral("/Huge.app/Contents/Resources/group-config.json");
    write(huge, "{\"group\":");
    ASSERT_TRUE(QFile::resize(huge, 100 * 1024 * 1024));
    write(agents + QStringLiteral("/Broken.app/Contents/Resources/group-config.json"), "{");
    write(agents + QStringLiteral("/Other.txt"), "x");
    QFile::link(destination, agents + QStringLiteral("/Link.app"));
    const AgentsFolder agentsFolder(agents);
    ASSERT_EQ(agentsFolder.bundles().size(), 1);
    EXPECT_EQ(agentsFolder.bundles().first().path, destination);

    // A group that was renamed keeps its application where it is.
    work.name = QStringLiteral("Office");
    ASSERT_TRUE(agentsFolder.bundleOf(work));
    EXPECT_EQ(agentsFolder.bundleOf(work)->path, destination);
    EXPECT_EQ(agentsFolder.bundleOf(work)->stamp, stamp);
    EXPECT_FALSE(agentsFolder.bundleOf(AppGroup()));

    ASSERT_TRUE(agentsFolder.discard(destination));
    EXPECT_TRUE(agentsFolder.bundles().isEmpty());
}

TEST_F(BundleBuilderTest, OnlyOneProcessBuildsAtATime)
{
    const QString slow = tool("sleep 0.2; exec " + tools.codesign.toLocal8Bit() + " \"$@\"");
    tools.codesign = slow;
    BundleBuilder one(services()), two(services());
    QString first;
    std::thread other([&] { first = described(one.build(work, destination)); });
    const QString second = described(two.build(work, destination));
    other.join();
    EXPECT_EQ(first, QStringLiteral("ok"));
    EXPECT_EQ(second, QStringLiteral("ok"));
    EXPECT_EQ(leftovers(), QStringList(QStringLiteral("Work.app")));
}

TEST_F(BundleBuilderTest, StoppingEndsTheToolAndTakesTheBuildBack)
{
    tools.codesign = tool("sleep 60 & sleep 60");
    BundleBuilder builder(services());
    QString result;
    std::thread build([&] { result = described(builder.build(work, destination)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    builder.stop();
    build.join();
    EXPECT_TRUE(result.contains(QStringLiteral("about to end"))) << result.toStdString();
    EXPECT_EQ(leftovers(), QStringList());
}

} // namespace
} // namespace cobblet
