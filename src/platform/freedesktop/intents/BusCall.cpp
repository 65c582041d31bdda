#include "platform/freedesktop/intents/BusCall.h"

namespace cobblet {

struct BusCall::State {
    State(const QDBusConnection &onConnection, const QDBusMessage &call, const QVariantList &with)
        : connection(onConnection), message(call), arguments(with)
    {
    }
    State(const State &) = delete;
    State &operator=(const State &) = delete;
    ~State()
    {
        if (!answered)
            answer(message.createErrorReply(QDBusError::NoReply,
                                            QStringLiteral("Cobblet ended before the request was carried out.")));
    }

    void answer(const QDBusMessage &reply)
    {
        answered = true;
        ticket.reset();
        if (message.isReplyRequired())
            (void)connection.send(reply);
    }

    QDBusConnection connection;
    const QDBusMessage message;
    const QVariantList arguments;
    std::shared_ptr<void> ticket;
    bool answered = false;
};

BusCall::BusCall(const QDBusConnection &connection, const QDBusMessage &message, const QVariantList &arguments)
    : m_state(std::make_shared<State>(connection, message, arguments))
{
}

QVariant BusCall::argument(int index) const
{
    return m_state->arguments.value(index);
}

QString BusCall::sender() const
{
    return m_state->message.service();
}

void BusCall::reply(const QVariantList &values) const
{
    if (!m_state->answered)
        m_state->answer(m_state->message.createReply(values));
}

void BusCall::refuse(QDBusError::ErrorType error, const QString &why) const
{
    refuse(QDBusError::errorString(error), why);
}

void BusCall::refuse(const QString &errorName, const QString &why) const
{
    if (!m_state->answered)
        m_state->answer(m_state->message.createErrorReply(errorName, why));
}

bool BusCall::isAnswered() const
{
    return m_state->answered;
}

void BusCall::keep(std::shared_ptr<void> ticket) const
{
    m_state->ticket = std::move(ticket);
}

} // namespace cobblet
