#include "platform/freedesktop/intents/BusValues.h"
#include "platform/freedesktop/intents/Faces.h"

namespace cobblet {

namespace {

/// The emoji is how a person knows a group at a glance, so it leads the title.
QString titleOf(const IntentMatch &match)
{
    return match.emoji.isEmpty() ? match.title : match.emoji + QLatin1Char(' ') + match.title;
}

void activate(const BusCall &call, const QString &key, Faces &faces)
{
    faces.requests->performMatch(key, [call](const IntentResult &result) {
        answer(call, result, [](const IntentReply &) { return QVariantList(); });
    });
}

void find(const BusCall &call, const QStringList &terms, Faces &faces)
{
    QStringList keys;
    for (const IntentMatch &match : faces.requests->search(terms.join(QLatin1Char(' '))))
        keys.append(match.key);
    call.reply({keys});
}

void describe(const BusCall &call, Faces &faces)
{
    QList<QVariantMap> metas;
    for (const QString &key : call.texts(0)) {
        const IntentMatch match = faces.requests->match(key);
        if (match.key.isEmpty())
            continue;
        QVariantMap meta{{QStringLiteral("id"), match.key},
                         {QStringLiteral("name"), titleOf(match)},
                         {QStringLiteral("gicon"), faces.icon}};
        if (!match.subtitle.isEmpty())
            meta.insert(QStringLiteral("description"), match.subtitle);
        metas.append(meta);
    }
    call.reply({busValue(metas)});
}

void match(const BusCall &call, Faces &faces)
{
    // What the runner calls an exact and a possible match.
    constexpr int exact = 100, possible = 30;
    QList<RunnerMatch> found;
    for (const IntentMatch &match : faces.requests->search(call.text(0)))
        found.append({match.key,
                      titleOf(match),
                      faces.icon,
                      match.relevance >= 1 ? exact : possible,
                      match.relevance,
                      {{QStringLiteral("subtext"), match.subtitle}, {QStringLiteral("actions"), QStringList()}}});
    call.reply({busValue(found)});
}

void run(const BusCall &call, Faces &faces)
{
    if (!call.text(1).isEmpty())
        return call.refuse(QDBusError::InvalidArgs, QStringLiteral("The matches have no further actions."));
    faces.service.userActed({{QStringLiteral("activation-token"), std::exchange(faces.runnerToken, {})}});
    activate(call, call.text(0), faces);
}

} // namespace

BusInterface searchProviderFace(Faces &faces)
{
    return {.name = "org.gnome.Shell.SearchProvider2",
            .description = "",
            .methods = {
                {.name = "GetInitialResultSet",
                 .description = "",
                 .in = {{"terms", "as"}},
                 .out = {{"results", "as"}},
                 .handle = [&faces](const BusCall &call) { find(call, call.texts(0), faces); }},
                {.name = "GetSubsearchResultSet",
                 .description = "",
                 .in = {{"previous_results", "as"}, {"terms", "as"}},
                 .out = {{"results", "as"}},
                 // Searched anew: a phrase has its first result only with its last word.
                 .handle = [&faces](const BusCall &call) { find(call, call.texts(1), faces); }},
                {.name = "GetResultMetas",
                 .description = "",
                 .in = {{"identifiers", "as"}},
                 .out = {{"metas", "aa{sv}"}},
                 .handle = [&faces](const BusCall &call) { describe(call, faces); }},
                {.name = "ActivateResult",
                 .description = "",
                 .in = {{"identifier", "s"}, {"terms", "as"}, {"timestamp", "u"}},
                 .out = {},
                 .handle =
                     [&faces](const BusCall &call) {
                         faces.service.userActedAt(call.number(2));
                         activate(call, call.text(0), faces);
                     },
                 .lane = urgentLane,
                 .answersLater = true},
                {.name = "LaunchSearch",
                 .description = "",
                 .in = {{"terms", "as"}, {"timestamp", "u"}},
                 .out = {},
                 .handle =
                     [&faces](const BusCall &call) {
                         faces.service.userActedAt(call.number(1));
                         faces.requests->showPanel();
                         call.reply();
                     },
                 .lane = urgentLane},
            }};
}

BusInterface runnerFace(Faces &faces)
{
    return {.name = "org.kde.krunner1",
            .description = "",
            .methods = {
                {.name = "Actions",
                 .description = "",
                 .in = {},
                 .out = {{"matches", "a(sss)"}},
                 .handle = [](const BusCall &call) { call.reply({busValue(QList<IntentGroup>())}); },
                 .needsProgram = false},
                {.name = "Config",
                 .description = "",
                 .in = {},
                 .out = {{"config", "a{sv}"}},
                 .handle = [](const BusCall &call) { call.reply({QVariantMap()}); },
                 .needsProgram = false},
                {.name = "Match",
                 .description = "",
                 .in = {{"query", "s"}},
                 .out = {{"matches", "a(sssida{sv})"}},
                 .handle = [&faces](const BusCall &call) { match(call, faces); }},
                {.name = "SetActivationToken",
                 .description = "",
                 .in = {{"token", "s"}},
                 .out = {},
                 .handle =
                     [&faces](const BusCall &call) {
                         faces.runnerToken = call.text(0);
                         call.reply();
                     },
                 .lane = urgentLane},
                {.name = "Run",
                 .description = "",
                 .in = {{"matchId", "s"}, {"actionId", "s"}},
                 .out = {},
                 .handle = [&faces](const BusCall &call) { run(call, faces); },
                 .lane = urgentLane,
                 .answersLater = true},
                {.name = "Teardown",
                 .description = "",
                 .in = {},
                 .out = {},
                 .handle = [](const BusCall &call) { call.reply(); },
                 .needsProgram = false},
            }};
}

} // namespace cobblet
