#include "integration/IntentService.h"

#include "integration/CobbletShortcuts.h"
#include "integration/Diagnostics.h"
#include "integration/GroupUrl.h"
#include "integration/TerminalText.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "platform/DockTile.h"

#include <QLoggingCategory>

#include <algorithm>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.intents")

constexpr qsizetype maximumMatches = 200;

IntentMatch makeMatch(const GroupIntent &intent, const GroupEntity &group, double relevance)
{
    return {intent.verb, group, intent.matchOpening + group.name, intent.description, relevance};
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
    return result ? IntentService::reply(result.value().outcomes) : refused(result.cause());
}

} // namespace

IntentService::IntentService(IntentTargets targets, std::function<void()> showPanel, QString version)
    : m_targets(std::move(targets)), m_showPanel(std::move(showPanel)), m_version(std::move(version)),
      m_query(m_targets.config)
{
}

// Queries

QList<GroupEntity> IntentService::groups() const
{
    return m_query.suggestedEntities();
}

QList<GroupEntity> IntentService::groupsMatching(const QString &text) const
{
    return m_query.entitiesMatching(text);
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
        if (request && request->verb == IntentVerb::Show)
            show = std::max(show, phrase);
        else if (phrase > 0)
            matches.append(makeMatch(GroupIntent::of(request->verb), group, phrase));
        if (show > 0)
            matches.append(makeMatch(ShowGroupIntent, group, show));
    }
    std::stable_sort(matches.begin(), matches.end(),
                     [](const IntentMatch &a, const IntentMatch &b) { return a.relevance > b.relevance; });
    return matches.mid(0, maximumMatches);
}

std::optional<IntentMatch> IntentService::match(IntentVerb verb, const QUuid &group) const
{
    const GroupIntent &intent = GroupIntent::of(verb);
    const QList<GroupEntity> found = intent.title.isEmpty() ? QList<GroupEntity>() : m_query.entitiesFor({group});
    return found.isEmpty() ? std::nullopt : std::optional(makeMatch(intent, found.first(), 1));
}

// Requests

void IntentService::perform(IntentVerb verb, const QString &nameOrId, Done done)
{
    const auto found = m_query.resolve(nameOrId);
    if (found)
        perform(verb, found.value(), std::move(done));
    else
        done(found.cause());
}

void IntentService::perform(IntentVerb verb, const GroupEntity &chosen, Done done)
{
    GroupIntent::of(verb).perform(chosen, m_targets, std::move(done));
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
            if (!result)
                qCWarning(log).noquote()
                    << QStringLiteral("The address “%1” was not opened: %2")
                           .arg(terminal::harmless(shortened(text)), terminal::harmless(result.error()));
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
    using Verb = CommandLine::Verb;
    const auto perform = [&](IntentVerb verb, const QString &group) {
        this->perform(verb, group, [done](const IntentResult &result) { done(replied(result)); });
    };
    switch (line.verb) {
    case Verb::Panel:
        m_showPanel();
        return done({});
    case Verb::Service:
        return done({});
    case Verb::Settings:
        m_targets.dockTile.activateApplication();
        emit m_targets.notifications.openSettings();
        return done({});
    case Verb::Show:
        return perform(IntentVerb::Show, line.text);
    case Verb::Launch:
        return perform(IntentVerb::Launch, line.text);
    case Verb::Quit:
        return perform(IntentVerb::Quit, line.text);
    case Verb::Hide:
        return perform(IntentVerb::Hide, line.text);
    case Verb::List:
        return done({0, terminal::lines(groups()), {}});
    case Verb::ListJson:
        return done({0, terminal::json(m_targets.config.groups()), {}});
    case Verb::Say:
        return say(line.text, [done](const IntentResult &result) {
            CommandReply reply = replied(result);
            if (result && !result.value().dialog.isEmpty())
                reply.output.prepend(terminal::harmless(result.value().dialog) + QLatin1Char('\n'));
            done(reply);
        });
    case Verb::Open:
        if (const auto url = GroupUrl::parse(line.text))
            return perform(url->verb, url->group);
        return done(refused(
            invalid(QStringLiteral("“%1” is no address that can be opened here.").arg(shortened(line.text)))));
    case Verb::Diagnose:
        return m_targets.diagnostics().askReport([done](const QString &report) { done({0, report, {}}); });
    case Verb::Action: // it comes over the bus by another way, or starts a process
    case Verb::Help:
    case Verb::Version:
    case Verb::Invalid:
        return done(line.takenBy(false).answer(m_version).value_or(CommandReply()));
    }
}

std::optional<CommandReply> IntentService::refusal(const CommandLine &line) const
{
    const auto group = line.groupToShow();
    if (!group)
        return std::nullopt;
    const auto found = m_query.resolve(*group);
    return found ? std::nullopt : std::optional(refused(found.cause()));
}

} // namespace cobblet
