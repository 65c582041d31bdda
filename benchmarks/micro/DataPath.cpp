// Loading and saving a large list of groups, beside a document tree of the JSON library doing the same, and what
// the loaded list costs in memory.
#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"
#include "platform/portable/FileUserDefaults.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <malloc.h>

using namespace cobblet;

namespace {

constexpr int groupCount = 1000;
constexpr int appsPerGroup = 50;

QString filePath(const QString &folder)
{
    return folder + QStringLiteral("/groups.json");
}

QList<AppGroup> largeList()
{
    QList<AppGroup> list;
    for (int g = 0; g < groupCount; ++g) {
        AppGroup group;
        group.name = QStringLiteral("Group %1").arg(g);
        group.emoji = QStringLiteral(u"🎨");
        for (int a = 0; a < appsPerGroup; ++a) {
            const QString number = QString::number(g * appsPerGroup + a).rightJustified(5, QLatin1Char('0'));
            group.apps.append(
                {QStringLiteral("Example Application ") + number, QStringLiteral("org.example.app.name") + number});
        }
        list.append(group);
    }
    return list;
}

/// A folder that holds the large list, for the life of the process.
const QString &folder()
{
    static const QTemporaryDir dir;
    static const QString path = dir.path();
    static const bool written = writeAtomically(filePath(path), encodeGroups(largeList())).ok();
    if (!written)
        qFatal("The temporary folder can't be written.");
    return path;
}

// The peer: records as plain as can be, through a document tree.

struct PlainApp {
    std::string name, bundleID;
};
struct PlainGroup {
    std::string id, name, emoji;
    std::vector<PlainApp> apps;
};

std::vector<PlainGroup> peerLoad(const QString &path)
{
    const QByteArray bytes = std::move(readBounded(path, maximumJsonBytes)).value();
    const auto document = nlohmann::ordered_json::parse(bytes.cbegin(), bytes.cend());
    std::vector<PlainGroup> groups;
    for (const auto &group : document) {
        PlainGroup &to = groups.emplace_back(PlainGroup{group["id"], group["name"], group["emoji"], {}});
        for (const auto &app : group["apps"])
            to.apps.push_back({app["name"], app["bundleID"]});
    }
    return groups;
}

void peerSave(const std::vector<PlainGroup> &groups, const QString &path)
{
    auto document = nlohmann::ordered_json::array();
    for (const PlainGroup &group : groups) {
        auto apps = nlohmann::ordered_json::array();
        for (const PlainApp &app : group.apps)
            apps.push_back({{"name", app.name}, {"bundleID", app.bundleID}});
        document.push_back(
            {{"id", group.id}, {"name", group.name}, {"emoji", group.emoji}, {"apps", std::move(apps)}});
    }
    const std::string text = document.dump(2);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.data(), qint64(text.size())) < 0 || !file.commit())
        qFatal("The temporary folder can't be written.");
}

void loadPeer(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(peerLoad(filePath(folder())));
}

void load(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(decodeGroups(readBounded(filePath(folder()), maximumJsonBytes).value()));
}

/// The store from nothing to loaded, both copies checked.
void loadStore(benchmark::State &state)
{
    FileUserDefaults defaults(folder() + QStringLiteral("/defaults"), QStringLiteral("test"));
    for (auto _ : state) {
        auto manager = std::make_unique<ConfigManager>(ConfigManager::Options{folder()}, defaults);
        benchmark::DoNotOptimize(manager->groups().size());
        state.PauseTiming(); // a program has one store, and ends with it
        manager.reset();
        state.ResumeTiming();
    }
}

void encode(benchmark::State &state)
{
    const auto list = largeList();
    for (auto _ : state)
        benchmark::DoNotOptimize(encodeGroups(list));
}

void savePeer(benchmark::State &state)
{
    const QTemporaryDir dir;
    const auto groups = peerLoad(filePath(folder()));
    for (auto _ : state)
        peerSave(groups, filePath(dir.path()));
}

/// The list to text and to one file.
void save(benchmark::State &state)
{
    const QTemporaryDir dir;
    const auto list = largeList();
    for (auto _ : state)
        benchmark::DoNotOptimize(writeAtomically(filePath(dir.path()), encodeGroups(list)).ok());
}

/// One edit in the store: the whole save sequence with both copies, each flushed to disk.
void saveStore(benchmark::State &state)
{
    FileUserDefaults defaults(folder() + QStringLiteral("/defaults"), QStringLiteral("test"));
    ConfigManager manager({folder()}, defaults);
    const QUuid id = manager.groups().constLast().id;
    static int count = 0; // a name that is stored already would be no change
    for (auto _ : state)
        manager.renameGroup(id, QString::number(++count));
}

BENCHMARK(loadPeer)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(load)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(loadStore)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(encode)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(savePeer)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(save)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(saveStore)->Unit(benchmark::kMillisecond)->UseRealTime();

/// Memory of this process's own, in KiB.
qint64 ownMemory()
{
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n'))
        if (line.startsWith("Pss_Anon:"))
            return line.mid(9).simplified().split(' ').first().toLongLong();
    return 0;
}

/// Run in a process of its own, whose heap nothing else has used: how much the loaded store adds.
int printGrowth(const QString &folder)
{
    FileUserDefaults defaults(folder + QStringLiteral("/defaults"), QStringLiteral("test"));
    (void)ownMemory(); // its buffers are no part of the growth
    const qint64 before = ownMemory();
    const ConfigManager manager({folder}, defaults);
    const qint64 loaded = ownMemory();
    ::malloc_trim(0); // as the program does once its first panel is painted
    std::printf("memory growth with %lld groups loaded: %.2f MiB, %.2f MiB before the heap is trimmed\n",
                qlonglong(manager.groups().size()), double(ownMemory() - before) / 1024,
                double(loaded - before) / 1024);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--growth") == 0)
        return printGrowth(QFile::decodeName(argv[2]));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return QProcess::execute(QCoreApplication::applicationFilePath(), {QStringLiteral("--growth"), folder()});
}
