#include "model/ConfigManager.h"
#include "model/FirstRunGroups.h"
#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "support/FakeDesktop.h"
#include "support/Test.h"

#include <sys/stat.h>

namespace cobblet {
namespace {

/// "AxyB": a group A with the applications x and y, and a group B without any.
QList<AppGroup> groups(const QString &text)
{
    QList<AppGroup> list;
    for (const QChar c : text) {
        if (c.isUpper()) {
            list.append(AppGroup());
            list.last().name = c;
        } else {
            list.last().apps.append({u"Name"_s, c});
        }
    }
    return list;
}

std::string text(const QList<AppGroup> &groups)
{
    QString text;
    for (const AppGroup &group : groups) {
        text += group.name;
        for (const AppItem &app : group.apps)
            text += app.bundleID;
    }
    return text.toStdString();
}

/// A folder and the preferences that several stores of a test share.
class ConfigManagerTest : public testing::Test {
protected:
    QByteArray onDisk() const { return test::content(file); }
    bool put(const QByteArray &content) const { return test::write(file, content); }
    bool put(const QString &list) const { return put(encodeGroups(groups(list))); }
    std::string saved() const { return text(decodeGroups(onDisk()).value()); }
    std::string inDefaults() const { return text(decodeGroups(defaults.data(groupsKey).value()).value()); }
    QStringList setAside() const
    {
        return QDir(folder).entryList({u"groups.json.corrupt-*"_s}, QDir::AllEntries | QDir::System);
    }

    /// A store that holds these groups.
    ConfigManager &holding(const QString &list)
    {
        put(list);
        store = std::make_unique<ConfigManager>(options, defaults);
        return *store;
    }
    QUuid id(int index) const { return store->groups().at(index).id; }

