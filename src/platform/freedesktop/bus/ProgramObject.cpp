#include "platform/freedesktop/bus/ProgramObject.h"

#include <QStringDecoder>

#include <sysexits.h>

namespace cobblet {

IntentRequests::Done ProgramObject::answer(const BusReply &reply, Answer with)
{
    return [reply, with](const IntentResult &result) {
        if (result)
            return reply.send(with == Answer::Empty ? QVariantList()
                                                    : QVariantList{result.value().dialog,
                                                                   QVariant::fromValue(result.value().outcomes)});
        const IntentFailure &failure = result.cause();
        switch (failure.kind) {
        case IntentFailure::Kind::GroupNotFound:
            return reply.fail(QStringLiteral("com.vantor.cobblet.Error.GroupNotFound"), failure.message);
        case IntentFailure::Kind::AmbiguousGroup:
            return reply.fail(QStringLiteral("com.vantor.cobblet.Error.AmbiguousGroup"), failure.message);
        case IntentFailure::Kind::Invalid:
            return reply.fail(QDBusError::InvalidArgs, failure.message);
        }
    };
}

QString ProgramObject::userActed(const QVariantMap &platformData) const
{
    for (const QString &key : {QStringLiteral("desktop-startup-id"), QStringLiteral("activation-token")})
        if (const QString token = platformData.value(key).toString(); !token.isEmpty()) {
            if (m_hooks.token)
                m_hooks.token(token);
            return token;
        }
    return {};
}

void ProgramObject::userActedAt(quint32 time) const
{
    if (m_hooks.time && time != 0)
        m_hooks.time(time);
}

void ProgramObject::Activate(const QVariantMap &platformData)
{
    m_calls.takeAtOnce(*this, [&](const BusReply &reply) {
        emit reopen(userActed(platformData));
        reply.send(); // last: what the answer wakes up would compete with the panel that is being painted
    });
}

void ProgramObject::Open(const QStringList &uris, const QVariantMap &platformData)
{
    m_calls.take(*this, [this, uris, platformData](const BusReply &reply) {
        if (!m_requests)
            return reply.fail(
                QDBusError::InvalidArgs,
                QStringLiteral("%1 addresses were not opened: no kind of address is known here.").arg(uris.size()));
        reply.send();
        userActed(platformData);
        m_requests->open(uris);
    });
}

void ProgramObject::ActivateAction(const QString &action, const QVariantList &, const QVariantMap &platformData)
{
    m_calls.take(*this, [this, action, platformData](const BusReply &reply) {
        userActed(platformData);
        if (m_hooks.action && m_hooks.action(action))
            return reply.send();
        reply.fail(QDBusError::InvalidArgs, QStringLiteral("There is no action “%1”.").arg(action.left(100)));
    });
}

GroupList ProgramObject::List()
{
    m_calls.take(*this, [this](const BusReply &reply) { reply.send({QVariant::fromValue(m_requests->groups())}); });
    return {};
}

GroupList ProgramObject::Find(const QString &text)
{
    m_calls.take(*this, [this, text](const BusReply &reply) {
        reply.send({QVariant::fromValue(m_requests->groupsMatching(text))});
    });
    return {};
}

void ProgramObject::Show(const QString &group, const QVariantMap &platformData)
{
    m_calls.take(*this, [this, group, platformData](const BusReply &reply) {
        userActed(platformData);
        m_requests->perform(IntentVerb::Show, group, answer(reply, Answer::Empty));
    });
}

QString ProgramObject::perform(IntentVerb verb, const QString &group)
{
    m_calls.take(*this, [this, verb, group](const BusReply &reply) {
        m_requests->perform(verb, group, answer(reply, Answer::Outcomes));
    });
    return {};
}

QString ProgramObject::Say(const QString &phrase, OutcomeList &)
{
    m_calls.take(*this,
                 [this, phrase](const BusReply &reply) { m_requests->say(phrase, answer(reply, Answer::Outcomes)); });
    return {};
}

int ProgramObject::Run(const QByteArrayList &arguments, const QVariantMap &platformData, QString &, QString &)
{
    m_calls.take(*this, [this, arguments, platformData](const BusReply &reply) {
        QStringList texts;
        for (QByteArray bytes : arguments) {
            if (bytes.endsWith('\0')) // some bindings close their byte strings with one
                bytes.chop(1);
            QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
            texts.append(decoder(bytes));
            if (decoder.hasError() || bytes.contains('\0'))
                return reply.send({int(EX_USAGE), QString(),
                                   QStringLiteral("cobblet: argument %1 is no text in UTF-8.\n").arg(texts.size())});
        }
        userActed(platformData);
        m_requests->commandLine(texts, [reply](const CommandReply &answer) {
            reply.send({answer.status, answer.output, answer.errors});
        });
    });
    return {};
}

} // namespace cobblet
