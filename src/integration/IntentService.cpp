#include "integration/IntentService.h"

#include "integration/CobbletShortcuts.h"
#include "integration/GroupUrl.h"
#include "integration/TerminalText.h"
#include "model/ConfigManager.h"

#include <QLoggingCategory>

#include <algorithm>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.intents")

using Verb = IntentRequests::Verb;

constexpr qsizetype maximumMatches = 200;

/// What the key of a match stands for.
struct Key {
    Verb verb;
    QUuid id;
};

/// Absent when it is malformed.
std::optional<Key> parseKey(const QString &key)
{
    for (const OfferedIntent &intent : offeredIntents)
        if (key.startsWith(intent.key))
            if (const auto id = parseUuid(key.mid(intent.key.size())))
                return Key{intent.verb, *id};
    return std::nullopt;
}

/// Of a verb that is offered.
IntentMatch makeMatch(Verb verb, const GroupEntity &group, double relevance)
{
    const OfferedIntent &intent =
        *std::find_if(offeredIntents.begin(), offeredIntents.end(),
                      [verb](const OfferedIntent &offered) { return offered.verb == verb; });
    return {intent.key + uuidText(group.id), intent.opening + group.name, intent.description, group.emoji, relevance};
}

QList<IntentGroup> intentGroups(const QList<GroupEntity> &entities)
{
    QList<IntentGroup> groups;
    for (const GroupEntity &entity : entities)
        groups.append(entity.intentGroup());
    return groups;
}

IntentFailure invalid(const QString &sentence)
{
    return {IntentFailure::Kind::Invalid, sentence, {}};
}

QString shortened(const QString &text)
{
    constexpr qsizetype shown = 100;
    return text.size() > shown ? text.left(shown) + QStringLiteral("…") : text;
}

/// How well a name answers to what was typed; 0 is not at all. Both are folded.
double nameRelevance(const QString &name, const QString &typed)
{
    if (name == typed)
        return 1;
    const QStringList terms = typed.split(QLatin1Char(' '));
    if (!std::all_of(terms.begin(), terms.end(), [&](const QString &term) { return name.contains(term); }))
        return 0;
    if (name.startsWith(typed))
        return 0.9;
    const QString words = QLatin1Char(' ') + name;
    const bool beginWords = std::all_of(terms.begin(), terms.end(),
                                        [&](const QString &term) { return words.contains(QLatin1Char(' ') + term); });
    return beginWords ? 0.7 : 0.5;
}

/// The same for what was typed after the opening of a phrase.
double phraseRelevance(const QString &name, const QString &typed, const QString &closing)
{
    const QString whole = name + closing;
    if (typed == whole)
        return 1;
    if (typed.size() >= name.size() && whole.startsWith(typed))
        return 0.95;
    return 0.9 * nameRelevance(name, typed);
}

CommandReply refused(const IntentFailure &failure)
{
    if (failure.kind == IntentFailure::Kind::AmbiguousGroup)
        return {CommandLine::ambiguousGroup,
                {},
                terminal::harmless(failure.message.section(QLatin1Char('\n'), 0, 0)) + QLatin1Char('\n') +
                    terminal::lines(failure.candidates)};
    return {failure.kind == IntentFailure::Kind::GroupNotFound ? CommandLine::groupNotFound : CommandLine::usageError,
            {},
            terminal::harmless(failure.message) + QLatin1Char('\n')};
}

CommandReply replied(const IntentResult &result)
{
    if (const auto *failure = std::get_if<IntentFailure>(&result))
        return refused(*failure);
    return IntentService::reply(std::get<IntentReply>(result).outcomes);
}

} // namespace

IntentService::IntentService(IntentTargets targets, std::function<void()> showPanel, QString version)
    : m_targets(std::move(targets)), m_showPanel(std::move(showPanel)), m_version(std::move(version)),
      m_query(m_targets.config)
{
}

// Queries

QList<IntentGroup> IntentService::groups() const
{
    return intentGroups(m_query.suggestedEntities());
}

QList<IntentGroup> IntentService::groupsMatching(const QString &text) const
{
    return intentGroups(m_query.entitiesMatching(text));
}

QList<IntentMatch> IntentService::search(const QString &text) const
{
    if (text.size() > CobbletShortcuts::maximumPhrase)
        return {};
    const auto folded = [this](const QString &part) {
        return foldedForComparison(part, m_query.locale()).simplified();
    };
    const QString typed = folded(text);
    if (typed.isEmpty())
        return {};
    const auto request = CobbletShortcuts::begun(text);
    const QString afterOpening = request ? folded(request->group) : QString();
    const QString closing = foldedForComparison(AppShortcut::closing(), m_query.locale());

    QList<IntentMatch> matches;
    for (const GroupEntity &group : m_query.suggestedEntities()) {
        const QString name = folded(group.name);
        double show = nameRelevance(name, typed);
        const double phrase = request ? phraseRelevance(name, afterOpening, closing) : 0;
        if (request && request->verb == Verb::Show)
            show = std::max(show, phrase);
        else if (phrase > 0)
            matches.append(makeMatch(request->verb, group, phrase));
        if (show > 0)
            matches.append(makeMatch(Verb::Show, group, show));
    }
    std::stable_sort(matches.begin(), matches.end(),
                     [](const IntentMatch &a, const IntentMatch &b) { return a.relevance > b.relevance; });
    return matches.mid(0, maximumMatches);
}

