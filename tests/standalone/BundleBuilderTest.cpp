#include "standalone/BundleFixture.h"

#include "platform/FileTree.h"
#include "platform/InfoPlist.h"
#include "standalone/AgentGroup.h"
#include "standalone/AgentMenu.h"

#include <QProcess>
#include <QRegularExpression>
#include <QSet>

#include <csignal>
#include <thread>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace cobblet {
namespace {

using test::content;
using test::write;

class BundleBuilderTest : public test::BundleTest {
protected:
    /// "ok", or what went wrong.
    QString build(const QString &name = u"Work"_s)
    {
        work.name = name;
        BundleBuilder builder(services());
        return sync(builder);
    }
    QString sync(BundleBuilder &builder) const
    {
        const BuildStatus status = builder.sync(work, destination);
        return status ? u"ok"_s : status.error();
    }
    bool isSound() const
    {
        return QProcess::execute(tools.codesign, {u"--verify"_s, u"--strict"_s, destination}) == 0;
    }
    ino_t inode() const
    {
        struct stat status {};
        return ::stat(destination.toLocal8Bit().constData(), &status) == 0 ? status.st_ino : 0;
    }
    /// A stand-in for a tool, in the shell's language.
    QString tool(const QByteArray &script)
    {
        const QString path = folder.filePath(u"tool"_s);
        test::writeProgram(path, script);
        return path;
    }

    const QString plist = u"/Contents/Info.plist"_s;
    const QString program = u"/Contents/MacOS/cobblet"_s;
};

TEST_F(BundleBuilderTest, ABundleHasTheGroupsIdentityIsSignedAndStaysTheSameFolder)
{
    ASSERT_EQ(build(u"Work \"1\" \x01<&>"_s), u"ok"_s);
    const auto info = InfoPlist::read(destination).value();
    EXPECT_EQ(info->text("CFBundleIdentifier"), agentIdentifier(work.id));
    EXPECT_EQ(info->text("CFBundleName"), u"Work \"1\" <&>"_s);
    EXPECT_EQ(info->text("CBBinaryStamp"), stamp);
    EXPECT_EQ(readAgentGroupConfig(destination).value().group, work);
    EXPECT_TRUE(isSound());

    const ino_t before = inode();
    write(destination + u"/Contents/Resources/stale"_s, "of an earlier version");
    ASSERT_EQ(build(u"Office"_s), u"ok"_s);
    EXPECT_EQ(inode(), before);
    EXPECT_TRUE(isSound() && builtName() == u"Office"_s);
    EXPECT_EQ(QDir(destination + u"/Contents/Resources"_s).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              (QStringList{u"AppIcon.icns"_s, u"emoji"_s, u"group-config.json"_s}));
    EXPECT_EQ(QFileInfo(destination + u"/Contents/Resources/emoji"_s).symLinkTarget(),
              source + u"/Contents/Resources/emoji"_s)
        << "not copied for each group";
    EXPECT_EQ(leftovers(), built);
}

TEST_F(BundleBuilderTest, AFailureLeavesWhatWasThere)
{
    // What is spoilt, and what is told.
    const std::pair<std::function<void()>, QString> rows[] = {
        {[this] { tools.codesign = u"/none/codesign"_s; }, u"/none/codesign is missing or not"_s},
        {[this] { tools.codesign = tool("echo broken; echo badly >&2; exit 3"); }, u"status 3 — broken\nbadly"_s},
        {[this] { tools.codesign = tool("test \"$1\" != --verify"); }, u"--verify exited with status 1"_s},
        {[this] { tools.codesign = tool("yes | head -c 10000000; kill -9 $$"); }, u"status 137 — y"_s},
        {[this] {
             tools.rsync =
                 tool("for last; do :; done; cd \"$last/Contents/MacOS\"; rm cobblet; echo half > cobblet; exit 11");
         },
         message(BuildFailure(StandaloneError::BundleSyncFailed))},
        {[this] { QFile::remove(source + plist); }, u"Can't read"_s},
    };
    const BundleTools sound = tools;
    tools.codesign = u"/bin/false"_s;
    EXPECT_TRUE(build() != u"ok"_s && leftovers().isEmpty());
    tools = sound;
    ASSERT_EQ(build(), u"ok"_s);
    const ino_t before = inode();
    for (const auto &[spoil, expected] : rows) {
        spoil();
        EXPECT_TRUE(build(u"Changed"_s).contains(expected)) << expected.toStdString();
        tools = sound;
        EXPECT_EQ(leftovers(), built);
        EXPECT_TRUE(inode() == before && isSound() && builtName() == u"Work"_s) << expected.toStdString();
    }
}

TEST_F(BundleBuilderTest, FilesThatCanNotBeWrittenWholeLeaveTheOldBundleOrNone)
{
    // A bound on the size of files stops every write in this process and its tools as a full disk does, for any user.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit unlimited{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    int failures = 0;
    for (const bool first : {true, false}) {
        ASSERT_TRUE(removeTree(destination));
        ASSERT_TRUE(first || build() == u"ok"_s);
        bool succeeded = false;
        for (rlim_t bytes = 16; !succeeded && bytes < 64 * 1024 * 1024; bytes *= 2) {
            SCOPED_TRACE(testing::Message() << bytes << " bytes, first build: " << first);
            const rlimit bounded{bytes, unlimited.rlim_max};
            ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &bounded), 0);
            succeeded = build(u"Changed"_s) == u"ok"_s;
            ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
            failures += !succeeded;
            EXPECT_EQ(leftovers(), first && !succeeded ? QStringList() : built);
            if (!first || succeeded) {
                EXPECT_TRUE(isSound() && builtName() == (succeeded ? u"Changed"_s : u"Work"_s));
            }
        }
        EXPECT_TRUE(succeeded);
    }
    EXPECT_GT(failures, 3);
}