    const QString groupsKey = u"cobblet_groups"_s, shortcutsKey = u"cobblet_shortcuts"_s;
    QTemporaryDir home;
    const QString folder = home.filePath(u"support/Cobblet"_s), file = folder + u"/groups.json"_s;
    ConfigManager::Options options{.folder = folder, .stillness = 0ms};
    test::FakeDefaults defaults;
    std::unique_ptr<ConfigManager> store;
};

TEST_F(ConfigManagerTest, EachChangeDoesWhatItSays)
{
    struct {
        QString before, after;
        void (*change)(ConfigManager &, QUuid first, QUuid last);
    } const cases[] = {
        {u"ABC"_s, u"BC"_s, [](auto &m, auto first, auto) { m.deleteGroup(first); }},
        {u"ABC"_s, u"BCA"_s, [](auto &m, auto first, auto last) { m.moveGroup(first, last); }},
        {u"ABC"_s, u"CAB"_s, [](auto &m, auto first, auto last) { m.moveGroup(last, first); }},
        {u"Axy"_s, u"Axyz"_s, [](auto &m, auto first, auto) { m.addApps(groups(u"Ayzz"_s)[0].apps, first); }},
        {u"Axyx"_s, u"Ay"_s, [](auto &m, auto first, auto) { m.removeApp(u"x"_s, first); }},
        {u"Aabc"_s, u"Abca"_s, [](auto &m, auto first, auto) { m.moveApp(u"a"_s, u"c"_s, first); }},
        {u"Aabc"_s, u"Acab"_s, [](auto &m, auto first, auto) { m.moveApp(u"c"_s, u"a"_s, first); }},
        {u"AabBc"_s, u"AbBca"_s, [](auto &m, auto first, auto last) { m.moveApp(u"a"_s, first, last); }},
        {u"AabBa"_s, u"AbBa"_s, [](auto &m, auto first, auto last) { m.moveApp(u"a"_s, first, last); }},
        {u"AabB"_s, u"AabB"_s, [](auto &m, auto first, auto) { m.moveApp(u"a"_s, first, QUuid::createUuid()); }},
        {u"AabB"_s, u"AabB"_s, [](auto &m, auto, auto) { m.updateGroup(groups(u"C"_s)[0]); }},
    };
    for (const auto &c : cases) {
        ConfigManager &manager = holding(c.before);
        const QByteArray before = onDisk();
        QSignalSpy changed(&manager, &ConfigManager::groupsChanged);
        c.change(manager, id(0), manager.groups().last().id);
        EXPECT_EQ(text(manager.groups()), c.after.toStdString());
        EXPECT_EQ(changed.count(), c.before != c.after) << c.after.toStdString();
        EXPECT_EQ(onDisk() != before, c.before != c.after);
        EXPECT_EQ(inDefaults(), saved());
    }
}

TEST_F(ConfigManagerTest, NewGroupsTakeTheSmallestFreeDigit)
{
    ConfigManager &manager = holding({});
    for (const AppGroup &group : groups(u"ABCDEFGHIJ"_s))
        manager.addGroup(group);
    EXPECT_EQ(manager.shortcutDigit(id(8)), 9);
    EXPECT_EQ(manager.shortcutDigit(id(9)), std::nullopt);
    manager.deleteGroup(id(3));
    EXPECT_FALSE(manager.groupShortcuts().contains(4));
    manager.addGroup(groups(u"X"_s)[0]);
    EXPECT_EQ(manager.groupShortcuts().value(4), manager.groups().last().id);
    manager.addGroup(manager.groups().at(2));
    EXPECT_EQ(text(manager.groups()), "ABCEFGHIJX") << "a group is not added twice";

    // One that comes back takes its place and what is left of its digits.
    const AppGroup first = manager.groups().first();
    manager.deleteGroup(first.id);
    manager.addGroup(groups(u"Y"_s)[0]);
    manager.restoreGroup(first, 0, {1, 4});
    EXPECT_EQ(text(manager.groups()), "ABCEFGHIJXY");
    EXPECT_EQ(manager.shortcutDigits(first.id), QList<int>()) << "both are taken";
    manager.deleteGroup(id(1));
    manager.deleteGroup(id(1));
    manager.restoreGroup(first, 5, {2});
    EXPECT_EQ(manager.shortcutDigits(first.id), QList<int>()) << "it was never away";
    manager.deleteGroup(first.id);
    manager.restoreGroup(first, 100, {2, 4});
    EXPECT_EQ(text(manager.groups()), "EFGHIJXYA");
    EXPECT_EQ(manager.shortcutDigits(first.id), QList<int>{2});

    const QByteArray map = encodeShortcuts({{4, id(0)}, {5, QUuid::createUuid()}});
    for (const QByteArray &stored : {map, map.chopped(1)}) { // with a group that is unknown; undecodable
        defaults.stored[shortcutsKey] = stored;
        const auto loaded = stored == map ? QMap<int, QUuid>{{4, id(0)}} : QMap<int, QUuid>();
        EXPECT_EQ(ConfigManager(options, defaults).groupShortcuts(), loaded);
        EXPECT_EQ(decodeShortcuts(defaults.data(shortcutsKey).value()).value(), loaded);
    }
}

TEST_F(ConfigManagerTest, NoStoredGroupKeepsTheReservedIdOrThatOfAnother)
{
    QList<AppGroup> list = groups(u"ABC"_s);
    list[0].id = AppGroup::mostUsedID;
    list[2].id = list[1].id;
    put(encodeGroups(list));
    ConfigManager manager(options, defaults);
    manager.addGroup(list[0]);
    EXPECT_EQ(text(manager.groups()), "ABCA");
    EXPECT_EQ(manager.group(AppGroup::mostUsedID), nullptr);
    EXPECT_EQ(manager.groups().at(1).id, list[1].id);
    EXPECT_NE(manager.groups().at(2).id, list[1].id);
    EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
}

TEST_F(ConfigManagerTest, SavesInOrder)
{
    const auto list = groups(u"AB"_s);
    put(encodeGroups(list));
    defaults.stored = {{shortcutsKey, encodeShortcuts({{1, list[1].id}})}};
    QStringList log;
    ConfigManager manager(options, defaults, {[&] { log << u"drop"_s; }, [&] { log << u"refresh"_s; }});
    EXPECT_EQ(log.join(u' ').toStdString(), "drop refresh refresh");

    log.clear();
    QObject::connect(&manager, &ConfigManager::groupsChanged, &manager, [&] { log << u"groups"_s; });
    QObject::connect(&manager, &ConfigManager::groupShortcutsChanged, &manager, [&] { log << u"digits"_s; });
    QObject::connect(&defaults, &UserDefaults::didChange, &manager, [&] { log << u"stored"_s; });
    manager.deleteGroup(list[1].id);
    EXPECT_EQ(log.join(u' ').toStdString(), "groups stored digits stored drop refresh");
}

TEST_F(ConfigManagerTest, ObserversMayMakeChangesOfTheirOwn)
{
    ConfigManager &manager = holding(u"A"_s);
    QObject::connect(&manager, &ConfigManager::groupsChanged, &manager, [&] {
        if (manager.groups().size() < 4)
            manager.addGroup(groups(u"N"_s)[0]);
    });
    manager.renameGroup(id(0), u"B"_s);
    EXPECT_EQ(manager.groupShortcuts().size(), 3);
    EXPECT_EQ(saved() + inDefaults(), "BNNNBNNN");
}

TEST_F(ConfigManagerTest, FollowsAnotherProcessAndPublishesOnlyDifferences)
{
    ConfigManager &first = holding(u"AB"_s);
    int dropped = 0;
    ConfigManager second(options, defaults, {[&] { ++dropped; }, {}});
    QSignalSpy groupsChanged(&second, &ConfigManager::groupsChanged);
    QSignalSpy digitsChanged(&second, &ConfigManager::groupShortcutsChanged);
    dropped = 0;

    for (int i = 1; i <= 3; ++i) {
        first.renameGroup(id(0), QString::number(i));
        EXPECT_TRUE(QTest::qWaitFor([&] { return groupsChanged.count() == i && dropped == i; }, 2000));
        EXPECT_EQ(second.groups(), first.groups());
    }
    first.replaceShortcuts({{7, id(1)}});
    EXPECT_EQ(second.shortcutDigit(id(1)), 7);

    // The same list in other words.
    put("\n" + onDisk() + "\n");
    QTest::qWait(100);
    EXPECT_EQ(groupsChanged.count(), 3);
    EXPECT_EQ(digitsChanged.count(), 1);

    put(u"H"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(second.groups()) == "H"; }, 2000));
    EXPECT_TRUE(second.groupShortcuts().isEmpty()) << "the group of 7 is gone";