IntentMatch IntentService::match(const QString &key) const
{
    const auto parsed = parseKey(key);
    const AppGroup *group = parsed ? m_targets.config.group(parsed->id) : nullptr;
    return group ? makeMatch(parsed->verb, GroupEntity(*group), 1) : IntentMatch();
}

// Requests

void IntentService::perform(Verb verb, const QString &nameOrId, Done done)
{
    const auto found = m_query.resolve(nameOrId);
    if (const auto *failure = std::get_if<IntentFailure>(&found))
        done(*failure);
    else
        GroupIntent{verb, std::get<GroupEntity>(found)}.perform(m_targets, std::move(done));
}

void IntentService::performMatch(const QString &key, Done done)
{
    const auto parsed = parseKey(key);
    if (!parsed)
        return done(invalid(QStringLiteral("“%1” stands for nothing that was found.").arg(shortened(key))));
    GroupEntity group;
    group.id = parsed->id;
    group.name = uuidText(group.id); // what it was called when it was found is not known any more
    GroupIntent{parsed->verb, group}.perform(m_targets, std::move(done));
}

void IntentService::say(const QString &phrase, Done done)
{
    const auto request = CobbletShortcuts::understood(phrase);
    if (!request)
        return done(
            invalid(QStringLiteral("“%1” is not understood. Say, for instance, “Launch Work group in Cobblet”.")
                        .arg(shortened(phrase))));
    perform(request->verb, request->group, std::move(done));
}

void IntentService::open(const QStringList &urls)
{
    for (const QString &text : urls) {
        const auto url = GroupUrl::parse(text);
        if (!url) {
            qCWarning(log).noquote() << QStringLiteral(
                                            "The address “%1” was not opened: it is no “cobblet://show/…”, "
                                            "“launch/…” or “quit/…” with a group.")
                                            .arg(terminal::harmless(shortened(text)));
            continue;
        }
        perform(url->verb, url->group, [text](const IntentResult &result) {
            if (const auto *failure = std::get_if<IntentFailure>(&result))
                qCWarning(log).noquote()
                    << QStringLiteral("The address “%1” was not opened: %2")
                           .arg(terminal::harmless(shortened(text)), terminal::harmless(failure->message));
        });
    }
}

// The command line

CommandReply IntentService::reply(const QList<IntentOutcome> &outcomes)
{
    using Kind = IntentOutcome::Kind;
    const bool all = std::none_of(outcomes.begin(), outcomes.end(), [](const IntentOutcome &outcome) {
        return outcome.kind == Kind::Failed || outcome.kind == Kind::NotInstalled ||
               outcome.kind == Kind::StillRunning;
    });
    return {all ? 0 : CommandLine::notForAll, terminal::lines(outcomes), {}};
}

void IntentService::commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done)
{
    run(CommandLine::parse(arguments), std::move(done));
}

void IntentService::run(const CommandLine &line, std::function<void(const CommandReply &)> done)
{
    using LineVerb = CommandLine::Verb;
    const auto perform = [&](Verb verb, const QString &group) {
        this->perform(verb, group, [done](const IntentResult &result) { done(replied(result)); });
    };
    switch (line.verb) {
    case LineVerb::Panel:
        m_showPanel();
        return done({});
    case LineVerb::Service:
        return done({});
    case LineVerb::Show:
        return perform(Verb::Show, line.text);
    case LineVerb::Launch:
        return perform(Verb::Launch, line.text);
    case LineVerb::Quit:
        return perform(Verb::Quit, line.text);
    case LineVerb::Hide:
        return perform(Verb::Hide, line.text);
    case LineVerb::List:
        return done({0, terminal::lines(groups()), {}});
    case LineVerb::ListJson:
        return done({0, terminal::json(m_targets.config.groups()), {}});
    case LineVerb::Say:
        return say(line.text, [done](const IntentResult &result) {
            CommandReply reply = replied(result);
            if (const auto *said = std::get_if<IntentReply>(&result); said && !said->dialog.isEmpty())
                reply.output.prepend(terminal::harmless(said->dialog) + QLatin1Char('\n'));
            done(reply);
        });
    case LineVerb::Open:
        if (const auto url = GroupUrl::parse(line.text))
            return perform(url->verb, url->group);
        return done(refused(
            invalid(QStringLiteral("“%1” is no address that can be opened here.").arg(shortened(line.text)))));
    case LineVerb::Action: // it comes over the bus by another way, or starts a process
    case LineVerb::Help:
    case LineVerb::Version:
    case LineVerb::Invalid:
        return done(line.takenBy(false).answer(m_version).value_or(CommandReply()));
    }
}

std::optional<CommandReply> IntentService::refusal(const CommandLine &line) const
{
    const auto group = line.groupToShow();
    if (!group)
        return std::nullopt;
    const auto found = m_query.resolve(*group);
    const auto *failure = std::get_if<IntentFailure>(&found);
    return failure ? std::optional(refused(*failure)) : std::nullopt;
}

} // namespace cobblet