TEST_F(BundleBuilderTest, WhatWasNotMadeHereIsLeftAlone)
{
    const QString elsewhere = folder.filePath(u"elsewhere"_s);
    write(elsewhere + plist, test::info(agentIdentifier(work.id)));
    for (const auto &put : std::initializer_list<std::function<void()>>{
             [&] { QFile::link(elsewhere, destination); }, [&] { write(destination, "a file"); },
             [&] { write(destination + plist, test::info(u"org.other"_s)); }}) {
        put();
        const QStringList before = leftovers();
        const QString told = build();
        EXPECT_TRUE(told.contains(u"was not made by Cobblet"_s)) << told.toStdString();
        EXPECT_EQ(leftovers(), before);
        ASSERT_TRUE(removeTree(destination));
    }
    ASSERT_TRUE(removeTree(agents + u"/.staging"_s));
    QFile::link(elsewhere, agents + u"/.staging"_s);
    EXPECT_TRUE(BundleBuilder(services()).recover());
    EXPECT_TRUE(build().contains(u"is a link"_s));
    EXPECT_EQ(content(elsewhere + plist), test::info(agentIdentifier(work.id)));
}

TEST_F(BundleBuilderTest, LinksAreNeverFollowed)
{
    const QByteArray stored = test::info(u"com.vantor.cobblet"_s);
    const QString outside = folder.filePath(u"outside"_s);
    write(outside, stored);
    for (const char *file : {"/Contents/Info.plist", "/Contents/Resources/group-config.json", "/Contents/link"}) {
        QFile::remove(source + QLatin1String(file));
        QFile::link(outside, source + QLatin1String(file));
    }
    ASSERT_EQ(build(), u"ok"_s);
    // Attributes of other programs go, but not those of what a link leads to.
    const char *attribute = "user.xdg.origin.url";
    for (const QString &path : {outside, destination + program})
        ASSERT_EQ(::setxattr(path.toLocal8Bit().constData(), attribute, "x", 1, 0), 0);
    ASSERT_EQ(build(), u"ok"_s);
    EXPECT_EQ(::getxattr((destination + program).toLocal8Bit().constData(), attribute, nullptr, 0), -1);
    EXPECT_EQ(::getxattr(outside.toLocal8Bit().constData(), attribute, nullptr, 0), 1);
    EXPECT_EQ(content(outside), stored);
}

TEST_F(BundleBuilderTest, ABuildThatWasKilledIsTakenBackAtTheNextStart)
{
    const AgentsFolder agentsFolder(agents);
    // What a process leaves that dies there, and whose name is in the bundle afterwards.
    const std::pair<std::function<bool(const QString &staging)>, QString> rows[] = {
        {[&](auto &staging) { return QDir().mkpath(staging + u"/Cobblet.app/Contents"_s); }, u"Work"_s},
        {[&](auto &staging) {
             return agentsFolder.keep(staging, destination) && QFile::remove(destination + program) &&
                    QFile::copy(destination + plist, destination + program);
         },
         u"Work"_s},
        {[&](auto &staging) { // while it was put back
             return agentsFolder.keep(staging, destination) &&
                    moveTree(destination + u"/Contents"_s, staging + u"/broken"_s);
         },
         u"Work"_s},
        {[&](auto &staging) { return agentsFolder.keep(staging, destination) && build(u"Changed"_s) == u"ok"_s; },
         u"Changed"_s},
    };
    for (const auto &[die, name] : rows) {
        ASSERT_EQ(build(), u"ok"_s);
        ASSERT_TRUE(die(agentsFolder.makeStaging().value()));
        EXPECT_TRUE(BundleBuilder(services()).recover());
        EXPECT_EQ(leftovers(), built);
        EXPECT_TRUE(isSound() && builtName() == name);
    }
}

