#pragma once

#include "control/GroupActions.h"
#include "control/GroupReports.h"
#include "control/UsageTracker.h"
#include "integration/IntentService.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "support/FakeDesktop.h"
#include "support/Messages.h"
#include "support/VirtualScheduler.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet::test {

/// The service over an in-memory desktop. Group n (from 1) has the id "0000000n-0000-4000-8000-0000000000AB".
class IntentTest : public testing::Test {
protected:
    static QUuid id(int number) { return QUuid(idText(number)); }
    static QString idText(int number)
    {
        return QStringLiteral("%1-0000-4000-8000-0000000000AB").arg(number, 8, 10, QLatin1Char('0'));
    }
    static QString text(const char *utf8) { return QString::fromUtf8(utf8); }

    /// Replaces the list by groups with these names, each with one application "a" that is installed.
    void setGroups(const std::vector<QString> &names)
    {
        QList<AppGroup> groups;
        for (const QString &name : names) {
            AppGroup group;
            group.id = id(int(groups.size()) + 1);
            group.name = name;
            group.emoji = QStringLiteral("💼");
            group.apps = {{QStringLiteral("Editor"), QStringLiteral("a")}};
            groups.append(group);
        }
        config.replaceGroups(groups);
        log.clear();
    }

    /// The answer to a request that is complete at once or within some seconds.
    template<class Ask>
    std::optional<IntentResult> answer(Ask ask)
    {
        std::optional<IntentResult> result;
        ask([&result](const IntentResult &given) {
            EXPECT_FALSE(result) << "answered twice";
            result = given;
        });
        scheduler.advance(std::chrono::seconds(10));
        return result;
    }
    /// The dialog, or the failure's first line after its kind.
    static std::string said(const std::optional<IntentResult> &result)
    {
        if (!result)
            return "no answer";
        if (*result)
            return result->value().dialog.toStdString();
        static constexpr const char *kinds[] = {"not found: ", "ambiguous: ", "invalid: "};
        const auto &failure = result->cause();
        return kinds[int(failure.kind)] + failure.message.section(QLatin1Char('\n'), 0, 0).toStdString();
    }

    CommandReply command(const QStringList &arguments)
    {
        std::optional<CommandReply> reply;
        service.commandLine(arguments, [&reply](const CommandReply &given) {
            EXPECT_FALSE(reply) << "answered twice";
            reply = given;
        });
        scheduler.advance(std::chrono::seconds(10));
        EXPECT_TRUE(reply);
        return reply.value_or(CommandReply{-1, {}, {}});
    }

    QTemporaryDir folder;
    Log log;
    VirtualScheduler scheduler;
    FakeWorkspace workspace{&log};
    FakeRunningApplications running{&log};
    FakeWindowAccess windows;
    FakeDefaults defaults;
    FakeDockTile dockTile;
    NotificationCenter notifications;
    ConfigManager config{{folder.path()}, defaults};
    UsageTracker usage{folder.path(), running, workspace, scheduler};
    GroupActions actions{workspace, running, windows, usage, defaults, scheduler};
    GroupReports reports{actions, workspace, running, scheduler};
    IntentService service{{config, notifications, dockTile, [this]() -> GroupReports & { return reports; }},
                          [this] { log.append(QStringLiteral("panel")); },
                          QStringLiteral("1.2.3")};

    void SetUp() override
    {
        workspace.install(QStringLiteral("a"));
        record(notifications, log);
    }
};

} // namespace cobblet::test
