#include "app/AgentProgram.h"
#include "app/Headless.h"
#include "app/MainProgram.h"
#include "model/Identifiers.h"
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

/// The toolkit's application object, for one of the two programs.
class Toolkit {
public:
    /// Docks tell the windows of an agent from Cobblet's own by `windowClass`. The toolkit gets none of the
    /// arguments, which are ours.
    Toolkit(const QString &windowClass, const QString &name, const Bundle &bundle)
        : m_windowClass(windowClass.toUtf8()), m_application(m_argc, m_argv)
    {
        QApplication::setApplicationName(name);
        QApplication::setApplicationVersion(bundle.version);
        QApplication::setDesktopFileName(bundle.identifier);
        QApplication::setQuitOnLastWindowClosed(false);
        QObject::connect(&m_signals, &UnixSignals::quitRequested, &m_application, &QApplication::quit);
    }

private:
    int m_argc = 1;
    QByteArray m_windowClass;
    char *m_argv[2] = {m_windowClass.data(), nullptr};
    QApplication m_application;
    const UnixSignals m_signals;
};

/// Starts the program and stays until it ends.
int run(PanelProgram &program)
{
    program.start();
    return QApplication::exec();
}

int runMain(const Bundle &bundle, PlatformOptions options, const CommandLine &line, const QStringList &arguments)
{
    options.windowlessPrefix = identifier::agentPrefix;
    if (const auto refused = refusal(bundle, options, line))
        return finish(*refused);
    // Before the toolkit starts, so that a later start that only hands over costs little.
    std::unique_ptr<Platform> platform = makePlatform(options);
    // Before the name is claimed, so that whoever the bus started this program for finds all of it.
    platform->intentsHost();
    if (platform->instance().claim(arguments) == Instance::Role::HandedOver)
        return finish(platform->instance().answer());
    platform->warmUp();

    const Toolkit toolkit(QStringLiteral("cobblet"), QStringLiteral("Cobblet"), bundle);
    const int status = [&] {
        MainProgram program(bundle, *platform, line);
        return run(program);
    }();
    platform.reset(); // it may hold windows, which end before the toolkit does
    return status;
}

int runAgent(const Bundle &bundle, const PlatformOptions &options, const QStringList &arguments)
{
    std::unique_ptr<Platform> platform = makePlatform(options);
    if (platform->instance().claim(arguments) == Instance::Role::HandedOver)
        return finish(platform->instance().answer());
    platform->warmUp();

    const Toolkit toolkit(bundle.identifier, bundle.identifier, bundle);
    const int status = [&] {
        AgentProgram program(bundle, *platform);
        return run(program);
    }();
    platform.reset();
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    const QByteArrayList arguments = argumentsOf(argc, argv);
    const Bundle bundle = Bundle::holding(runningExecutable());
    const bool isAgent = isAgentIdentifier(bundle.identifier);
    const CommandLine line = CommandLine::parse(arguments).takenBy(isAgent);
    if (const auto answer = line.answer(bundle.version))
        return finish(*answer);

    const PlatformOptions options{.identifier = bundle.identifier.isEmpty() ? QString(identifier::mainApplication)
                                                                            : bundle.identifier,
                                  .standardDomain = identifier::mainApplication,
                                  .sharedSuite = identifier::sharedSuite,
                                  .folderName = QStringLiteral("Cobblet"),
                                  .bundlePath = bundle.path};
    if (!line.needsPanel())
        return finish(runHeadless(bundle, options, line));
    return isAgent ? runAgent(bundle, options, texts(arguments)) : runMain(bundle, options, line, texts(arguments));
}