TEST_F(BundleBuilderTest, OnlyOneProcessBuildsAtATime)
{
    tools.codesign = tool("sleep 0.2; exec " + tools.codesign.toLocal8Bit() + " \"$@\"");
    BundleBuilder one(services()), two(services());
    QString first;
    std::thread other([&] { first = sync(one); });
    EXPECT_EQ(sync(two), u"ok"_s);
    other.join();
    EXPECT_EQ(first, u"ok"_s);
    EXPECT_EQ(leftovers(), built);
}

TEST_F(BundleBuilderTest, StoppingEndsTheToolAndTakesTheBuildBack)
{
    tools.codesign = tool("sleep 60 & sleep 60");
    BundleBuilder builder(services());
    QString result;
    std::thread build([&] { result = sync(builder); });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    builder.stop();
    build.join();
    EXPECT_TRUE(result.contains(u"about to end"_s)) << result.toStdString();
    EXPECT_EQ(leftovers(), QStringList());
}

TEST(AgentGroupTest, AGroupsFileNameKeepsTheLettersOfItsName)
{
    AppGroup group;
    const std::pair<QString, QString> rows[] = {
        {u"../x"_s, u"x"_s},
        {u"  My – Töols_2 - ② "_s, u"My  Töols_2 - ②"_s},
        {u"a\"b%c\nd\x01/e"_s, u"abcde"_s},
        {u"🛠 Tools 👩‍💻"_s, u"Tools"_s},
        {u"?!/.."_s, group.id.toString(QUuid::WithoutBraces).toUpper()},
        {QString(300, QChar(0x65e5)), QString(80, QChar(0x65e5))},
    };
    for (const auto &[name, expected] : rows) {
        group.name = name;
        EXPECT_EQ(safeBundleName(group).toStdString(), expected.toStdString()) << name.toStdString();
    }
}

TEST(AgentGroupTest, AConfigIsOneGroupAndNothingElseIs)
{
    AppGroup group;
    group.name = u"Quote \" and 🛠"_s;
    group.apps = {{u"Mail"_s, u"com.apple.mail"_s}};
    EXPECT_EQ(decodeAgentGroupConfig(encode({group})).value().group, group);
    EXPECT_EQ(groupOfAgent(agentIdentifier(group.id)), group.id);
    EXPECT_FALSE(groupOfAgent(agentIdentifier(group.id) + u".x"_s) || groupOfAgent(u"com.vantor.cobblet"_s));

    const QByteArray deep = "{\"group\":" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + '}';
    const QByteArray many = "{\"group\":[" + QByteArray("{},").repeated(400'000) + "{}]}";
    for (const QByteArray &bad : {many, QByteArray(), QByteArray("[]"), QByteArray("{\"group\":{\"name\":\"x\"}}"),
                                  QByteArray("{\"group\""), deep, QByteArray("\xff\xfe{}")})
        EXPECT_FALSE(decodeAgentGroupConfig(bad)) << bad.left(40).toStdString();
}

TEST(AgentMenuTest, EveryApplicationHasAnActionOfItsOwnThatDesktopEntriesCanName)
{
    AppGroup group;
    for (const QString &bundleID : {u"org.a-b"_s, u"org.a.b"_s, u"org.a-2eb"_s, u"Ünïcode"_s, QString(), u"x y"_s})
        group.apps.append({u"name"_s, bundleID});
    const QList<DockMenuItem> menu = agentMenu(group);
    QSet<QString> actions;
    for (const DockMenuItem &item : menu)
        actions.insert(item.action);
    EXPECT_EQ(actions.size(), menu.size());
    EXPECT_FALSE(actions.values().join(u'-').contains(QRegularExpression(u"[^A-Za-z0-9-]"_s)));
}

} // namespace
} // namespace cobblet
