#include "app/Application.h"
#include "app/CommandLine.h"
#include "platform/Instance.h"
#include "platform/Platform.h"
#include "platform/portable/UnixSignals.h"

#include <QApplication>

#include <cstdio>
#include <sysexits.h>

namespace {

using namespace cobblet;

QStringList argumentsOf(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

void print(std::FILE *stream, const QString &text)
{
    std::fputs(text.toLocal8Bit().constData(), stream);
}

int run(const Bundle &bundle)
{
    // Before the toolkit starts, so that a later start that only hands over costs little.
    std::unique_ptr<Platform> platform = makePlatform(bundle);
    if (platform->instance().claim() == Instance::Role::HandedOver)
        return EX_OK;
    platform->warmUp();

    // The toolkit names windows after the program, and gets none of the arguments, which are ours.
    int argc = 1;
    char name[] = "cobblet";
    char *argv[] = {name, nullptr};
    QApplication qtApplication(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Cobblet"));
    QApplication::setApplicationVersion(bundle.version);
    QApplication::setDesktopFileName(bundle.identifier);
    QApplication::setQuitOnLastWindowClosed(false);

    const UnixSignals unixSignals;
    QObject::connect(&unixSignals, &UnixSignals::quitRequested, &qtApplication, &QApplication::quit);

    int status = EX_OK;
    {
        Application application(bundle, *platform);
        application.start();
        status = QApplication::exec();
    }
    platform.reset(); // it may hold windows, which end before the toolkit does
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    const CommandLine line = CommandLine::parse(argumentsOf(argc, argv));
    if (line.verb == CommandLine::Verb::Invalid) {
        print(stderr, QStringLiteral("cobblet: “%1” is not understood.\n").arg(line.invalid) + CommandLine::usage());
        return EX_USAGE;
    }
    if (line.verb == CommandLine::Verb::Help) {
        print(stdout, CommandLine::usage());
        return EX_OK;
    }
    const Bundle bundle = Bundle::current();
    if (line.verb == CommandLine::Verb::Version) {
        print(stdout, QStringLiteral("Cobblet %1\n").arg(bundle.version));
        return EX_OK;
    }
    return run(bundle);
}
