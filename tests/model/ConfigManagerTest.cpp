#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/FileLock.h"
#include "support/FakeDesktop.h"
#include "support/TemporaryHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace cobblet {
namespace {

/// "Name:app,app|Name:" as groups, and back.
QList<AppGroup> groups(const char *text)
{
    QList<AppGroup> list;
    for (const QString &part : QString::fromUtf8(text).split(QLatin1Char('|'), Qt::SkipEmptyParts)) {
        AppGroup group;
        group.name = part.section(QLatin1Char(':'), 0, 0);
        for (const QString &app : part.section(QLatin1Char(':'), 1).split(QLatin1Char(','), Qt::SkipEmptyParts))
            group.apps.append({app.toUpper(), app});
        list.append(group);
    }
    return list;
}

std::string text(const QList<AppGroup> &groups)
{
    QStringList parts;
    for (const AppGroup &group : groups) {
        QStringList apps;
        for (const AppItem &app : group.apps)
            apps.append(app.bundleID);
        parts.append(group.name + QLatin1Char(':') + apps.join(QLatin1Char(',')));
    }
    return parts.join(QLatin1Char('|')).toStdString();
}

/// A folder and the preferences that several stores of a test share.
class ConfigManagerTest : public testing::Test {
protected:
    static QString groupsKey() { return QStringLiteral("cobblet_groups"); }
    static QString shortcutsKey() { return QStringLiteral("cobblet_shortcuts"); }

    ConfigManager::Options options() const { return {folder}; }
    QString file() const { return folder + QStringLiteral("/groups.json"); }

