#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"
#include "platform/portable/FileUserDefaults.h"
#include "support/Test.h"

#include <QRandomGenerator>
#include <QThread>

#include <sys/wait.h>
#include <unistd.h>

namespace cobblet {
namespace {

/// A list in which every value comes from the number, and whose length changes with it.
QList<AppGroup> numberedList(int number)
{
    AppGroup group;
    group.id = QUuid(uint(number), 1, 1, 1, 1, 1, 1, 1, 1, 1, 1);
    group.name = QString::number(number);
    group.apps.fill({group.name, group.name}, 400 + number % 7 * 50);
    return {group};
}

/// The number that a list was made from; 0 for any other list.
int numberOf(const QList<AppGroup> &list)
{
    const int number = list.isEmpty() ? 0 : list.constFirst().name.toInt();
    return list == numberedList(number) ? number : 0;
}

class ProcessesTest : public testing::Test {
protected:
    /// Starts a process that does `work` with a store and preferences of its own.
    template<class Work>
    pid_t start(Work work) const
    {
        const pid_t pid = ::fork();
        if (pid == 0) {
            FileUserDefaults defaults(home.path(), u"test"_s);
            ConfigManager manager({folder}, defaults);
            work(manager, defaults);
            ::_exit(0);
        }
        return pid;
    }

    QTemporaryDir home;
    const QString folder = home.filePath(u"Cobblet"_s);
};

TEST_F(ProcessesTest, AKilledProcessLeavesTheOldOrTheNewStateInBothCopies)
{
    QRandomGenerator random(1);
    int last = 0, apart = 0, ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    for (int kill = 1; kill <= 500; ++kill) {
        const pid_t writer = start([&](ConfigManager &manager, UserDefaults &) {
            for (int number = last + 1;; ++number) {
                manager.replaceGroups(numberedList(number));
                if (number == last + 2 && ::write(ready[1], "", 1) != 1)
                    return;
            }
        });
        char byte;
        ASSERT_EQ(::read(ready[0], &byte, 1), 1);
        QThread::usleep(random.bounded(20000u));
        ::kill(writer, SIGKILL);
        ASSERT_EQ(::waitpid(writer, nullptr, 0), writer);

        const auto bytes = readBounded(folder + u"/groups.json"_s, maximumJsonBytes);
        const auto copied = FileUserDefaults(home.path(), u"test"_s).data(u"cobblet_groups"_s);
        ASSERT_TRUE(bytes && copied);
        const int file = numberOf(decodeGroups(bytes.value()).value());
        const int copy = numberOf(decodeGroups(*copied).value());
        ASSERT_GT(file, last + 1) << "a state that was saved is lost, after kill " << kill;
        ASSERT_TRUE(file == copy || file == copy + 1) << file << " and " << copy;
        last = file;
        apart += file != copy;
    }
    EXPECT_GT(apart, 0) << "no kill came between the two copies";
    // Killed writers leave nothing that piles up.
    EXPECT_LE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 3);
}

TEST_F(ProcessesTest, EveryEditOfFourProcessesIsThere)
{
    FileUserDefaults defaults(home.path(), u"test"_s);
    const QList<AppGroup> before = ConfigManager({folder}, defaults).groups();
    QStringList expected;
    QList<pid_t> writers;
    for (int w = 0; w < 4; ++w) {
        QStringList names;
        for (int i = 0; i < 100; ++i)
            names.append(u"%1 %2"_s.arg(w).arg(i));
        expected += names;
        writers.append(start([&](ConfigManager &manager, UserDefaults &own) {
            for (const QString &name : names) {
                manager.addApps({{name, name}}, before.first().id);
                AppGroup group;
                group.name = name;
                manager.addGroup(group);
                if (!own.set(name, 1))
                    ::_exit(1);
            }
        }));
    }
    for (const pid_t writer : writers) {
        int status = -1;
        ASSERT_EQ(::waitpid(writer, &status, 0), writer);
        EXPECT_EQ(status, 0);
    }

    const ConfigManager after({folder}, defaults);
    QStringList groups, apps;
    for (const AppGroup &group : after.groups().sliced(before.size()))
        groups.append(group.name);
    for (const AppItem &app : after.groups().constFirst().apps.sliced(before.first().apps.size()))
        apps.append(app.bundleID);
    EXPECT_TRUE(std::ranges::all_of(expected, [&](auto &name) { return defaults.contains(name); }));
    EXPECT_TRUE(std::ranges::is_permutation(groups, expected));
    EXPECT_TRUE(std::ranges::is_permutation(apps, expected));
    EXPECT_EQ(after.groupShortcuts().size(), 9);
}

} // namespace
} // namespace cobblet