    // A deleted folder is made again and followed.
    QDir(folder).removeRecursively();
    first.addGroup(groups(u"X"_s)[0]);
    EXPECT_TRUE(QTest::qWaitFor([&] { return second.groups() == first.groups(); }, 2000));
    EXPECT_EQ(saved(), text(first.groups()));
    put(u"O"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(second.groups()) == "O"; }, 2000));
}

TEST_F(ConfigManagerTest, AFileThatIsHalfWrittenForAnInstantIsNotCorrupt)
{
    const test::Warnings warnings;
    const auto isAnnounced = [&] { return !warnings.lines.filter(u"holds no groups"_s).isEmpty(); };
    options.stillness = 1h;
    ConfigManager &manager = holding(u"A"_s);
    put(u"B"_s); // another program, that knows nothing of the copy
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(manager.groups()) == "B"; }, 2000));
    put(encodeGroups(groups(u"C"_s)).chopped(3));
    QTest::qWait(50);
    manager.addGroup(groups(u"N"_s)[0]);
    EXPECT_EQ(text(manager.groups()), "BN");
    EXPECT_TRUE(setAside().isEmpty() && !isAnnounced());
    put(u"C"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return saved() == "CN"; }, 2000)) << "on top of what was written";

    options.stillness = 1ms;
    holding(u"A"_s);
    put(QByteArray("["));
    EXPECT_TRUE(QTest::qWaitFor(isAnnounced, 2000)) << "it stays so";
    EXPECT_EQ(onDisk(), "[") << "and nobody who may be mending it is disturbed";
}

TEST_F(ConfigManagerTest, WhatAnotherProgramWroteIsNotLostToAnOlderCopy)
{
    options.stillness = 1h; // the copy stays as it is
    ConfigManager &manager = holding(u"A"_s);
    put(u"B"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return text(manager.groups()) == "B"; }, 2000));
    QFile::remove(file); // to be written again
    EXPECT_EQ(inDefaults(), "A");
    manager.addGroup(groups(u"N"_s)[0]);
    EXPECT_EQ(saved() + inDefaults(), "BNBN");

    options.stillness = 1ms;
    ConfigManager &next = holding(u"A"_s);
    QSignalSpy changed(&next, &ConfigManager::groupsChanged);
    put(u"B"_s);
    EXPECT_TRUE(QTest::qWaitFor([&] { return inDefaults() == "B"; }, 2000)) << "soon";
    put(QByteArray("["));
    QTest::qWait(50);
    EXPECT_EQ(text(next.groups()), "B");
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(onDisk(), "[");
}

