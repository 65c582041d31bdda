// Searching the emoji key by key, and opening their picker to its painted frame.
#include "support/FakeDesktop.h"
#include "support/FakeDesktopItems.h"
#include "ui/common/ControlsEngine.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickWindow>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

using namespace cobblet;

namespace {

const QString tables = QStringLiteral(COBBLET_EMOJI_TABLES);

/// Two hundred words as they are typed, in English and in German.
const char *const words =
    "smile happy laugh sad cry angry love heart kiss wink cool party tired sick ghost alien robot cat dog mouse "
    "rabbit fox "
    "bear panda tiger lion horse cow pig frog monkey bird eagle duck owl bat bee bug snail snake turtle fish whale "
    "shark "
    "flower rose tree leaf cactus mushroom apple banana grape melon lemon cherry peach tomato potato carrot corn "
    "bread "
    "cheese meat pizza burger fries taco egg rice soup cake cookie chocolate coffee tea beer wine house office "
    "school "
    "hospital bank hotel church car bus train plane ship rocket bicycle clock sun moon star cloud rain snow fire "
    "water "
    "gift ball trophy medal game music guitar phone laptop printer camera book pencil folder calendar lock "
    "lachen weinen lieben herz kuss feier müde krank geist roboter katze hund maus hase fuchs bär löwe pferd kuh "
    "schwein "
    "frosch affe vogel adler ente eule biene käfer schnecke schlange fisch wal hai blume rose baum blatt pilz apfel "
    "banane "
    "traube melone zitrone kirsche pfirsich tomate kartoffel möhre mais brot käse fleisch suppe kuchen keks "
    "schokolade "
    "kaffee tee bier wein haus büro schule krankenhaus bank hotel kirche auto bus zug flugzeug schiff rakete fahrrad "
    "uhr "
    "sonne mond stern wolke regen schnee feuer wasser geschenk ball pokal medaille spiel musik gitarre telefon "
    "drucker "
    "kamera buch stift ordner kalender schloss schlüssel lupe werkzeug hammer";

/// The time of a key at the 95th percentile, each with a new search as a picker that was just opened has.
void emojiKey(benchmark::State &state)
{
    const QStringList typed = QString::fromUtf8(words).split(QLatin1Char(' '));
    for (auto _ : state) {
        const EmojiFont font;
        EmojiSearch search(tables, {QStringLiteral("de-DE")},
                           [&font](const QString &emoji) { return font.canDraw(emoji); });
        std::vector<qint64> times;
        for (const QString &word : typed)
            for (qsizetype length = 1; length <= word.size(); ++length) {
                QElapsedTimer timer;
                timer.start();
                benchmark::DoNotOptimize(search.find(word.left(length)));
                times.push_back(timer.nsecsElapsed());
            }
        std::sort(times.begin(), times.end());
        state.SetIterationTime(double(times[times.size() * 95 / 100]) / 1e9);
    }
}

/// A window with a button that opens the picker.
struct Room {
    Room()
    {
        QQmlComponent component(&engine);
        component.setData("import Cobblet.Controls\nEmojiPickerButton { selection: '📁' }", QUrl());
        button.reset(qobject_cast<QQuickItem *>(component.create()));
        if (!button)
            qFatal("%s", qPrintable(component.errorString()));
        window.resize(400, 400);
        button->setParentItem(window.contentItem());
        window.show();
        QCoreApplication::processEvents();
    }
    void open()
    {
        QMetaObject::invokeMethod(button.get(), "triggered");
        QEventLoop loop;
        QObject::connect(engine.popovers().window(), &QQuickWindow::frameSwapped, &loop, &QEventLoop::quit,
                         Qt::QueuedConnection);
        loop.exec();
    }
    void close()
    {
        engine.popovers().close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }

    test::FakeDefaults defaults;
    test::FakeAppearance appearance;
    test::FakeMenus menus;
    ThemeManager theme{defaults, appearance};
    ControlsEngine engine{theme, appearance, menus, {tables, defaults}};
    QQuickWindow window;
    std::unique_ptr<QQuickItem> button;
};

void timeOpening(benchmark::State &state, Room &room)
{
    QElapsedTimer timer;
    timer.start();
    room.open();
    state.SetIterationTime(double(timer.nsecsElapsed()) / 1e9);
    room.close();
}

/// With an engine that has not opened it before.
void emojiFirst(benchmark::State &state)
{
    for (auto _ : state) {
        Room room;
        timeOpening(state, room);
    }
}

void emojiAgain(benchmark::State &state)
{
    Room room;
    room.open();
    room.close();
    for (auto _ : state)
        timeOpening(state, room);
}

BENCHMARK(emojiKey)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
BENCHMARK(emojiFirst)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);
BENCHMARK(emojiAgain)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(3);

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
