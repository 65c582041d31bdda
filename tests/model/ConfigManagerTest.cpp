#include "model/ConfigManager.h"
#include "model/FirstRunGroups.h"
#include "model/GroupCoding.h"
#include "platform/FileLock.h"
#include "support/FakeDesktop.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

/// "Name:app,app|Name:" as groups, and back.
QList<AppGroup> groups(const char *text)
{
    QList<AppGroup> list;
    for (const QString &part : QString::fromUtf8(text).split(u'|', Qt::SkipEmptyParts)) {
        AppGroup group;
        group.name = part.section(u':', 0, 0);
        for (const QString &app : part.section(u':', 1).split(u',', Qt::SkipEmptyParts))
            group.apps.append({app.toUpper(), app});
        list.append(group);
    }
    return list;
}

std::string text(const QList<AppGroup> &groups)
{
    QString text;
    for (const AppGroup &group : groups) {
        text += (text.isEmpty() ? u""_s : u"|"_s) + group.name + u':';
        for (const AppItem &app : group.apps)
            text += (text.endsWith(u':') ? u""_s : u","_s) + app.bundleID;
    }
    return text.toStdString();
}

/// A folder and the preferences that several stores of a test share.
class ConfigManagerTest : public testing::Test {
protected:
    QByteArray onDisk() const
    {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    void put(const QByteArray &content) const
    {
        QDir().mkpath(folder);
        QFile f(file);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly) && f.write(content) == content.size());
    }
    std::string fileText() const { return text(decodeGroups(onDisk()).value()); }
    std::string inDefaults() const
    {
        return text(decodeGroups(defaults.stored.value(groupsKey).toByteArray()).value());
    }
    QStringList setAside() const
    {
        return QDir(folder).entryList({u"groups.json.corrupt-*"_s},
                                      QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// A store that holds these groups.
    ConfigManager &holding(const char *list)
    {
        put(encodeGroups(groups(list)));
        store = std::make_unique<ConfigManager>(ConfigManager::Options{folder}, defaults);
        return *store;
    }
    QUuid id(int index) const { return store->groups().at(index).id; }

    const QString groupsKey = u"cobblet_groups"_s, shortcutsKey = u"cobblet_shortcuts"_s;
    QTemporaryDir home;
    const QString folder = home.filePath(u"support/Cobblet"_s), file = folder + u"/groups.json"_s;
    test::FakeDefaults defaults;
    std::unique_ptr<ConfigManager> store;
};

TEST_F(ConfigManagerTest, EachChangeDoesWhatItSays)
{
    struct {
        const char *before, *after;
        void (*change)(ConfigManager &, QUuid first, QUuid last);
    } const cases[] = {
        {"A:|B:", "A:|X:", [](auto &m, auto, auto last) { m.renameGroup(last, u"X"_s); }},
        {"A:|B:|C:", "B:|C:", [](auto &m, auto first, auto) { m.deleteGroup(first); }},
        {"A:|B:|C:", "B:|C:|A:", [](auto &m, auto first, auto last) { m.moveGroup(first, last); }},
        {"A:|B:|C:", "C:|A:|B:", [](auto &m, auto first, auto last) { m.moveGroup(last, first); }},
        {"A:x,y", "A:x,y,z",
         [](auto &m, auto first, auto) {
             m.addApps({{{}, u"y"_s}, {{}, u"z"_s}, {{}, u"z"_s}}, first);
         }},
        {"A:x,y,x", "A:y", [](auto &m, auto first, auto) { m.removeApp(u"x"_s, first); }},
        {"A:a,b,c", "A:b,c,a", [](auto &m, auto first, auto) { m.moveApp(u"a"_s, u"c"_s, first); }},
        {"A:a,b,c", "A:c,a,b", [](auto &m, auto first, auto) { m.moveApp(u"c"_s, u"a"_s, first); }},
        {"A:a,b|B:c", "A:b|B:c,a", [](auto &m, auto first, auto last) { m.moveApp(u"a"_s, first, last); }},
        {"A:a,b|B:a", "A:b|B:a", [](auto &m, auto first, auto last) { m.moveApp(u"a"_s, first, last); }},
        {"A:a", "X:|Y:", [](auto &m, auto, auto) { m.replaceGroups(groups("X:|Y:")); }},
        {"A:a,b|B:", "A:a,b|B:",
         [](auto &m, auto first, auto last) {
             const QUuid unknown = QUuid::createUuid();
             m.moveGroup(first, unknown);
             m.removeApp(u"a"_s, unknown);
             m.moveApp(u"a"_s, u"a"_s, first);
             m.moveApp(u"x"_s, u"a"_s, first);
             m.moveApp(u"a"_s, u"x"_s, first);
             m.moveApp(u"x"_s, first, last);
             m.moveApp(u"a"_s, first, first);
             m.moveApp(u"a"_s, first, unknown);
             m.updateGroup(groups("C:")[0]);
         }},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.before << " to " << c.after);
        ConfigManager &manager = holding(c.before);
        const QByteArray before = onDisk();
        QSignalSpy changed(&manager, &ConfigManager::groupsChanged);
        c.change(manager, id(0), manager.groups().last().id);
        const bool differs = std::string(c.before) != c.after;
        EXPECT_EQ(text(manager.groups()), c.after);
        EXPECT_EQ(changed.count(), differs);
        EXPECT_EQ(onDisk() != before, differs);
        EXPECT_EQ(fileText(), c.after);
        EXPECT_EQ(inDefaults(), c.after);
    }
    QList<AppGroup> expected = store->groups();
    expected[0].isPinned = expected[1].isStandalone = true;
    store->setPinned(id(0), true);
    store->setStandalone(id(1), true);
    EXPECT_EQ(store->groups(), expected);
    expected[1].name = u"X"_s;
    store->updateGroup(expected[1]);
    EXPECT_EQ(store->groups(), expected);
}

