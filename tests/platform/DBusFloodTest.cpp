// Callers that send as fast as the bus takes it, and callers that send anything at all.
#include "IntentsFixture.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QRandomGenerator>
#include <QRect>
#include <QTest>

#include <algorithm>
#include <iterator>

using namespace cobblet;
using namespace cobblet::test;

namespace {

class DBusFloodTest : public IntentsTest {};

TEST_F(DBusFloodTest, AFloodIsBoundedAndThePanelDoesNotWaitBehindIt)
{
    constexpr int callsOfEach = 2'500;
    intents->serve(requests);
    // Afterwards the bus has everything that was sent, and what it had for the receiver is there. The loop does not
    // turn.
    const auto reach = [](SessionBus &through) {
        const QString name = QStringLiteral("org.freedesktop.DBus");
        (void)through.connection().call(QDBusMessage::createMethodCall(name, QStringLiteral("/org/freedesktop/DBus"),
                                                                       name, QStringLiteral("GetId")),
                                        QDBus::Block, 120'000);
    };
    SessionBus floods[4], person;
    QList<QDBusPendingCall> calls;
    for (SessionBus &flood : floods) {
        for (int i = 0; i < callsOfEach; ++i)
            calls.append(flood.connection().asyncCall(
                message("", "com.vantor.cobblet.Groups", "Find", {QStringLiteral("work")}), 120'000));
        reach(flood);
    }
    calls.append(
        person.connection().asyncCall(message("", "org.freedesktop.Application", "Activate", {QVariantMap()})));
    reach(person);
    reach(*bus);
    ASSERT_EQ(requests.log, QStringList()) << "the loop has not turned";

    const auto isFinished = [](const QDBusPendingCall &each) { return each.isFinished(); };
    EXPECT_TRUE(QTest::qWaitFor([&] { return std::ranges::all_of(calls, isFinished); }, 100'000));
    ASSERT_FALSE(requests.log.isEmpty());
    EXPECT_EQ(requests.log.first(), QStringLiteral("reopen")) << "it came last";
    EXPECT_EQ(requests.log.count(QStringLiteral("find work")), CallQueue::maximumOrdinary);
    EXPECT_EQ(
        std::ranges::count_if(calls, [](auto &each) { return each.error().type() == QDBusError::LimitsExceeded; }),
        std::ssize(floods) * callsOfEach - CallQueue::maximumOrdinary);
    EXPECT_EQ(std::ranges::count_if(calls, [](auto &each) { return !each.isError(); }),
              CallQueue::maximumOrdinary + 1);
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
            [&] { return std::ranges::all_of(calls, [](const auto &each) { return each.isFinished(); }); }, 60'000))
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
