#include "platform/freedesktop/bus/BusCalls.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusVariant>
#include <QTimer>

#include <utility>

namespace cobblet {

namespace {

void addValue(const QVariant &value, qsizetype &total);

bool fits(qsizetype total)
{
    return total <= BusCalls::maximumCall;
}

/// What is begun is also ended, however much is too much: only then does the toolkit free its place in the message.
void addContainer(const QDBusArgument &in, qsizetype &total)
{
    switch (in.currentType()) {
    case QDBusArgument::MapType:
        in.beginMap();
        while (fits(total) && !in.atEnd()) {
            in.beginMapEntry();
            addValue(in.asVariant(), total);
            addValue(in.asVariant(), total);
            in.endMapEntry();
        }
        return in.endMap();
    case QDBusArgument::ArrayType:
        in.beginArray();
        while (fits(total) && !in.atEnd())
            addValue(in.asVariant(), total);
        return in.endArray();
    case QDBusArgument::StructureType:
        in.beginStructure();
        while (fits(total) && !in.atEnd())
            addValue(in.asVariant(), total);
        return in.endStructure();
    default:
        return;
    }
}

/// Adds the size of what a caller sent and stops where it is too much. The bus has checked that what nests ends.
void addValue(const QVariant &value, qsizetype &total)
{
    total += 8; // what even an empty value takes
    if (value.metaType() == QMetaType::fromType<QDBusArgument>())
        addContainer(value.value<QDBusArgument>(), total);
    else if (value.metaType() == QMetaType::fromType<QDBusVariant>())
        addValue(value.value<QDBusVariant>().variant(), total);
    else if (value.typeId() == QMetaType::QStringList)
        for (const QString &text : value.toStringList())
            total += text.size() + 8;
    else
        total += value.typeId() == QMetaType::QByteArray ? value.toByteArray().size() : value.toString().size();
}

} // namespace

struct BusReply::Call {
    explicit Call(const QDBusContext &object) : connection(object.connection()), message(object.message()) {}
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    ~Call()
    {
        answer(message.createErrorReply(QDBusError::NoReply,
                                        QStringLiteral("Cobblet ended before the request was carried out.")));
    }

    void answer(const QDBusMessage &reply)
    {
        if (!std::exchange(answered, true) && message.isReplyRequired())
            (void)connection.send(reply);
        open.reset();
    }

    const QDBusConnection connection;
    const QDBusMessage message;
    bool answered = false;
    std::shared_ptr<char> open; ///< what the calls without an answer share
};

void BusReply::send(const QVariantList &values) const
{
    m_call->answer(m_call->message.createReply(values));
}

void BusReply::fail(const QString &errorName, const QString &why) const
{
    m_call->answer(m_call->message.createErrorReply(errorName, why));
}

BusReply BusCalls::received(const QDBusContext &object)
{
    object.setDelayedReply(true);
    const BusReply reply(std::make_shared<BusReply::Call>(object));
    qsizetype total = 0;
    for (const QVariant &argument : object.message().arguments())
        addValue(argument, total);
    if (!fits(total))
        reply.fail(QDBusError::LimitsExceeded,
                   QStringLiteral("The arguments are larger than %1 KiB together.").arg(maximumCall / 1024));
    return reply;
}

void BusCalls::take(const QDBusContext &object, Work work)
{
    const BusReply reply = received(object);
    if (size_t(m_open.use_count()) > maximumOpen)
        reply.fail(QDBusError::LimitsExceeded, QStringLiteral("Too many requests are waiting. Ask again later."));
    if (reply.m_call->answered || m_state == State::Closed)
        return;
    reply.m_call->open = m_open;
    if (m_state == State::Held)
        m_waiting.push_back({reply, std::move(work)});
    else
        work(reply);
    if (!reply.m_call->answered)
        QTimer::singleShot(patience, this, [open = std::weak_ptr(reply.m_call)] {
            if (const auto call = open.lock())
                BusReply(call).fail(QDBusError::NoReply, QStringLiteral("The request takes too long."));
        });
}

void BusCalls::takeAtOnce(const QDBusContext &object, const Work &work)
{
    if (const BusReply reply = received(object); !reply.m_call->answered)
        work(reply);
}

void BusCalls::release()
{
    m_state = State::Open;
    for (const Waiting &each : std::exchange(m_waiting, {}))
        if (!each.reply.m_call->answered)
            each.work(each.reply);
}

void BusCalls::close()
{
    m_state = State::Closed;
    m_waiting.clear();
}

} // namespace cobblet
