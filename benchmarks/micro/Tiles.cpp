// Drawing a group's tile and writing its icon file, beside scaling one tile and writing it as plain files.
#include "model/AppGroup.h"
#include "platform/AtomicFile.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"

#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace cobblet;

namespace {

constexpr int largest = 1024;

struct Tiles {
    test::FakeWorkspace workspace;
    IconProvider icons{workspace, 1};
    GroupIconProvider provider{icons, workspace};
};

AppGroup withEmoji(char32_t emoji)
{
    AppGroup group;
    group.emoji = QString::fromUcs4(&emoji, 1);
    return group;
}

/// A tile whose emoji was drawn before.
void tile(benchmark::State &state)
{
    const Tiles tiles;
    const AppGroup group = withEmoji(U'🎨');
    benchmark::DoNotOptimize(tiles.provider.cgImage(group, largest));
    for (auto _ : state)
        benchmark::DoNotOptimize(tiles.provider.cgImage(group, largest));
}

/// A tile of another emoji every time.
void tileFirst(benchmark::State &state)
{
    const Tiles tiles;
    constexpr int count = 253; // from U+1F400 without a gap
    static int drawn = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(tiles.provider.cgImage(withEmoji(U'🐀' + drawn++ % count), largest));
}

/// The argument is the toolkit's quality, which is how little it compresses.
void iconFilePeer(benchmark::State &state)
{
    const QTemporaryDir folder;
    const QImage image = Tiles().provider.cgImage(withEmoji(U'🎨'), largest);
    for (auto _ : state) {
        for (const int size : {16, 32, 64, 128, 256, 512, 1024}) {
            const QImage scaled = image.scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            if (!scaled.save(folder.filePath(QStringLiteral("%1.png").arg(size)), "PNG", int(state.range(0))))
                qFatal("The temporary folder can't be written.");
        }
    }
}

/// The tile drawn in each of the sizes, and the file flushed to disk.
void iconFile(benchmark::State &state)
{
    const QTemporaryDir folder;
    const Tiles tiles;
    const AppGroup group = withEmoji(U'🎨');
    for (auto _ : state)
        if (!writeAtomically(folder.filePath(QStringLiteral("AppIcon.icns")),
                             encodeIconFile(tiles.provider.images(group))))
            qFatal("The temporary folder can't be written.");
}

BENCHMARK(tile)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(tileFirst)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);
BENCHMARK(iconFilePeer)->Unit(benchmark::kMillisecond)->UseRealTime()->Arg(-1)->Arg(80)->Arg(100);
BENCHMARK(iconFile)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
