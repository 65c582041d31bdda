// Callers that send as fast as the bus takes it, and callers that send anything at all.
#include "IntentsFixture.h"
#include "RawClient.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QRandomGenerator>
#include <QRect>
#include <QTest>

#include <algorithm>
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

/// A value of some type that the toolkit can send, a few levels deep.
QVariant anything(QRandomGenerator &random, int depth = 0)
{
    static const QStringList texts{QString(), QStringLiteral("Work"), QStringLiteral("show:"), QString(QChar(0xffff)),
                                   QStringLiteral("desktop-startup-id")};
    const QString text = texts[random.bounded(int(texts.size()))];
    QVariantList list;
    QVariantMap map;
    switch (random.bounded(depth > 6 ? 6 : 9)) {
    case 0:
        return text;
    case 1:
        return random.generate();
    case 2:
        return random.generateDouble() * 1e300;
    case 3:
        return QRect(1, 2, 3, 4); // a structure
    case 4:
        return QVariant::fromValue(QByteArrayList(random.bounded(3), QByteArray("\xff\0\xc3", 3)));
    case 5:
        return random.bounded(2) == 0;
    case 6:
        return QVariant::fromValue(QDBusVariant(anything(random, depth + 1)));
    case 7:
        for (int i = random.bounded(4); i > 0; --i)
            list.append(anything(random, depth + 1));
        return list;
    default:
        for (int i = random.bounded(4); i > 0; --i)
            map[texts[i]] = anything(random, depth + 1);
        return map;
    }
}

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
    QRandomGenerator random(20240);
    int refused = 0;
    for (int round = 0; round < 30; ++round) {
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 40; ++i) {
            const auto &target = targets[random.bounded(int(std::size(targets)))];
            QVariantList arguments;
            // With the signature that one of them has, so that values are looked at as well.
            if (random.bounded(3) == 0 || std::string_view(target.method) == "ActivateAction")
                arguments = {QStringLiteral("action"), QVariantList{anything(random), anything(random)},
                             QVariantMap{{QStringLiteral("key"), anything(random)}}};
            else
                for (int n = random.bounded(4); n > 0; --n)
                    arguments.append(anything(random));
            calls.append(other->connection().asyncCall(
                message(target.child, target.interface, target.method, arguments), 60'000));
        }
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return std::ranges::all_of(calls, [](auto &each) { return each.isFinished(); }); }, 60'000))
            << "in round " << round;
        for (const QDBusPendingCall &each : calls) {
            EXPECT_NE(each.error().type(), QDBusError::NoReply);
            refused += each.error().name() == QLatin1String("org.freedesktop.DBus.Error.InvalidArgs") ? 1 : 0;
        }
    }
    EXPECT_GT(refused, 30 * 40 / 3);
    requests.log.clear();
    EXPECT_EQ(call("", "org.freedesktop.Application", "Activate", {QVariantMap()}).error, QString());
    EXPECT_EQ(requests.log, QStringList{QStringLiteral("reopen")}) << "it serves as before";
}

} // namespace
