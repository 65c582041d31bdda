#include "app/Headless.h"

#include "app/Core.h"
#include "platform/Bundle.h"
#include "platform/Platform.h"
#include "platform/portable/UnixSignals.h"

#include <QCoreApplication>

namespace cobblet {

namespace {

/// An application object, which the event loop and the watching of files need, and all that stands on it.
class Headless {
public:
    explicit Headless(const Bundle &bundle)
        : m_application(m_argc, m_argv), m_platform(makePlatform(bundle)), m_core(bundle, *m_platform, false, [] {})
    {
        QObject::connect(&m_signals, &UnixSignals::quitRequested, &m_application, &QCoreApplication::quit);
    }

    IntentService &intents() { return m_core.intents(); }

private:
    int m_argc = 1;
    char m_name[8] = "cobblet";
    char *m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application;
    const UnixSignals m_signals;
    const std::unique_ptr<Platform> m_platform;
    Core m_core;
};

} // namespace

CommandReply runHeadless(const Bundle &bundle, const CommandLine &line)
{
    std::optional<CommandReply> reply;
    {
        Headless headless(bundle);
        headless.intents().run(line, [&reply](const CommandReply &answer) {
            reply = answer;
            QCoreApplication::quit();
        });
        if (!reply)
            QCoreApplication::exec();
    } // what is unanswered by now is answered by the end of those who work on it
    return reply.value_or(CommandReply{});
}

std::optional<CommandReply> refusal(const Bundle &bundle, const CommandLine &line)
{
    if (!line.groupToShow())
        return std::nullopt;
    return Headless(bundle).intents().refusal(line);
}

} // namespace cobblet
