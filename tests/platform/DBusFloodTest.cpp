// Callers that send as fast as the bus takes it, and callers that send anything at all.
#include "IntentsFixture.h"
#include "RawClient.h"

#include <QDBusMessage>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

using namespace cobblet;
using namespace cobblet::test;

namespace {

class DBusFloodTest : public IntentsTest {
protected:
    /// Afterwards everything that the bus had for the program is delivered and waits for the event loop.
    void reachProgram()
    {
        const QDBusMessage ask =
            QDBusMessage::createMethodCall(QStringLiteral(DBUS_SERVICE_DBUS), QStringLiteral(DBUS_PATH_DBUS),
                                           QStringLiteral(DBUS_INTERFACE_DBUS), QStringLiteral("GetId"));
        (void)bus->connection().call(ask, QDBus::Block, 120'000);
    }
};

TEST_F(DBusFloodTest, AFloodIsBoundedAndThePanelDoesNotWaitBehindIt)
{
    constexpr int floods = 4, callsOfEach = 2'500;
    intents->serve(requests);
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < floods; ++i) {
        clients.push_back(std::make_unique<RawClient>());
        for (int n = 0; n < callsOfEach; ++n)
            clients.back()->send(RawClient::find("work"));
        clients.back()->reachBus();
    }
    RawClient person;
    person.send(RawClient::activate());
    person.reachBus();
    reachProgram();
    ASSERT_EQ(requests.log, QStringList()) << "the loop has not turned";

    std::map<std::string, int> answers;
    const auto answered = [&] {
        for (const auto &client : clients)
            for (int i = 0; i < 100; ++i)
                client->countAnswers(answers);
        return sum(answers) == floods * callsOfEach;
    };
    EXPECT_TRUE(QTest::qWaitFor(answered, 100'000));
    ASSERT_FALSE(requests.log.isEmpty());
    EXPECT_EQ(requests.log.first(), QStringLiteral("reopen")) << "it came last";
    EXPECT_EQ(requests.log.count(QStringLiteral("find work")), CallQueue::maximumOrdinary);
    EXPECT_EQ(answers[""], CallQueue::maximumOrdinary);
    EXPECT_EQ(answers[DBUS_ERROR_LIMITS_EXCEEDED], floods * callsOfEach - CallQueue::maximumOrdinary);
}

/// How long a request for the panel takes meanwhile is printed and not asserted: most of it is the bus's own time.
TEST_F(DBusFloodTest, ThePanelOpensWhileAFloodGoesOn)
{
    constexpr int rounds = 30;
    intents->serve(requests);
    double longestTurn = 0;
    QElapsedTimer turn;
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, &turns, [&] {
        longestTurn = std::max(longestTurn, double(turn.nsecsElapsed()) / 1e6);
        turn.restart();
    });
    turn.start();
    turns.start(1);

    QProcess floods[2];
    for (QProcess &flood : floods)
        flood.start(QStringLiteral(FLOOD), {QStringLiteral("calls")});
    const auto calls = [&] { return requests.log.count(QStringLiteral("find work")); };
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls() > 1'000; }, 60'000)) << "the flood has begun";
    const qsizetype before = calls();
    QEventLoop loop; // not a wait that sleeps: it turns as the program's does
    QProcess person;
    QObject::connect(&person, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&person, &QProcess::errorOccurred, &loop, &QEventLoop::quit);
    QTimer::singleShot(60'000, &loop, &QEventLoop::quit);
    person.start(QStringLiteral(FLOOD), {QStringLiteral("panel"), QString::number(rounds)});
    loop.exec();

    ASSERT_EQ(person.state(), QProcess::NotRunning);
    EXPECT_EQ(person.exitCode(), 0) << "a request for the panel was refused";
    EXPECT_EQ(requests.log.count(QStringLiteral("reopen")), rounds);
    EXPECT_GT(calls(), before) << "it went on";
    std::printf("%slongest time without a turn of the event loop: %.2f ms\n",
                person.readAllStandardOutput().constData(), longestTurn);
    for (QProcess &flood : floods) {
        flood.kill();
        flood.waitForFinished();
    }
}

/// Appends values of any type, a few levels deep.
class Anything {
public:
    explicit Anything(unsigned seed) : m_random(seed) {}

    int upTo(int bound) { return int(m_random() % unsigned(bound)); }

