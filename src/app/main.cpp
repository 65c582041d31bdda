#include "app/Application.h"
#include "app/Headless.h"
#include "platform/Instance.h"
#include "platform/Platform.h"
#include "platform/portable/UnixSignals.h"

#include <QApplication>

#include <cstdio>

namespace {

using namespace cobblet;

QByteArrayList argumentsOf(int argc, char **argv)
{
    QByteArrayList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(argv[i]);
    return arguments;
}

QStringList texts(const QByteArrayList &arguments)
{
    QStringList list;
    for (const QByteArray &argument : arguments)
        list.append(QString::fromUtf8(argument));
    return list;
}

/// Prints the answer and returns the exit status.
int finish(const CommandReply &reply)
{
    std::fputs(reply.output.toUtf8().constData(), stdout);
    std::fputs(reply.errors.toUtf8().constData(), stderr);
    return reply.status;
}

/// Becomes the instance that runs, or hands the arguments over to it.
int runResident(const Bundle &bundle, const CommandLine &line, const QStringList &arguments)
{
    if (const auto refused = refusal(bundle, line))
        return finish(*refused);

    // Before the toolkit starts, so that a later start that only hands over costs little.
    std::unique_ptr<Platform> platform = makePlatform(bundle);
    if (platform->instance().claim(arguments) == Instance::Role::HandedOver)
        return finish(platform->instance().answer());
    platform->warmUp();

    // The toolkit names windows after the program, and gets none of the arguments, which are ours. Docks tell the
    // windows of a group's application from Cobblet's own by these names.
    int argc = 1;
    QByteArray name = bundle.isAgent() ? bundle.identifier.toUtf8() : QByteArrayLiteral("cobblet");
    char *argv[] = {name.data(), nullptr};
    QApplication qtApplication(argc, argv);
    QApplication::setApplicationName(bundle.isAgent() ? bundle.identifier : QStringLiteral("Cobblet"));
    QApplication::setApplicationVersion(bundle.version);
    QApplication::setDesktopFileName(bundle.identifier);
    QApplication::setQuitOnLastWindowClosed(false);

    const UnixSignals unixSignals;
    QObject::connect(&unixSignals, &UnixSignals::quitRequested, &qtApplication, &QApplication::quit);

    int status = 0;
    {
        Application application(bundle, *platform, line);
        application.start();
        status = QApplication::exec();
    }
    platform.reset(); // it may hold windows, which end before the toolkit does
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArrayList arguments = argumentsOf(argc, argv);
    const Bundle bundle = Bundle::current();
    const CommandLine line = CommandLine::parse(arguments).takenBy(bundle.isAgent());
    if (const auto answer = line.answer(bundle.version))
        return finish(*answer);
    return line.needsPanel() ? runResident(bundle, line, texts(arguments)) : finish(runHeadless(bundle, line));
}
