#include "app/Headless.h"

#include "app/Core.h"
#include "app/DiagnosticsSources.h"
#include "platform/portable/UnixSignals.h"
#include "standalone/AgentGroup.h"
#include "standalone/AgentMenu.h"

#include <QCoreApplication>

#include <sysexits.h>

namespace cobblet {

namespace {

/// An application object, which the event loop and the watching of files need, and all that stands on it.
class Headless {
public:
    Headless(const Bundle &bundle, const PlatformOptions &options)
        : m_bundle(bundle), m_application(m_argc, m_argv), m_platform(makePlatform(forCommand(options))),
          m_core(*m_platform, bundle, Core::Follows::Nothing,
                 {.showPanel = [] {}, .diagnostics = [this]() -> Diagnostics & { return diagnostics(); }})
    {
        QObject::connect(&m_signals, &UnixSignals::quitRequested, &m_application, &QCoreApplication::quit);
    }

    IntentService &intents() { return m_core.intents(); }

    /// An entry of the menu that an agent has in docks, while that agent does not run.
    void perform(const QString &action, const std::function<void(const CommandReply &)> &done)
    {
        const auto group = ownGroup(m_bundle, m_core.config());
        if (!group)
            return done({EX_CONFIG, {}, QStringLiteral("cobblet: %1\n").arg(group.error())});
        const auto told = [done](const QList<IntentOutcome> &outcomes) { done(IntentService::reply(outcomes)); };
        if (!performAgentAction(action, group.value(), m_core.reports(), told))
            done({EX_USAGE, {}, QStringLiteral("cobblet: the group has no such entry any more.\n")});
    }

private:
    Diagnostics &diagnostics()
    {
        if (!m_diagnostics)
            m_diagnostics = makeDiagnostics(*m_platform, m_core.config(), m_bundle, nullptr);
        return *m_diagnostics;
    }

    static PlatformOptions forCommand(PlatformOptions options)
    {
        options.purpose = PlatformOptions::Purpose::Command;
        options.windowlessPrefix.clear(); // asking the bus takes longer than the command does
        return options;
    }

    const Bundle &m_bundle;
    int m_argc = 1;
    char m_name[8] = "cobblet";
    char *m_argv[2] = {m_name, nullptr};
    QCoreApplication m_application;
    const UnixSignals m_signals;
    const std::unique_ptr<Platform> m_platform;
    Core m_core;
    std::unique_ptr<Diagnostics> m_diagnostics;
};

} // namespace

CommandReply runHeadless(const Bundle &bundle, const PlatformOptions &options, const CommandLine &line)
{
    std::optional<CommandReply> reply;
    {
        Headless headless(bundle, options);
        const auto done = [&reply](const CommandReply &answer) {
            reply = answer;
            QCoreApplication::quit();
        };
        if (line.verb == CommandLine::Verb::Action)
            headless.perform(line.text, done);
        else
            headless.intents().run(line, done);
        if (!reply)
            QCoreApplication::exec();
    } // what is unanswered by now is answered by the end of those who work on it
    return reply.value_or(CommandReply{});
}

std::optional<CommandReply> refusal(const Bundle &bundle, const PlatformOptions &options, const CommandLine &line)
{
    if (!line.groupToShow())
        return std::nullopt;
    return Headless(bundle, options).intents().refusal(line);
}

} // namespace cobblet