TEST_F(ConfigManagerTest, NewGroupsTakeTheSmallestFreeDigit)
{
    ConfigManager &manager = holding("");
    for (int i = 1; i <= 10; ++i)
        manager.addGroup(groups("N:")[0]);
    EXPECT_EQ(manager.shortcutDigit(id(0)), 1);
    EXPECT_EQ(manager.shortcutDigit(id(8)), 9);
    EXPECT_EQ(manager.shortcutDigit(id(9)), std::nullopt);

    manager.deleteGroup(id(3));
    EXPECT_FALSE(manager.groupShortcuts().contains(4));
    manager.addGroup(groups("new:")[0]);
    EXPECT_EQ(manager.groupShortcuts().value(4), manager.groups().last().id);
    EXPECT_EQ(ConfigManager({folder}, defaults).groupShortcuts(), manager.groupShortcuts());

    manager.addGroup(manager.groups().at(2));
    EXPECT_EQ(manager.groups().size(), 10) << "a group is not added twice";
}

TEST_F(ConfigManagerTest, NoStoredGroupKeepsTheReservedIdOrThatOfAnother)
{
    QList<AppGroup> list = groups("A:|B:|C:");
    list[0].id = AppGroup::mostUsedID;
    list[2].id = list[1].id;
    put(encodeGroups(list));
    ConfigManager manager({folder}, defaults);
    manager.addGroup(list[0]);
    EXPECT_EQ(text(manager.groups()), "A:|B:|C:|A:");
    EXPECT_EQ(manager.group(AppGroup::mostUsedID), nullptr);
    EXPECT_EQ(manager.groups().at(1).id, list[1].id);
    EXPECT_NE(manager.groups().at(2).id, list[1].id);
    EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
    EXPECT_TRUE(manager.shortcutDigit(manager.groups().last().id));
}

TEST_F(ConfigManagerTest, SavesInOrder)
{
    const auto list = groups("A:|B:");
    put(encodeGroups(list));
    defaults.stored = {{shortcutsKey, encodeShortcuts({{1, list[1].id}})}};
    QStringList log;
    ConfigManager::Hooks hooks;
    hooks.dropGroupIcons = [&] { log << u"drop"_s; };
    hooks.refreshShortcutParameters = [&] { log << u"refresh"_s; };
    ConfigManager manager({folder}, defaults, hooks);
    EXPECT_EQ(log, (QStringList{u"drop"_s, u"refresh"_s, u"refresh"_s}));

    log.clear();
    QObject::connect(&manager, &ConfigManager::groupsChanged, &manager, [&] { log << u"groups"_s; });
    QObject::connect(&manager, &ConfigManager::groupShortcutsChanged, &manager, [&] { log << u"digits"_s; });
    QObject::connect(&defaults, &UserDefaults::didChange, &manager, [&] { log << u"stored"_s; });
    manager.deleteGroup(list[1].id);
    EXPECT_EQ(log, (QStringList{u"groups"_s, u"stored"_s, u"digits"_s, u"stored"_s, u"drop"_s, u"refresh"_s}));
}