TEST_F(ConfigManagerTest, DigitsOfAFileThatIsUnfinishedAtTheStartAreKept)
{
    options.stillness = 1h;
    const auto copied = groups(u"A"_s), list = groups(u"C"_s);
    const QByteArray json = encodeGroups(list);
    const QByteArray digits = encodeShortcuts({{4, list[0].id}, {5, QUuid::createUuid()}});
    defaults.stored = {{groupsKey, encodeGroups(copied)}, {shortcutsKey, digits}};
    put(json.chopped(3));
    ConfigManager manager(options, defaults);
    manager.renameGroup(copied[0].id, u"M"_s);
    EXPECT_TRUE(text(manager.groups()) == "M" && manager.groupShortcuts().isEmpty());
    EXPECT_EQ(defaults.data(shortcutsKey), digits);
    put(json);
    EXPECT_TRUE(QTest::qWaitFor([&] { return manager.groups() == list; }, 2000));
    EXPECT_EQ(manager.shortcutDigit(list[0].id), 4);
    EXPECT_EQ(decodeShortcuts(*defaults.data(shortcutsKey)).value(), manager.groupShortcuts()) << "pruned";
}

TEST_F(ConfigManagerTest, AnAgentThatStartsFirstMakesNoGroupsAndTakesTheCopy)
{
    options.makesGroups = false;
    const QByteArray digits = encodeShortcuts({{4, QUuid::createUuid()}});
    defaults.stored[shortcutsKey] = digits;
    EXPECT_TRUE(ConfigManager(options, defaults).groups().isEmpty());
    put(QByteArray("["));
    EXPECT_TRUE(ConfigManager(options, defaults).groups().isEmpty());
    EXPECT_EQ(onDisk(), "[");
    EXPECT_EQ(defaults.stored, (QMap<QString, QVariant>{{shortcutsKey, digits}})) << "nothing is known of it";

    defaults.stored[groupsKey] = encodeGroups(groups(u"Ca"_s));
    ConfigManager agent(options, defaults);
    EXPECT_EQ(saved(), "Ca");
    agent.renameGroup(agent.groups().first().id, u"D"_s);
    EXPECT_EQ(inDefaults(), "Da");
}

TEST_F(ConfigManagerTest, LoadsFileThenDefaultsThenFirstRunAndSetsAsideWhateverElseIsThere)
{
    const QByteArray inFile = encodeGroups(groups(u"Fa"_s)), inCopy = encodeGroups(groups(u"Cb"_s));
    const QByteArray bad = QByteArray(inFile).replace("\"isPinned\":false", "\"isPinned\":0");
    const std::string firstRun = text(firstRunGroups());
    struct {
        std::function<bool()> make;
        std::optional<QByteArray> copy;
        std::string loaded;
        int setAside;
    } const cases[] = {
        {[] { return true; }, {}, firstRun, 0},
        {[] { return true; }, inCopy, "Cb", 0},
        {[&] { return put(inFile); }, inCopy, "Fa", 0},
        {[&] { return put(QByteArray("[]")); }, inCopy, "", 0},
        {[&] { return put(bad); }, inCopy, "Cb", 1},
        {[&] { return put(QByteArray()); }, bad, firstRun, 1},
        {[&] { return put(inFile) && QFile::resize(file, maximumJsonBytes + 1); }, inCopy, "Cb", 1},
        {[&] { return QDir().mkpath(file + u"/inside"_s); }, inCopy, "Cb", 1},
        {[&] { return ::mkfifo(QFile::encodeName(file).constData(), 0600) == 0; }, inCopy, "Cb", 1},
        {[&] { return QFile::link(u"nowhere"_s, file); }, inCopy, "Cb", 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        QDir(folder).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(folder) && c.make());
        const qint64 size = QFileInfo(file).size();
        defaults.stored.clear();
        if (c.copy)
            defaults.stored[groupsKey] = *c.copy;
        ConfigManager manager(options, defaults);
        EXPECT_EQ(text(manager.groups()), c.loaded);
        EXPECT_EQ(decodeGroups(onDisk()).value(), manager.groups());
        EXPECT_EQ(defaults.data(groupsKey), onDisk());
        ASSERT_EQ(setAside().size(), c.setAside);
        EXPECT_TRUE(!c.setAside || QFileInfo(folder + u'/' + setAside().first()).size() == size);

        // And while it runs.
        put(bad);
        manager.replaceGroups(groups(u"X"_s));
        EXPECT_EQ(saved(), "X");
        EXPECT_EQ(setAside().size(), c.setAside + 1);
    }
}

