#include "platform/freedesktop/bus/SearchObjects.h"

namespace cobblet {

namespace {

/// What a result is called: its verb, the group's id and its name, so that it means the same after a restart and can
/// be named when the group is gone.
constexpr std::pair<IntentVerb, QLatin1String> verbNames[] = {{IntentVerb::Show, QLatin1String("show:")},
                                                              {IntentVerb::Launch, QLatin1String("launch:")},
                                                              {IntentVerb::Quit, QLatin1String("quit:")}};
constexpr qsizetype uuidSize = 36, maximumName = 100;

QString resultId(const IntentMatch &match)
{
    for (const auto &[verb, name] : verbNames)
        if (verb == match.verb)
            return name + match.group.id.toString(QUuid::WithoutBraces).toUpper() + QLatin1Char(':') +
                   match.group.name.left(maximumName);
    return {};
}

struct ResultId {
    IntentVerb verb = IntentVerb::Show;
    GroupEntity group; ///< without its emoji
};

std::optional<ResultId> parsedResultId(const QString &id)
{
    for (const auto &[verb, name] : verbNames) {
        const QStringView rest = QStringView(id).mid(name.size());
        const QUuid group = QUuid::fromString(rest.left(uuidSize));
        if (id.startsWith(name) && !group.isNull() && rest.mid(uuidSize, 1) == QLatin1String(":"))
            return ResultId{verb, {group, rest.mid(uuidSize + 1).toString(), {}}};
    }
    return std::nullopt;
}

/// The emoji is how a person knows a group at a glance, so it leads the title.
QString titleOf(const IntentMatch &match)
{
    return match.group.emoji.isEmpty() ? match.title : match.group.emoji + QLatin1Char(' ') + match.title;
}

void activate(const ProgramObject &program, const QString &id, const BusReply &reply)
{
    const auto result = parsedResultId(id);
    if (!result)
        return reply.fail(QDBusError::InvalidArgs,
                          QStringLiteral("“%1” stands for nothing that was found.").arg(id.left(100)));
    program.requests().perform(result->verb, result->group,
                               ProgramObject::answer(reply, ProgramObject::Answer::Empty));
}

} // namespace

QStringList SearchProviderObject::GetInitialResultSet(const QStringList &terms)
{
    m_asked = true;
    m_program.calls().take(*this, [this, terms](const BusReply &reply) {
        QStringList ids;
        for (const IntentMatch &match : m_program.requests().search(terms.join(QLatin1Char(' '))))
            ids.append(resultId(match));
        reply.send({ids});
    });
    return {};
}

VariantMapList SearchProviderObject::GetResultMetas(const QStringList &identifiers)
{
    m_program.calls().take(*this, [this, identifiers](const BusReply &reply) {
        VariantMapList metas;
        for (const QString &id : identifiers) {
            const auto result = parsedResultId(id);
            const auto match = result ? m_program.requests().match(result->verb, result->group.id) : std::nullopt;
            if (match)
                metas.append({{QStringLiteral("id"), id},
                              {QStringLiteral("name"), titleOf(*match)},
                              {QStringLiteral("description"), match->subtitle},
                              {QStringLiteral("gicon"), m_icon}});
        }
        reply.send({QVariant::fromValue(metas)});
    });
    return {};
}

void SearchProviderObject::ActivateResult(const QString &identifier, const QStringList &, uint timestamp)
{
    m_program.calls().take(*this, [this, identifier, timestamp](const BusReply &reply) {
        m_program.userActedAt(timestamp);
        activate(m_program, identifier, reply);
    });
}

void SearchProviderObject::LaunchSearch(const QStringList &, uint timestamp)
{
    m_program.calls().take(*this, [this, timestamp](const BusReply &reply) {
        m_program.userActedAt(timestamp);
        m_program.requests().showPanel();
        reply.send();
    });
}

RunnerMatchList RunnerObject::Match(const QString &query)
{
    m_asked = true;
    m_program.calls().take(*this, [this, query](const BusReply &reply) {
        constexpr int exact = 100, possible = 30; // KRunner's numbers for kinds of matches
        RunnerMatchList found;
        for (const IntentMatch &match : m_program.requests().search(query))
            found.append({resultId(match),
                          titleOf(match),
                          m_icon,
                          match.relevance >= 1 ? exact : possible,
                          match.relevance,
                          {{QStringLiteral("subtext"), match.subtitle}, {QStringLiteral("actions"), QStringList()}}});
        reply.send({QVariant::fromValue(found)});
    });
    return {};
}

void RunnerObject::SetActivationToken(const QString &token)
{
    m_program.calls().take(*this, [this, token](const BusReply &reply) {
        m_token = token;
        reply.send();
    });
}

void RunnerObject::Run(const QString &matchId, const QString &actionId)
{
    m_program.calls().take(*this, [this, matchId, actionId](const BusReply &reply) {
        if (!actionId.isEmpty())
            return reply.fail(QDBusError::InvalidArgs, QStringLiteral("The matches have no further actions."));
        m_program.userActed({{QStringLiteral("activation-token"), std::exchange(m_token, {})}});
        activate(m_program, matchId, reply);
    });
}

} // namespace cobblet