TEST_F(ConfigManagerTest, ObserversMayMakeChangesOfTheirOwn)
{
    ConfigManager &manager = holding("A:");
    QObject::connect(&manager, &ConfigManager::groupsChanged, &manager, [&] {
        if (manager.groups().size() < 4)
            manager.addGroup(groups("N:")[0]);
    });
    manager.renameGroup(id(0), u"B"_s);
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
    ConfigManager second({folder}, defaults, hooks);
    QSignalSpy groupsChanged(&second, &ConfigManager::groupsChanged);
    QSignalSpy digitsChanged(&second, &ConfigManager::groupShortcutsChanged);
    dropped = 0;

    for (int i = 1; i <= 3; ++i) {
        first.renameGroup(id(0), QString::number(i));
        EXPECT_TRUE(QTest::qWaitFor([&] { return groupsChanged.count() == i; }, 200));
        EXPECT_EQ(second.groups(), first.groups());
        EXPECT_EQ(dropped, i);
    }
    first.replaceShortcuts({{7, id(1)}});
    EXPECT_EQ(second.shortcutDigit(id(1)), 7);
    EXPECT_EQ(digitsChanged.count(), 1);

    // The same list in other words, and a folder that changes beside it.
    put("\n" + onDisk() + "\n");
    put(onDisk());
    QDir(folder).mkdir(u"other"_s);
    QTest::qWait(100);
    EXPECT_EQ(groupsChanged.count(), 3);
    EXPECT_EQ(digitsChanged.count(), 1);

    // Written in place by hand, with a state in between that does not decode.
    put(encodeGroups(groups("By hand:")).chopped(3));
    QTest::qWait(50);
    EXPECT_EQ(text(second.groups()), "3:|B:");
    put(encodeGroups(groups("By hand:")));
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(second.groups()) == "By hand:"; }, 2000));
    EXPECT_TRUE(setAside().isEmpty()) << "nothing was overwritten";
}