TEST_F(ConfigManagerTest, TellsHowTheFileAndItsSecondCopyAreDoing)
{
    using Level = Availability::Level;
    struct {
        const char *what;
        std::function<void()> damage;
        Level file, copy;
        QString sentence; ///< a part of either
    } const rows[] = {
        {"both are there", [] {}, Level::Works, Level::Works, u"2 groups in %1, written 3 hours ago."_s.arg(file)},
        {"nobody wrote the file yet", [&] { QFile::remove(file); }, Level::Partly, Level::Works, u"stands in"_s},
        {"no copy", [&] { defaults.stored.clear(); }, Level::Works, Level::Partly, u"the next change makes one"_s},
        {"a damaged copy", [&] { defaults.stored[groupsKey] = QByteArray("["); }, Level::Works, Level::Partly,
         u"of no use"_s},
        {"an older copy", [&] { defaults.stored[groupsKey] = encodeGroups(groups(u"C"_s)); }, Level::Works,
         Level::Partly, u"1 group of another time"_s},
        {"a file set aside", [&] { ASSERT_TRUE(put(QByteArray("{")) && cobblet::setAside(file) && put(u"AB"_s)); },
         Level::Partly, Level::Works, u"groups.json.corrupt-"_s},
        {"a folder in the way",
         [&] {
             ASSERT_TRUE(QFile::remove(file) && QDir().mkpath(file + u".tmp"_s));
             store->addGroup(groups(u"C"_s)[0]);
         },
         Level::Not, Level::Works, u"Can't write"_s}};
    options.follows = false;
    for (const auto &row : rows) {
        holding(u"AB"_s);
        QFile written(file);
        ASSERT_TRUE(written.open(QIODevice::ReadWrite));
        written.setFileTime(QDateTime::currentDateTime().addSecs(-3 * 3600 - 60), QFile::FileModificationTime);
        written.close();
        row.damage();
        const auto storage = store->storage();
        EXPECT_EQ(storage[0].availability.level, row.file)
            << row.what << storage[0].availability.sentence.toStdString();
        EXPECT_EQ(storage[1].availability.level, row.copy)
            << row.what << storage[1].availability.sentence.toStdString();
        EXPECT_TRUE((storage[0].availability.sentence + storage[1].availability.sentence).contains(row.sentence))
            << row.what << storage[0].availability.sentence.toStdString();
    }
}

TEST_F(ConfigManagerTest, RunsFromMemoryWhereNothingCanBeWritten)
{
    // A file where the folder's parent should be stops even a superuser.
    QFile blocker(home.filePath(u"support"_s));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    ConfigManager manager(options, defaults);
    const AppGroup first = manager.groups().first();
    manager.renameGroup(first.id, u"M"_s);
    manager.addGroup(groups(u"N"_s)[0]);
    EXPECT_EQ(inDefaults(), text(manager.groups()));

    // Once the file can be reached, what another process wrote there and what was kept in memory are both in it.
    blocker.remove();
    put(encodeGroups(groups(u"T"_s) + QList{first}));
    manager.removeApp(first.apps.first().bundleID, first.id);
    EXPECT_EQ(saved().front(), 'T');
    EXPECT_EQ(manager.group(first.id)->name, u"M"_s);
    EXPECT_EQ(saved().back(), 'N');
}

TEST_F(ConfigManagerTest, AProcessThatNeverLetsTheLockGoKeepsNobodyWaitingForEver)
{
    ConfigManager &manager = holding(u"A"_s);
    {
        const FileLock stopped(file + u".lock"_s);
        ASSERT_TRUE(stopped.isHeld());
        manager.renameGroup(id(0), u"M"_s);
        EXPECT_EQ(text(manager.groups()), "M");
        EXPECT_EQ(saved(), "A") << "what the holder is about to write is not touched";
    }
    manager.setPinned(id(0), true);
    EXPECT_EQ(saved(), "M");
}

} // namespace
} // namespace cobblet
