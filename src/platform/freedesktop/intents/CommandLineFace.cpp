#include "platform/freedesktop/intents/Faces.h"

#include <QStringDecoder>

#include <sysexits.h>

namespace cobblet {

namespace {

/// Whether somebody waits for the panel: a command that shows it, an address, or no command at all.
CallQueue::Lane laneOfCommand(const BusCall &call)
{
    const QByteArray first = call.byteTexts(0).value(0);
    return first.isEmpty() || first.startsWith("show") || first.startsWith("cobblet:") ? CallQueue::Lane::Urgent
                                                                                       : CallQueue::Lane::Ordinary;
}

void run(const BusCall &call, Faces &faces)
{
    QStringList arguments;
    for (QByteArray bytes : call.byteTexts(0)) {
        if (bytes.endsWith('\0')) // some bindings close their byte strings with one
            bytes.chop(1);
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = decoder(bytes);
        if (decoder.hasError() || bytes.contains('\0'))
            return call.reply(
                {int(EX_USAGE), QString(),
                 QStringLiteral("cobblet: argument %1 is no text in UTF-8.\n").arg(arguments.size() + 1)});
        arguments.append(text);
    }
    faces.service.userActed(call.map(1));
    faces.requests->commandLine(arguments, [call](const CommandReply &reply) {
        call.reply({reply.status, reply.output, reply.errors});
    });
}

} // namespace

BusInterface commandLineFace(Faces &faces)
{
    return {.name = "com.vantor.cobblet.CommandLine",
            .description = "What the command cobblet asks of the instance that runs.",
            .methods = {{.name = "Run",
                         .description =
                             "Carries out a command line, whose arguments are bytes in UTF-8 without the program's "
                             "name, and answers when it is done: with the exit status and with what is for standard "
                             "output and standard error.",
                         .in = {{"arguments", "aay"}, {"platform_data", "a{sv}"}},
                         .out = {{"status", "i"}, {"output", "s"}, {"errors", "s"}},
                         .handle = [&faces](const BusCall &call) { run(call, faces); },
                         .lane = laneOfCommand,
                         .answersLater = true}}};
}

} // namespace cobblet
