#pragma once

#include "integration/CommandLine.h"
#include "integration/GroupIntents.h"
#include "integration/GroupQuery.h"

namespace cobblet {

/// Answers what assistants, searches, scripts and the command line ask of the program.
class IntentService : public IntentRequests {
public:
    /// `showPanel` does what a click on the application's icon does. `version` is the program's.
    IntentService(IntentTargets targets, std::function<void()> showPanel, QString version);

    QList<GroupEntity> groups() const override;
    QList<GroupEntity> groupsMatching(const QString &text) const override;
    /// At most 200. A text longer than any phrase finds nothing.
    QList<IntentMatch> search(const QString &text) const override;
    std::optional<IntentMatch> match(IntentVerb verb, const QUuid &group) const override;

    void perform(IntentVerb verb, const QString &nameOrId, Done done) override;
    void perform(IntentVerb verb, const GroupEntity &chosen, Done done) override;
    void say(const QString &phrase, Done done) override;
    void showPanel() override { m_showPanel(); }

    void commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done) override;
    void open(const QStringList &urls) override;

    /// What the command line says of these outcomes.
    static CommandReply reply(const QList<IntentOutcome> &outcomes);
    /// Carries out a command line. `done` is called exactly once, perhaps before this returns.
    void run(const CommandLine &line, std::function<void(const CommandReply &)> done);
    /// Why a group that a command line wants to be shown can't be; absent when it can, or when it
    /// wants none.
    std::optional<CommandReply> refusal(const CommandLine &line) const;

private:
    const IntentTargets m_targets;
    const std::function<void()> m_showPanel;
    const QString m_version;
    const GroupQuery m_query;
};

} // namespace cobblet
