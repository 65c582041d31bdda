#pragma once

#include "integration/Diagnostics.h"
#include "integration/IntentService.h"
#include "support/GroupsFixture.h"

namespace cobblet::test {

/// The service over an in-memory desktop. Group n (from 1) has the id "0000000n-0000-4000-8000-0000000000AB".
class IntentTest : public testing::Test, protected GroupsFixture {
protected:
    static QUuid id(int number) { return QUuid(idText(number)); }
    static QString idText(int number)
    {
        return u"%1-0000-4000-8000-0000000000AB"_s.arg(number, 8, 10, QLatin1Char('0'));
    }
    static QString text(const char *utf8) { return QString::fromUtf8(utf8); }

    /// Replaces the list by groups with these names, each with one application "a" that is installed.
    void setGroups(const QStringList &names)
    {
        QList<AppGroup> groups;
        for (const QString &name : names) {
            AppGroup &group = groups.emplaceBack();
            group.id = id(int(groups.size()));
            group.name = name;
            group.emoji = u"💼"_s;
            group.apps = {{u"Editor"_s, u"a"_s}};
        }
        workspace.install(u"a"_s);
        config.replaceGroups(groups);
        log.clear();
    }

    /// The answer to a request that is complete at once or within some seconds.
    template<class Reply = IntentResult, class Ask>
    std::optional<Reply> answer(Ask ask)
    {
        std::optional<Reply> reply;
        ask([&reply](const Reply &given) {
            EXPECT_FALSE(reply) << "answered twice";
            reply = given;
        });
        scheduler.advance(std::chrono::seconds(10));
        return reply;
    }
    CommandReply command(const QString &line)
    {
        const auto ask = [&](auto done) { service.commandLine(line.split(u' ', Qt::SkipEmptyParts), done); };
        return answer<CommandReply>(ask).value_or(CommandReply{-1, {}, {}});
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
        return kinds[int(failure.kind)] + failure.message.section(u'\n', 0, 0).toStdString();
    }

    Diagnostics diagnostics{
        {Diagnostics::row(u"Dock"_s, [] { return Availability::unavailable(u"There is none."_s); })},
        {running, workspace, scheduler},
        u"1.2.3"_s};
    IntentTargets targets{config,
                          notifications,
                          dockTile,
                          [this]() -> GroupReports & { return reports; },
                          [this] { return usage.mostUsed(); },
                          [this]() -> Diagnostics & { return diagnostics; }};
    IntentService service{targets, [this] { log.append(u"panel"_s); }, u"1.2.3"_s};
};

} // namespace cobblet::test
