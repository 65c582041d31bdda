#include "StoreFixture.h"

#include "platform/FileLock.h"

#include <sys/stat.h>

namespace cobblet {
namespace {

using test::groups;
using test::text;

/// What is logged while it lives.
class LogCapture {
public:
    LogCapture() { s_lines.clear(), m_before = qInstallMessageHandler(&LogCapture::take); }
    ~LogCapture() { qInstallMessageHandler(m_before); }
    const QStringList &lines() const { return s_lines; }

private:
    static void take(QtMsgType, const QMessageLogContext &, const QString &line) { s_lines.append(line); }
    static inline QStringList s_lines;
    QtMessageHandler m_before;
};

class ConfigManagerStorageTest : public test::StoreTest {};

constexpr const char *firstRun = "Work:com.apple.mail,com.apple.iCal,com.apple.Notes,com.apple.reminders|"
                                 "Creative:com.apple.Photos,com.apple.Preview|"
                                 "Utilities:com.apple.Terminal,com.apple.ActivityMonitor,com.apple.DiskUtility";

TEST_F(ConfigManagerStorageTest, LoadsFileThenDefaultsThenFirstRunAndWritesBothCopies)
{
    const QByteArray bad =
        R"([{"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","name":"N","emoji":"E","apps":[],"isPinned":"yes"}])";
    const QByteArray inFile = encodeGroups(groups("File:a")), inCopy = encodeGroups(groups("Copy:b"));
    struct {
        const char *name;
        std::optional<QByteArray> file, copy;
        const char *loaded;
        int setAside;
    } const cases[] = {
        {"nothing", {}, {}, firstRun, 0},
        {"file only", inFile, {}, "File:a", 0},
        {"both", inFile, inCopy, "File:a", 0},
        {"copy only", {}, inCopy, "Copy:b", 0},
        {"bad group in the file", bad, inCopy, "Copy:b", 1},
        {"both bad", bad, bad, firstRun, 1},
        {"empty file", QByteArray(), {}, firstRun, 1},
        {"half a file", inFile.chopped(5), {}, firstRun, 1},
        {"no groups", QByteArray("[]"), inCopy, "", 0},
        {"bad copy", inFile, QByteArray("x"), "File:a", 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        QDir(folder).removeRecursively();
        defaults.stored.clear();
        if (c.file)
            put(*c.file);
        if (c.copy)
            defaults.stored[groupsKey()] = *c.copy;
        const ConfigManager manager(options(), defaults);
        EXPECT_EQ(text(manager.groups()), c.loaded);
        EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
        EXPECT_EQ(defaults.stored.value(groupsKey()).toByteArray(), onDisk());
        ASSERT_EQ(setAside().size(), c.setAside);
        if (c.setAside) {
            QFile kept(folder + QLatin1Char('/') + setAside().first());
            EXPECT_TRUE(kept.open(QIODevice::ReadOnly));
            EXPECT_EQ(kept.readAll(), *c.file);
        }
    }
}

TEST_F(ConfigManagerStorageTest, DropsDigitsOfUnknownGroupsAndAnUndecodableMap)
{
    const auto list = groups("A:|B:");
    put(encodeGroups(list));
    const QByteArray a = uuidText(list[0].id).toLatin1();
    struct {
        QVariant stored;
        QMap<int, QUuid> loaded;
    } const cases[] = {
        {QByteArray("{\"4\":\"" + a + "\",\"5\":\"0F8FAD5B-D9CB-469F-A165-70867728950E\"}"), {{4, list[0].id}}},
        {QByteArray("{\"4\":\"" + a + "\",\"five\":\"" + a + "\"}"), {}},
        {QByteArray("{\"4\":\"" + a), {}},
        {QStringLiteral("{}"), {}},
        {qint64(5), {}},
    };
    for (const auto &c : cases) {
        defaults.stored[shortcutsKey()] = c.stored;
        EXPECT_EQ(ConfigManager(options(), defaults).groupShortcuts(), c.loaded);
        EXPECT_EQ(decodeShortcuts(defaults.stored.value(shortcutsKey()).toByteArray()).value(), c.loaded);
    }
}

TEST_F(ConfigManagerStorageTest, SetsAsideWhateverStandsInTheFilesPlace)
{
    const std::pair<const char *, std::function<void()>> cases[] = {
        {"folder", [&] { QDir().mkpath(file() + QStringLiteral("/inside")); }},
        {"pipe", [&] { ::mkfifo(QFile::encodeName(file()).constData(), 0600); }},
        {"dangling link", [&] { QFile::link(QStringLiteral("nowhere"), file()); }},
        {"huge file",
         [&] {
             put("[");
             QFile::resize(file(), maximumJsonBytes + 1);
         }},
    };
    for (const auto &[name, make] : cases) {
        SCOPED_TRACE(name);
        QDir(folder).removeRecursively();
        QDir().mkpath(folder);
        defaults.stored = {{groupsKey(), encodeGroups(groups("Copy:"))}};
        make();
        ConfigManager manager(options(), defaults);
        EXPECT_EQ(text(manager.groups()), "Copy:");
        EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
        EXPECT_EQ(setAside().size(), 1);
        put("and while running too");
        manager.renameGroup(manager.groups()[0].id, QStringLiteral("X"));
        EXPECT_EQ(text(decodeGroups(onDisk()).value()), "X:");
        EXPECT_EQ(setAside().size(), 2);
    }
}

TEST_F(ConfigManagerStorageTest, ADeletedFileOrFolderIsWrittenAgain)
{
    put(encodeGroups(groups("A:|B:")));
    ConfigManager manager(options(), defaults);
    QDir(folder).removeRecursively();
    manager.renameGroup(manager.groups()[0].id, QStringLiteral("X"));
    EXPECT_EQ(text(decodeGroups(onDisk()).value()), "X:|B:");
    // And the new folder is followed.
    QTest::qWait(20);
    put(encodeGroups(groups("Other:")));
    EXPECT_GE(waitFor([&] { return text(manager.groups()) == "Other:"; }), 0);
}

TEST_F(ConfigManagerStorageTest, RunsFromMemoryWhereNothingCanBeWritten)
{
    // A file where the folder's parent should be stops even a superuser.
    QFile blocker(home.path(QStringLiteral("support")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    LogCapture log;
    ConfigManager manager(options(), defaults);
    manager.renameGroup(manager.groups()[0].id, QStringLiteral("Mine"));
    manager.addGroup(groups("New:")[0]);
    EXPECT_EQ(manager.groups()[0].name, QStringLiteral("Mine"));
    EXPECT_EQ(manager.groups().size(), 4);
    EXPECT_EQ(inDefaults(), text(manager.groups()));
    EXPECT_EQ(log.lines().size(), 1) << log.lines().join(QLatin1Char('\n')).toStdString();

    // Once the file can be reached, what another process wrote there and what was kept in memory are both in it.
    const QUuid first = manager.groups()[0].id;
    blocker.remove();
    auto theirs = groups("Theirs:");
    theirs.append(manager.groups()[0]);
    theirs[1].name = QStringLiteral("Old");
    put(encodeGroups(theirs));
    manager.addApps({{QStringLiteral("X"), QStringLiteral("x")}}, first);
    EXPECT_EQ(text(manager.groups()).substr(0, 8), "Theirs:|");
    EXPECT_EQ(manager.group(first)->name, QStringLiteral("Mine"));
    EXPECT_EQ(manager.groups().last().name, QStringLiteral("New"));
    EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
}

TEST_F(ConfigManagerStorageTest, AProcessThatNeverLetsTheLockGoKeepsNobodyWaitingForEver)
{
    put(encodeGroups(groups("A:")));
    ConfigManager manager(options(), defaults);
    const QUuid id = manager.groups()[0].id;
    LogCapture log;
    {
        const FileLock stopped(file() + QStringLiteral(".lock"));
        ASSERT_TRUE(stopped.isHeld());
        manager.renameGroup(id, QStringLiteral("Mine"));
        EXPECT_EQ(manager.group(id)->name, QStringLiteral("Mine"));
        EXPECT_EQ(text(decodeGroups(onDisk()).value()), "A:") << "what the holder is about to write is not touched";
        EXPECT_EQ(log.lines().size(), 1) << log.lines().join(QLatin1Char('\n')).toStdString();
    }
    manager.addApps({{QStringLiteral("X"), QStringLiteral("x")}}, id);
    EXPECT_EQ(text(decodeGroups(onDisk()).value()), "Mine:x");
}

} // namespace
} // namespace cobblet