    void append(DBusMessageIter &out, int depth)
    {
        static const char *const texts[] = {"", "Work", "show:", "\xef\xbf\xbf", "x\ny", "/com/vantor", "a{sv}"};
        const char *text = texts[upTo(7)];
        const dbus_uint32_t number = m_random();
        const double real = number;
        DBusMessageIter inner, entry;
        switch (upTo(depth > 6 ? 3 : 7)) {
        case 0:
            dbus_message_iter_append_basic(&out, DBUS_TYPE_STRING, &text);
            break;
        case 1:
            dbus_message_iter_append_basic(&out, DBUS_TYPE_UINT32, &number);
            break;
        case 2:
            dbus_message_iter_append_basic(&out, DBUS_TYPE_DOUBLE, &real);
            break;
        case 3:
            dbus_message_iter_open_container(&out, DBUS_TYPE_STRUCT, nullptr, &inner);
            for (int i = upTo(4) + 1; i > 0; --i)
                append(inner, depth + 1);
            dbus_message_iter_close_container(&out, &inner);
            break;
        case 4:
            dbus_message_iter_open_container(&out, DBUS_TYPE_ARRAY, "{sv}", &inner);
            for (int i = upTo(4); i > 0; --i) {
                const char *key = texts[upTo(7)];
                dbus_message_iter_open_container(&inner, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
                dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
                boxed(entry, depth);
                dbus_message_iter_close_container(&inner, &entry);
            }
            dbus_message_iter_close_container(&out, &inner);
            break;
        case 5:
            boxed(out, depth);
            break;
        default:
            dbus_message_iter_open_container(&out, DBUS_TYPE_ARRAY, "v", &inner);
            for (int i = upTo(4); i > 0; --i)
                boxed(inner, depth + 1);
            dbus_message_iter_close_container(&out, &inner);
        }
    }

    /// A variant has to say the type before the value is known: any type with a signature that is written down.
    void boxed(DBusMessageIter &out, int depth)
    {
        DBusMessageIter inner, list;
        const char *text = "desktop-startup-id";
        switch (upTo(4)) {
        case 0:
            dbus_message_iter_open_container(&out, DBUS_TYPE_VARIANT, "s", &inner);
            dbus_message_iter_append_basic(&inner, DBUS_TYPE_STRING, &text);
            break;
        case 1:
            dbus_message_iter_open_container(&out, DBUS_TYPE_VARIANT, "aay", &inner);
            dbus_message_iter_open_container(&inner, DBUS_TYPE_ARRAY, "ay", &list);
            for (int i = upTo(3); i > 0; --i) {
                DBusMessageIter bytes;
                const unsigned char data[] = {0xff, 0x00, 0xc3};
                const unsigned char *at = data;
                dbus_message_iter_open_container(&list, DBUS_TYPE_ARRAY, "y", &bytes);
                dbus_message_iter_append_fixed_array(&bytes, DBUS_TYPE_BYTE, &at, 3);
                dbus_message_iter_close_container(&list, &bytes);
            }
            dbus_message_iter_close_container(&inner, &list);
            break;
        case 2:
            dbus_message_iter_open_container(&out, DBUS_TYPE_VARIANT, "av", &inner);
            dbus_message_iter_open_container(&inner, DBUS_TYPE_ARRAY, "v", &list);
            if (depth < 8)
                boxed(list, depth + 1);
            dbus_message_iter_close_container(&inner, &list);
            break;
        default:
            dbus_message_iter_open_container(&out, DBUS_TYPE_VARIANT, "v", &inner);
            depth < 8 ? boxed(inner, depth + 1) : (void)leaf(inner);
        }
        dbus_message_iter_close_container(&out, &inner);
    }

private:
    static bool leaf(DBusMessageIter &out)
    {
        DBusMessageIter inner;
        const dbus_bool_t yes = TRUE;
        dbus_message_iter_open_container(&out, DBUS_TYPE_VARIANT, "b", &inner);
        dbus_message_iter_append_basic(&inner, DBUS_TYPE_BOOLEAN, &yes);
        return dbus_message_iter_close_container(&out, &inner);
    }

    std::mt19937 m_random;
};

TEST_F(DBusFloodTest, AnyMessageIsAnsweredAndChangesNothing)
{
    intents->serve(requests);
    const struct {
        const char *child, *interface, *method;
    } targets[] = {{"", "com.vantor.cobblet.Groups", "Show"},
                   {"", "com.vantor.cobblet.CommandLine", "Run"},
                   {"", "org.freedesktop.Application", "ActivateAction"},
                   {"", "org.freedesktop.Application", "Activate"},
                   {"", "org.freedesktop.DBus.Properties", "Set"},
                   {"/SearchProvider", "org.gnome.Shell.SearchProvider2", "GetResultMetas"},
                   {"/Runner", "org.kde.krunner1", "Match"}};
    RawClient client;
    std::map<std::string, int> answers;
    Anything anything(20240);
    int sent = 0;
    const auto answered = [&] {
        client.countAnswers(answers);
        return sum(answers) == sent;
    };
    for (int round = 0; round < 30; ++round) {
        for (int i = 0; i < 40; ++i) {
            const auto &target = targets[anything.upTo(int(std::size(targets)))];
            DBusMessage *message = RawClient::message(target.child, target.interface, target.method);
            DBusMessageIter out;
            dbus_message_iter_init_append(message, &out);
            // With the signature that one of them has, so that values are looked at as well.
            if (anything.upTo(3) == 0 || std::string_view(target.method) == "ActivateAction") {
                const char *name = "action";
                DBusMessageIter list, map;
                dbus_message_iter_append_basic(&out, DBUS_TYPE_STRING, &name);
                dbus_message_iter_open_container(&out, DBUS_TYPE_ARRAY, "v", &list);
                for (int n = anything.upTo(5); n > 0; --n)
                    anything.boxed(list, 0);
                dbus_message_iter_close_container(&out, &list);
                dbus_message_iter_open_container(&out, DBUS_TYPE_ARRAY, "{sv}", &map);
                for (int n = anything.upTo(5); n > 0; --n) {
                    DBusMessageIter entry;
                    dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
                    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &name);
                    anything.boxed(entry, 0);
                    dbus_message_iter_close_container(&map, &entry);
                }
                dbus_message_iter_close_container(&out, &map);
            } else {
                for (int n = anything.upTo(4); n > 0; --n)
                    anything.append(out, 0);
            }
            client.send(message);
            ++sent;
        }
        ASSERT_TRUE(QTest::qWaitFor(answered, 60'000)) << "in round " << round;
    }
    EXPECT_GT(answers[DBUS_ERROR_INVALID_ARGS], sent / 3);
    client.send(RawClient::activate());
    ++sent;
    requests.log.clear();
    EXPECT_TRUE(QTest::qWaitFor(answered, 60'000));
    EXPECT_EQ(requests.log, QStringList{QStringLiteral("reopen")}) << "it serves as before";
}

} // namespace