    QByteArray onDisk() const
    {
        QFile f(file());
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    void put(const QByteArray &content) const
    {
        QDir().mkpath(folder);
        QFile f(file());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(content) == content.size());
    }
    std::string inDefaults() const
    {
        return text(decodeGroups(defaults.stored.value(groupsKey()).toByteArray()).value());
    }
    QStringList setAside() const
    {
        return QDir(folder).entryList({QStringLiteral("groups.json.corrupt-*")},
                                      QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// A store that holds these groups.
    ConfigManager &holding(const char *list, const QMap<int, QUuid> &shortcuts = {})
    {
        put(encodeGroups(groups(list)));
        store = std::make_unique<ConfigManager>(options(), defaults);
        if (!shortcuts.isEmpty())
            store->replaceShortcuts(shortcuts);
        return *store;
    }
    QUuid id(int index) const { return store->groups().at(index).id; }

    /// Runs the event loop until the condition holds; how long that took in ms, or -1 after two seconds.
    template<class Condition>
    static qint64 waitFor(Condition condition)
    {
        QElapsedTimer timer;
        timer.start();
        return QTest::qWaitFor(condition, 2000) ? timer.elapsed() : -1;
    }

    test::TemporaryHome home;
    QString folder = home.path(QStringLiteral("support/Cobblet"));
    test::FakeDefaults defaults;
    std::unique_ptr<ConfigManager> store;
};

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

TEST_F(ConfigManagerTest, EachChangeDoesWhatItSays)
{
    const QUuid unknown = QUuid::createUuid();
    using Change = std::function<void(ConfigManager &, const std::function<QUuid(int)> &)>;
    struct {
        const char *name, *before, *after;
        Change change;
    } const cases[] = {
        {"rename", "A:|B:", "A:|X:", [](auto &m, auto id) { m.renameGroup(id(1), s("X")); }},
        {"delete", "A:|B:|C:", "A:|C:", [](auto &m, auto id) { m.deleteGroup(id(1)); }},
        {"move a group down", "A:|B:|C:|D:", "B:|C:|A:|D:", [](auto &m, auto id) { m.moveGroup(id(0), id(2)); }},
        {"move a group up", "A:|B:|C:|D:", "A:|D:|B:|C:", [](auto &m, auto id) { m.moveGroup(id(3), id(1)); }},
        {"move a group to nowhere", "A:|B:", "A:|B:", [&](auto &m, auto id) { m.moveGroup(id(0), unknown); }},
        {"add apps", "A:x,y", "A:x,y,z,w",
         [](auto &m, auto id) {
             m.addApps({{s("Y"), s("y")}, {s("Z"), s("z")}, {s("Z2"), s("z")}, {s("W"), s("w")}}, id(0));
         }},
        {"remove an app wherever it is", "A:x,y,x", "A:y", [](auto &m, auto id) { m.removeApp(s("x"), id(0)); }},
        {"remove an app of no group", "A:x", "A:x", [&](auto &m, auto) { m.removeApp(s("x"), unknown); }},
        {"move an app forward", "A:a,b,c,d", "A:b,c,a,d", [](auto &m, auto id) { m.moveApp(s("a"), s("c"), id(0)); }},
        {"move an app back", "A:a,b,c,d", "A:a,d,b,c", [](auto &m, auto id) { m.moveApp(s("d"), s("b"), id(0)); }},
        {"move an app to itself", "A:a,b", "A:a,b", [](auto &m, auto id) { m.moveApp(s("a"), s("a"), id(0)); }},
        {"move a missing app", "A:a,b", "A:a,b", [](auto &m, auto id) { m.moveApp(s("x"), s("a"), id(0)); }},
        {"move to a missing app", "A:a,b", "A:a,b", [](auto &m, auto id) { m.moveApp(s("a"), s("x"), id(0)); }},
        {"move to another group", "A:a,b|B:c", "A:b|B:c,a",
         [](auto &m, auto id) { m.moveApp(s("a"), id(0), id(1)); }},
        {"move to a group that has it", "A:a,b|B:a", "A:b|B:a",
         [](auto &m, auto id) { m.moveApp(s("a"), id(0), id(1)); }},
        {"move to the same group", "A:a,b", "A:a,b", [](auto &m, auto id) { m.moveApp(s("a"), id(0), id(0)); }},
        {"move to a missing group", "A:a", "A:a", [&](auto &m, auto id) { m.moveApp(s("a"), id(0), unknown); }},
        {"update", "A:|B:", "A:|X:",
         [](auto &m, auto id) {
             AppGroup changed = *m.group(id(1));
             changed.name = s("X");
             m.updateGroup(changed);
         }},
        {"update a missing group", "A:a", "A:a", [](auto &m, auto) { m.updateGroup(groups("B:")[0]); }},
        {"replace all", "A:a", "X:|Y:", [](auto &m, auto) { m.replaceGroups(groups("X:|Y:")); }},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ConfigManager &manager = holding(c.before);
        const QByteArray before = onDisk();
        QSignalSpy changed(&manager, &ConfigManager::groupsChanged);
        c.change(manager, [this](int index) { return id(index); });
        EXPECT_EQ(text(manager.groups()), c.after);
        EXPECT_EQ(changed.count(), std::string(c.before) == c.after ? 0 : 1);
        EXPECT_EQ(onDisk() == before, std::string(c.before) == c.after);
        EXPECT_EQ(text(decodeGroups(onDisk()).value()), c.after);
        EXPECT_EQ(inDefaults(), c.after);
    }
    store->setPinned(id(0), true);
    store->setStandalone(id(1), true);
    EXPECT_TRUE(store->groups().at(0).isPinned && !store->groups().at(1).isPinned);
    EXPECT_TRUE(!store->groups().at(0).isStandalone && store->groups().at(1).isStandalone);
}

TEST_F(ConfigManagerTest, NewGroupsTakeTheSmallestFreeDigit)
{
    ConfigManager &manager = holding("");
    for (int i = 1; i <= 10; ++i)
        manager.addGroup(groups(QByteArray::number(i) + ':')[0]);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(manager.shortcutDigit(id(i)), i + 1);
    EXPECT_EQ(manager.shortcutDigit(id(9)), std::nullopt);

    manager.deleteGroup(id(3));
    EXPECT_FALSE(manager.groupShortcuts().contains(4));
    manager.addGroup(groups("new:")[0]);
    EXPECT_EQ(manager.groupShortcuts().value(4), manager.groups().last().id);
    EXPECT_EQ(ConfigManager(options(), defaults).groupShortcuts(), manager.groupShortcuts());

    const auto before = manager.groups();
    manager.addGroup(before.at(2));
    EXPECT_EQ(manager.groups(), before) << "a group is not added twice";
}

TEST_F(ConfigManagerTest, NoStoredGroupKeepsTheReservedIdOrThatOfAnother)
{
    QList<AppGroup> list = groups("A:|B:|C:");
    list[0].id = AppGroup::mostUsedID;
    list[2].id = list[1].id;
    put(encodeGroups(list));
    ConfigManager manager(options(), defaults);
    EXPECT_EQ(text(manager.groups()), "A:|B:|C:");
    EXPECT_NE(manager.groups().at(0).id, AppGroup::mostUsedID);
    EXPECT_EQ(manager.groups().at(1).id, list[1].id);
    EXPECT_NE(manager.groups().at(2).id, list[1].id);
    EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());

    manager.addGroup(list[0]);
    EXPECT_EQ(manager.group(AppGroup::mostUsedID), nullptr);
    EXPECT_TRUE(manager.shortcutDigit(manager.groups().last().id));
}

TEST_F(ConfigManagerTest, SavesInOrder)
{
    const auto list = groups("A:|B:");
    put(encodeGroups(list));
    defaults.stored = {{shortcutsKey(), encodeShortcuts({{1, list[1].id}})}};
    QStringList log;
    ConfigManager::Hooks hooks;
    hooks.dropGroupIcons = [&] { log << s("drop"); };
    hooks.refreshShortcutParameters = [&] { log << s("refresh"); };
    ConfigManager manager(options(), defaults, hooks);
    EXPECT_EQ(log, (QStringList{s("drop"), s("refresh"), s("refresh")}));

    log.clear();
    QObject context;
    QObject::connect(&manager, &ConfigManager::groupsChanged, &context, [&] { log << s("groups"); });
    QObject::connect(&manager, &ConfigManager::groupShortcutsChanged, &context, [&] { log << s("digits"); });
    QObject::connect(&defaults, &UserDefaults::didChange, &context, [&] { log << s("stored"); });
    manager.deleteGroup(list[1].id);
    EXPECT_EQ(log, (QStringList{s("groups"), s("stored"), s("digits"), s("stored"), s("drop"), s("refresh")}));
}

TEST_F(ConfigManagerTest, ObserversMayMakeChangesOfTheirOwn)
{
    ConfigManager &manager = holding("A:");
    QObject context;
    QObject::connect(&manager, &ConfigManager::groupsChanged, &context, [&] {
        if (manager.groups().size() < 4)
            manager.addGroup(groups("N:")[0]);
    });
    manager.renameGroup(id(0), s("B"));
    EXPECT_EQ(text(manager.groups()), "B:|N:|N:|N:");
    EXPECT_EQ(manager.groupShortcuts().size(), 3);
    EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
    EXPECT_EQ(inDefaults(), text(manager.groups()));
}

TEST_F(ConfigManagerTest, FollowsAnotherProcessWithinTheTimeAndPublishesOnlyDifferences)
{
    ConfigManager &first = holding("A:|B:");
    int dropped = 0;
    ConfigManager::Hooks hooks;
    hooks.dropGroupIcons = [&] { ++dropped; };
    ConfigManager second(options(), defaults, hooks);
    QSignalSpy groupsChanged(&second, &ConfigManager::groupsChanged);
    QSignalSpy digitsChanged(&second, &ConfigManager::groupShortcutsChanged);
    dropped = 0;

    for (int i = 1; i <= 3; ++i) {
        first.renameGroup(id(0), QString::number(i));
        const qint64 ms = waitFor([&] { return groupsChanged.count() == i; });
        EXPECT_TRUE(ms >= 0 && ms < 200) << ms;
        EXPECT_EQ(second.groups(), first.groups());
        EXPECT_EQ(dropped, i);
    }
    first.replaceShortcuts({{7, id(1)}});
    EXPECT_EQ(second.shortcutDigit(id(1)), 7);
    EXPECT_EQ(digitsChanged.count(), 1);

    // The same list in other words, and a folder that changes beside it.
    put("\n" + onDisk() + "\n");
    put(onDisk());
    QDir(folder).mkdir(s("other"));
    QTest::qWait(100);
    EXPECT_EQ(groupsChanged.count(), 3);
    EXPECT_EQ(digitsChanged.count(), 1);

    // Written in place by hand, with a state in between that does not decode.
    put(encodeGroups(groups("By hand:")).chopped(3));
    QTest::qWait(50);
    EXPECT_EQ(text(second.groups()), "3:|B:");
    put(encodeGroups(groups("By hand:")));
    EXPECT_GE(waitFor([&] { return text(second.groups()) == "By hand:"; }), 0);
    EXPECT_TRUE(setAside().isEmpty()) << "nothing was overwritten";
}

constexpr const char *firstRun = "Work:com.apple.mail,com.apple.iCal,com.apple.Notes,com.apple.reminders|"
                                 "Creative:com.apple.Photos,com.apple.Preview|"
                                 "Utilities:com.apple.Terminal,com.apple.ActivityMonitor,com.apple.DiskUtility";

TEST_F(ConfigManagerTest, LoadsFileThenDefaultsThenFirstRunAndWritesBothCopies)
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

TEST_F(ConfigManagerTest, DropsDigitsOfUnknownGroupsAndAnUndecodableMap)
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

TEST_F(ConfigManagerTest, SetsAsideWhateverStandsInTheFilesPlace)
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

TEST_F(ConfigManagerTest, ADeletedFileOrFolderIsWrittenAgain)
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

TEST_F(ConfigManagerTest, RunsFromMemoryWhereNothingCanBeWritten)
{
    // A file where the folder's parent should be stops even a superuser.
    QFile blocker(home.path(QStringLiteral("support")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ConfigManager manager(options(), defaults);
    manager.renameGroup(manager.groups()[0].id, QStringLiteral("Mine"));
    manager.addGroup(groups("New:")[0]);
    EXPECT_EQ(manager.groups()[0].name, QStringLiteral("Mine"));
    EXPECT_EQ(manager.groups().size(), 4);
    EXPECT_EQ(inDefaults(), text(manager.groups()));

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

TEST_F(ConfigManagerTest, AProcessThatNeverLetsTheLockGoKeepsNobodyWaitingForEver)
{
    put(encodeGroups(groups("A:")));
    ConfigManager manager(options(), defaults);
    const QUuid id = manager.groups()[0].id;
    {
        const FileLock stopped(file() + QStringLiteral(".lock"));
        ASSERT_TRUE(stopped.isHeld());
        manager.renameGroup(id, QStringLiteral("Mine"));
        EXPECT_EQ(manager.group(id)->name, QStringLiteral("Mine"));
        EXPECT_EQ(text(decodeGroups(onDisk()).value()), "A:") << "what the holder is about to write is not touched";
    }
    manager.addApps({{QStringLiteral("X"), QStringLiteral("x")}}, id);
    EXPECT_EQ(text(decodeGroups(onDisk()).value()), "Mine:x");
}

} // namespace
} // namespace cobblet
