#include "integration/CommandLine.h"

#include "integration/CobbletShortcuts.h"
#include "integration/GroupUrl.h"
#include "integration/TerminalText.h"

#include <QStringDecoder>

namespace cobblet {

namespace {

using Verb = CommandLine::Verb;

struct Command {
    QLatin1String name;
    Verb verb;
};
constexpr Command commandsWithText[] = {{QLatin1String("show"), Verb::Show},
                                        {QLatin1String("launch"), Verb::Launch},
                                        {QLatin1String("quit"), Verb::Quit},
                                        {QLatin1String("hide"), Verb::Hide},
                                        {QLatin1String("say"), Verb::Say}};

CommandLine invalid(const QString &sentence)
{
    return {Verb::Invalid, sentence};
}

CommandLine notUnderstood(const QString &argument)
{
    constexpr qsizetype shown = 100;
    const QString text = argument.size() > shown ? argument.left(shown) + QStringLiteral("…") : argument;
    return invalid(QStringLiteral("“%1” is not understood.").arg(terminal::harmless(text)));
}

CommandLine parseText(const Command &command, const QStringList &arguments)
{
    QStringList words;
    bool options = true;
    for (const QString &argument : arguments) {
        if (options && argument == QLatin1String("--"))
            options = false;
        else if (options && argument.size() > 1 && argument.startsWith(QLatin1Char('-')))
            return notUnderstood(argument);
        else
            words.append(argument);
    }
    const QString text = words.join(QLatin1Char(' '));
    if (!text.trimmed().isEmpty())
        return {command.verb, text};
    return invalid(command.verb == Verb::Say
                       ? QStringLiteral("“say” needs a phrase, such as “Launch Work group in Cobblet”.")
                       : QStringLiteral("“%1” needs the name or id of a group.").arg(command.name));
}

/// A command that stands alone.
CommandLine alone(Verb verb, const QStringList &rest)
{
    return rest.isEmpty() ? CommandLine{verb, {}} : notUnderstood(rest.first());
}

} // namespace

CommandLine CommandLine::parse(const QStringList &arguments)
{
    const qsizetype end = arguments.indexOf(QLatin1String("--"));
    const QStringList options = arguments.first(end < 0 ? arguments.size() : end);
    if (options.contains(QLatin1String("--help")) || options.contains(QLatin1String("-h")))
        return {Verb::Help, {}};
    if (arguments.isEmpty())
        return {};
    const QString &first = arguments.first();
    const QStringList rest = arguments.sliced(1);
    for (const Command &command : commandsWithText)
        if (first == command.name)
            return parseText(command, rest);
    if (first == QLatin1String("settings"))
        return alone(Verb::Settings, rest);
    if (first == QLatin1String("--version"))
        return alone(Verb::Version, rest);
    if (first == QLatin1String("--service"))
        return alone(Verb::Service, rest);
    if (first == QLatin1String("--action"))
        return rest.size() == 1 ? CommandLine{Verb::Action, rest.first()} : notUnderstood(first);
    if (first == QLatin1String("list")) {
        const bool json = rest.value(0) == QLatin1String("--json");
        return alone(json ? Verb::ListJson : Verb::List, rest.sliced(json ? 1 : 0));
    }
    if (first == QLatin1String("diagnose"))
        return alone(Verb::Diagnose, rest);
    if (GroupUrl::hasScheme(first))
        return rest.isEmpty() ? CommandLine{Verb::Open, first} : notUnderstood(rest.first());
    return notUnderstood(first);
}

CommandLine CommandLine::parse(const QByteArrayList &arguments)
{
    QStringList texts;
    for (const QByteArray &argument : arguments) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        texts.append(decoder(argument));
        if (decoder.hasError())
            return invalid(QStringLiteral("argument %1 is no text in UTF-8.").arg(texts.size()));
    }
    return parse(texts);
}

QString CommandLine::usage()
{
    return QStringLiteral("Usage: cobblet                     show the panel\n"
                          "       cobblet show GROUP          show the panel with the group selected\n"
                          "       cobblet launch GROUP        open every app in the group\n"
                          "       cobblet quit GROUP          quit every running app in the group\n"
                          "       cobblet hide GROUP          hide every running app in the group\n"
                          "       cobblet list [--json]       list the groups\n"
                          "       cobblet say PHRASE          such as: Fire up Work group in Cobblet\n"
                          "       cobblet settings            open the settings\n"
                          "       cobblet cobblet://VERB/GROUP\n"
                          "                                   with the verb show, launch or quit\n"
                          "       cobblet diagnose            say what this desktop permits\n"
                          "       cobblet --service           start without showing the panel\n"
                          "       cobblet --help | --version\n"
                          "GROUP is the name or the id of a group. A name that begins with “-” comes after “--”.\n");
}

CommandLine CommandLine::takenBy(bool isAgent) const
{
    switch (verb) {
    case Verb::Panel:
    case Verb::Service:
    case Verb::Help:
    case Verb::Version:
    case Verb::Invalid:
        return *this;
    case Verb::Action:
        return isAgent ? *this : notUnderstood(QStringLiteral("--action"));
    default:
        return isAgent ? invalid(QStringLiteral("this is the application of one group. Ask Cobblet itself.")) : *this;
    }
}

std::optional<CommandReply> CommandLine::answer(const QString &version) const
{
    switch (verb) {
    case Verb::Help:
        return CommandReply{0, usage(), {}};
    case Verb::Version:
        return CommandReply{0, QStringLiteral("Cobblet %1\n").arg(version), {}};
    case Verb::Invalid:
        return CommandReply{usageError, {}, QStringLiteral("cobblet: %1\n").arg(text) + usage()};
    default:
        return std::nullopt;
    }
}

std::optional<QString> CommandLine::groupToShow() const
{
    if (verb == Verb::Show)
        return text;
    if (verb == Verb::Say)
        if (const auto request = CobbletShortcuts::understood(text); request && request->verb == IntentVerb::Show)
            return request->group;
    if (verb == Verb::Open)
        if (const auto url = GroupUrl::parse(text); url && url->verb == IntentVerb::Show)
            return url->group;
    return std::nullopt;
}

bool CommandLine::needsPanel() const
{
    return verb == Verb::Panel || verb == Verb::Service || verb == Verb::Settings || groupToShow();
}

} // namespace cobblet
