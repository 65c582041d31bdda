#include "FileDefaults.h"
#include "WriterLists.h"
#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

class ProcessesTest : public testing::Test {
protected:
    std::unique_ptr<QProcess> start(const QStringList &arguments) const
    {
        auto process = std::make_unique<QProcess>();
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QStringLiteral(WRITER), arguments);
        return process;
    }

    /// The number of a stored list; absent when it is no whole list.
    static std::optional<int> numberIn(const QByteArray &json)
    {
        const auto list = decodeGroups(json);
        return list ? test::numberOf(list.value()) : std::nullopt;
    }

    QTemporaryDir home;
    QString folder = home.filePath(QStringLiteral("Cobblet"));
};

TEST_F(ProcessesTest, AKilledProcessLeavesTheOldOrTheNewStateInBothCopies)
{
    constexpr int kills = 500;
    QRandomGenerator random(1);
    int last = 0, apart = 0;
    for (int i = 0; i < kills; ++i) {
        const auto process = start({QStringLiteral("loop"), home.path()});
        ASSERT_TRUE(process->waitForReadyRead(20000));
        QThread::usleep(random.bounded(20000u));
        process->kill();
        ASSERT_TRUE(process->waitForFinished());

        const auto bytes = readBounded(folder + QStringLiteral("/groups.json"), maximumJsonBytes);
        const auto file = bytes ? numberIn(bytes.value()) : std::nullopt;
        const auto defaults = test::makeTestDefaults(home.filePath(QStringLiteral("defaults")));
        const auto copy = numberIn(defaults->data(QStringLiteral("cobblet_groups")).value_or(QByteArray()));
        ASSERT_TRUE(file && copy) << "after kill " << i + 1;
        ASSERT_TRUE(*file == *copy || *file == *copy + 1) << *file << " and " << *copy;
        ASSERT_GT(*file, last) << "a state that was saved is lost";
        last = *file;
        apart += *file != *copy;
    }
    EXPECT_GT(apart, 0) << "no kill came between the two copies";
    // Killed writers leave nothing that piles up.
    EXPECT_LE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 3);
}

TEST_F(ProcessesTest, EveryEditOfFourProcessesIsThere)
{
    const auto defaults = test::makeTestDefaults(home.filePath(QStringLiteral("defaults")));
    ConfigManager manager({folder}, *defaults);
    const qsizetype before = manager.groups().size();
    const qsizetype appsBefore = manager.groups().constFirst().apps.size();

    std::vector<std::unique_ptr<QProcess>> writers;
    QSet<QString> expected;
    for (int w = 0; w < 4; ++w) {
        writers.push_back(start({QStringLiteral("edits"), home.path(), QString::number(w)}));
        for (int i = 0; i < test::editsPerWriter / 2; ++i)
            expected.insert(QStringLiteral("%1 %2").arg(w).arg(i));
    }
    for (const auto &writer : writers) {
        ASSERT_TRUE(writer->waitForFinished(120000));
        EXPECT_EQ(writer->exitCode(), 0);
    }

    const ConfigManager after({folder}, *defaults);
    QSet<QString> groups, apps;
    for (const AppGroup &group : after.groups().sliced(before))
        groups.insert(group.name);
    for (const AppItem &app : after.groups().constFirst().apps.sliced(appsBefore))
        apps.insert(app.bundleID);
    EXPECT_EQ(groups, expected);
    EXPECT_EQ(apps, expected);
    EXPECT_EQ(after.groups().size(), before + expected.size());
    EXPECT_EQ(after.groupShortcuts().size(), 9);
    for (const QUuid &id : after.groupShortcuts())
        EXPECT_TRUE(after.group(id));
}

} // namespace
} // namespace cobblet
