#include "platform/freedesktop/intents/BusValues.h"
#include "platform/freedesktop/intents/Faces.h"

namespace cobblet {

namespace {

using Verb = IntentRequests::Verb;

QVariantList nothing(const IntentReply &)
{
    return {};
}

QVariantList outcomes(const IntentReply &reply)
{
    return {reply.dialog, busValue(reply.outcomes)};
}

QString errorName(IntentFailure::Kind kind)
{
    switch (kind) {
    case IntentFailure::Kind::GroupNotFound:
        return QStringLiteral("com.vantor.cobblet.Error.GroupNotFound");
    case IntentFailure::Kind::AmbiguousGroup:
        return QStringLiteral("com.vantor.cobblet.Error.AmbiguousGroup");
    case IntentFailure::Kind::Invalid:
        break;
    }
    return QDBusError::errorString(QDBusError::InvalidArgs);
}

BusMethod outcomesMethod(const char *name, const char *description, Verb verb, Faces &faces)
{
    return {.name = name,
            .description = description,
            .in = {{"group", "s"}},
            .out = {{"dialog", "s"}, {"outcomes", "a(ssss)"}},
            .handle =
                [&faces, verb](const BusCall &call) {
                    faces.requests->perform(verb, call.text(0),
                                            [call](const IntentResult &result) { answer(call, result, outcomes); });
                },
            .answersLater = true};
}

} // namespace

void answer(const BusCall &call, const IntentResult &result,
            const std::function<QVariantList(const IntentReply &)> &reply)
{
    if (const auto *failure = std::get_if<IntentFailure>(&result))
        call.refuse(errorName(failure->kind), failure->message);
    else
        call.reply(reply(std::get<IntentReply>(result)));
}

BusInterface groupsFace(Faces &faces)
{
    return {
        .name = groupsInterfaceName,
        .description = "The groups of applications. A group is named by its id or by its name; where a name fits "
                       "several groups the call fails with com.vantor.cobblet.Error.AmbiguousGroup, where it fits "
                       "none with com.vantor.cobblet.Error.GroupNotFound. Each outcome is the application's "
                       "identifier, its name, what became of it (launched, brought-forward, hidden, asked-to-quit, "
                       "still-running, not-running, not-installed, failed) and, where it failed, the reason.",
        .methods =
            {
                {.name = "List",
                 .description = "All groups in their order, each with its id, its name and its emoji.",
                 .in = {},
                 .out = {{"groups", "a(sss)"}},
                 .handle = [&faces](const BusCall &call) { call.reply({busValue(faces.requests->groups())}); }},
                {.name = "Find",
                 .description = "The groups whose name contains the text, whatever its case, in the order of List.",
                 .in = {{"text", "s"}},
                 .out = {{"groups", "a(sss)"}},
                 .handle =
                     [&faces](const BusCall &call) {
                         call.reply({busValue(faces.requests->groupsMatching(call.text(0)))});
                     }},
                {.name = "Show",
                 .description = "Brings up the panel with the group selected. The platform data may have a "
                                "desktop-startup-id or an activation-token, as for org.freedesktop.Application.",
                 .in = {{"group", "s"}, {"platform_data", "a{sv}"}},
                 .out = {},
                 .handle =
                     [&faces](const BusCall &call) {
                         faces.service.userActed(call.map(1));
                         faces.requests->perform(Verb::Show, call.text(0), [call](const IntentResult &result) {
                             answer(call, result, nothing);
                         });
                     },
                 .lane = urgentLane,
                 .answersLater = true},
                outcomesMethod("Launch", "Opens every application of the group and answers when that is done.",
                               Verb::Launch, faces),
                outcomesMethod("Quit",
                               "Asks every running application of the group to quit and answers when they have "
                               "ended, or after five seconds.",
                               Verb::Quit, faces),
                outcomesMethod("Hide", "Hides the windows of the group's running applications.", Verb::Hide, faces),
                {.name = "Say",
                 .description = "Carries out a spoken phrase, such as: Fire up Work group in Cobblet.",
                 .in = {{"phrase", "s"}},
                 .out = {{"dialog", "s"}, {"outcomes", "a(ssss)"}},
                 .handle =
                     [&faces](const BusCall &call) {
                         faces.requests->say(call.text(0),
                                             [call](const IntentResult &result) { answer(call, result, outcomes); });
                     },
                 .answersLater = true},
            },
        .notices = {{groupsChangedNotice, "The list of the groups, or the name or emoji of one, changed."}}};
}

} // namespace cobblet
