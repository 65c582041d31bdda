// How many calls wait, and how they are carried out, without a bus.
#include "platform/freedesktop/intents/CallQueue.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

using namespace cobblet;

namespace {

using Lane = CallQueue::Lane;

class CallQueueTest : public testing::Test {
protected:
    bool take(Lane lane, const QString &name, const QString &sender = QStringLiteral("a"))
    {
        return queue.take(lane, {sender, true, [this, name] { log.append(name); }});
    }
    bool settles(qsizetype count)
    {
        return QTest::qWaitFor([&] { return log.size() >= count; }, 30'000);
    }

    CallQueue queue;
    QStringList log;
};

TEST_F(CallQueueTest, TheFirstUrgentCallOfATurnIsDoneAtOnceAndTheRestBeforeTheQuestions)
{
    EXPECT_TRUE(take(Lane::Ordinary, QStringLiteral("question")));
    EXPECT_TRUE(take(Lane::Urgent, QStringLiteral("first")));
    EXPECT_TRUE(take(Lane::Urgent, QStringLiteral("second")));
    EXPECT_EQ(log, QStringList{QStringLiteral("first")});
    EXPECT_TRUE(settles(3));
    EXPECT_EQ(log.join(u' '), QStringLiteral("first second question"));
}

TEST_F(CallQueueTest, TheEventLoopTurnsBetweenSlices)
{
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, &turns, [this] { log.append(QStringLiteral("turn")); });
    turns.start(0);
    for (int i = 0; i < CallQueue::maximumOrdinaryOfOne; ++i)
        ASSERT_TRUE(take(Lane::Ordinary, QStringLiteral("call")));
    ASSERT_TRUE(QTest::qWaitFor([&] { return log.count(QStringLiteral("call")) == CallQueue::maximumOrdinaryOfOne; },
                                30'000));
    int inARow = 0;
    for (const QString &entry : std::as_const(log)) {
        inARow = entry == QLatin1String("call") ? inARow + 1 : 0;
        EXPECT_LE(inARow, CallQueue::ordinaryPerTurn);
    }
}

TEST_F(CallQueueTest, OneSenderCannotFillItAndAllTogetherCannotFillMore)
{
    const auto fill = [&](Lane lane, const QString &sender) {
        int taken = 0;
        while (taken < 1'000 && take(lane, sender, sender))
            ++taken;
        return taken;
    };
    queue.hold();
    EXPECT_EQ(fill(Lane::Ordinary, QStringLiteral("a")), CallQueue::maximumOrdinaryOfOne);
    EXPECT_EQ(fill(Lane::Ordinary, QStringLiteral("b")), CallQueue::maximumOrdinaryOfOne) << "there is room";
    int all = 2 * CallQueue::maximumOrdinaryOfOne;
    for (int i = 0; i < 100; ++i)
        all += fill(Lane::Ordinary, QString::number(i));
    EXPECT_EQ(all, CallQueue::maximumOrdinary);
    EXPECT_EQ(fill(Lane::Urgent, QStringLiteral("a")), CallQueue::maximumUrgentOfOne) << "a lane of its own";
    queue.release();
    EXPECT_TRUE(settles(all + CallQueue::maximumUrgentOfOne));
    EXPECT_TRUE(take(Lane::Ordinary, QStringLiteral("x"))) << "the places are free again";
}

} // namespace
