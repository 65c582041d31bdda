#include "StoreFixture.h"

#include <QSignalSpy>

namespace cobblet {
namespace {

using test::groups;
using test::text;

class ConfigManagerTest : public test::StoreTest {
protected:
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

TEST_F(ConfigManagerTest, ChangesOfTwoStoresAreBothKept)
{
    ConfigManager &first = holding("A:a|B:");
    ConfigManager second(options(), defaults);
    // No event is processed in between, so neither has followed the other yet.
    first.addApps({{s("B"), s("b")}}, id(0));
    second.addApps({{s("C"), s("c")}}, id(0));
    first.addGroup(groups("First:")[0]);
    second.addGroup(groups("Second:")[0]);
    first.renameGroup(id(1), s("X"));
    EXPECT_EQ(text(first.groups()), "A:a,b,c|X:|First:|Second:");
    EXPECT_EQ(first.groupShortcuts().size(), 2);
    EXPECT_GE(waitFor([&] { return second.groups() == first.groups(); }), 0);
    EXPECT_EQ(second.groupShortcuts(), first.groupShortcuts());
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

} // namespace
} // namespace cobblet