TEST_F(ConfigManagerTest, LoadsFileThenDefaultsThenFirstRunAndWritesBothCopies)
{
    const QByteArray inFile = encodeGroups(groups("File:a")), inCopy = encodeGroups(groups("Copy:b"));
    const QByteArray bad = QByteArray(inFile).replace("\"isPinned\":false", "\"isPinned\":0");
    const std::string firstRun = text(firstRunGroups());
    struct {
        std::optional<QByteArray> file, copy;
        std::string loaded;
        int setAside;
    } const cases[] = {
        {{}, {}, firstRun, 0},
        {inFile, inCopy, "File:a", 0},
        {{}, inCopy, "Copy:b", 0},
        {bad, inCopy, "Copy:b", 1},
        {bad, bad, firstRun, 1},
        {QByteArray(), {}, firstRun, 1},
        {inFile.chopped(5), {}, firstRun, 1},
        {QByteArray("[]"), inCopy, "", 0},
        {inFile, QByteArray("x"), "File:a", 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        QDir(folder).removeRecursively();
        defaults.stored.clear();
        if (c.file)
            put(*c.file);
        if (c.copy)
            defaults.stored[groupsKey] = *c.copy;
        const ConfigManager manager({folder}, defaults);
        EXPECT_EQ(text(manager.groups()), c.loaded);
        EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
        EXPECT_EQ(defaults.stored.value(groupsKey).toByteArray(), onDisk());
        ASSERT_EQ(setAside().size(), c.setAside);
        if (c.setAside) {
            QFile kept(folder + u'/' + setAside().first());
            EXPECT_TRUE(kept.open(QIODevice::ReadOnly) && kept.readAll() == *c.file);
        }
    }
}

TEST_F(ConfigManagerTest, DropsDigitsOfUnknownGroupsAndAnUndecodableMap)
{
    const auto list = groups("A:|B:");
    put(encodeGroups(list));
    const QByteArray known = "{\"4\":\"" + uuidText(list[0].id).toLatin1() + "\",";
    for (const auto &[stored, loaded] : std::initializer_list<std::pair<QByteArray, QMap<int, QUuid>>>{
             {known + "\"5\":\"0F8FAD5B-D9CB-469F-A165-70867728950E\"}", {{4, list[0].id}}}, {known + "}", {}}}) {
        defaults.stored[shortcutsKey] = stored;
        EXPECT_EQ(ConfigManager({folder}, defaults).groupShortcuts(), loaded);
        EXPECT_EQ(decodeShortcuts(defaults.stored.value(shortcutsKey).toByteArray()).value(), loaded);
    }
}

TEST_F(ConfigManagerTest, SetsAsideWhateverStandsInTheFilesPlace)
{
    for (const auto &make : std::initializer_list<std::function<bool()>>{
             [&] { return QDir().mkpath(file + u"/inside"_s); },
             [&] { return ::mkfifo(QFile::encodeName(file).constData(), 0600) == 0; },
             [&] { return QFile::link(u"nowhere"_s, file); },
             [&] { return QFile(file).open(QIODevice::WriteOnly) && QFile::resize(file, maximumJsonBytes + 1); }}) {
        QDir(folder).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(folder) && make());
        defaults.stored = {{groupsKey, encodeGroups(groups("Copy:"))}};
        ConfigManager manager({folder}, defaults);
        EXPECT_EQ(text(manager.groups()), "Copy:");
        EXPECT_EQ(fileText(), "Copy:");
        EXPECT_EQ(setAside().size(), 1);
        put("and while running too");
        manager.renameGroup(manager.groups()[0].id, u"X"_s);
        EXPECT_EQ(fileText(), "X:");
        EXPECT_EQ(setAside().size(), 2);
    }
}

TEST_F(ConfigManagerTest, ADeletedFileOrFolderIsWrittenAgain)
{
    ConfigManager &manager = holding("A:|B:");
    QDir(folder).removeRecursively();
    manager.renameGroup(id(0), u"X"_s);
    EXPECT_EQ(fileText(), "X:|B:");
    // And the new folder is followed.
    QTest::qWait(20);
    put(encodeGroups(groups("Other:")));
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(manager.groups()) == "Other:"; }, 2000));
}

TEST_F(ConfigManagerTest, RunsFromMemoryWhereNothingCanBeWritten)
{
    // A file where the folder's parent should be stops even a superuser.
    QFile blocker(home.filePath(u"support"_s));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ConfigManager manager({folder}, defaults);
    manager.renameGroup(manager.groups()[0].id, u"Mine"_s);
    manager.addGroup(groups("New:")[0]);
    EXPECT_EQ(manager.groups().size(), 4);
    EXPECT_EQ(inDefaults(), text(manager.groups()));

    // Once the file can be reached, what another process wrote there and what was kept in memory are both in it.
    const QUuid first = manager.groups()[0].id;
    blocker.remove();
    auto theirs = groups("Theirs:");
    theirs.append(manager.groups()[0]);
    theirs[1].name = u"Old"_s;
    put(encodeGroups(theirs));
    manager.addApps({{u"X"_s, u"x"_s}}, first);
    EXPECT_EQ(text(manager.groups()).substr(0, 8), "Theirs:|");
    EXPECT_EQ(manager.group(first)->name, u"Mine"_s);
    EXPECT_EQ(manager.groups().last().name, u"New"_s);
    EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
}

TEST_F(ConfigManagerTest, AProcessThatNeverLetsTheLockGoKeepsNobodyWaitingForEver)
{
    ConfigManager &manager = holding("A:");
    {
        const FileLock stopped(file + u".lock"_s);
        ASSERT_TRUE(stopped.isHeld());
        manager.renameGroup(id(0), u"Mine"_s);
        EXPECT_EQ(text(manager.groups()), "Mine:");
        EXPECT_EQ(fileText(), "A:") << "what the holder is about to write is not touched";
    }
    manager.addApps({{u"X"_s, u"x"_s}}, id(0));
    EXPECT_EQ(fileText(), "Mine:x");
}

} // namespace
} // namespace cobblet
