// What other programs can ask over the session bus, called with the toolkit's client and with the desktops' own
// tools.
#include "PrivateBus.h"

#include "platform/freedesktop/bus/BusCalls.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"

#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTestEventLoop>

#include <algorithm>
#include <array>

using namespace cobblet;

namespace {

const char groups[] = "com.vantor.cobblet.Groups";
const char commandLine[] = "com.vantor.cobblet.CommandLine";
const char app[] = "org.freedesktop.Application";
const char provider[] = "org.gnome.Shell.SearchProvider2";
const char runner[] = "org.kde.krunner1";

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

/// A program with three groups, that writes down what it is asked.
class RecordingRequests : public IntentRequests {
public:
    QList<GroupEntity> groups() const override { return stored; }
    QList<GroupEntity> groupsMatching(const QString &text) const override
    {
        QList<GroupEntity> found = stored;
        found.removeIf([&](auto &group) { return !group.name.contains(text, Qt::CaseInsensitive); });
        return found;
    }
    QList<IntentMatch> search(const QString &text) const override
    {
        QList<IntentMatch> matches;
        for (const GroupEntity &group : groupsMatching(text))
            matches.append({IntentVerb::Show, group, group.name, s("Show Group"), group.name == text ? 1.0 : 0.5});
        return matches;
    }
    std::optional<IntentMatch> match(IntentVerb verb, const QUuid &id) const override
    {
        const auto found = search(stored[0].name);
        return verb == IntentVerb::Show && id == stored[0].id ? std::optional(found[0]) : std::nullopt;
    }
    void perform(IntentVerb verb, const QString &nameOrId, Done done) override
    {
        log.append(s(std::array{"launch ", "quit ", "show ", "hide "}[size_t(verb)]) + nameOrId);
        if (keeps)
            pending.append(done);
        else if (nameOrId == s("Twice"))
            done(IntentFailure{IntentFailure::Kind::AmbiguousGroup, s("Two.\nA\nB"), stored});
        else if (nameOrId != s("Work") && QUuid(nameOrId) != stored[0].id)
            done(IntentFailure{IntentFailure::Kind::GroupNotFound, s("There is no such group."), {}});
        else if (verb == IntentVerb::Launch)
            done(IntentReply{s("Launching Work."),
                             {{s("org.example.app"), s("App"), IntentOutcome::Kind::Launched, {}},
                              {s("org.example.app"), s("App"), IntentOutcome::Kind::Failed, s("It broke.")}}});
        else
            done(IntentReply{s("Done."), {}});
    }
    void perform(IntentVerb verb, const GroupEntity &chosen, Done done) override
    {
        if (chosen.id == stored[0].id)
            return perform(verb, chosen.id.toString(QUuid::WithoutBraces).toUpper(), done);
        done(IntentFailure{IntentFailure::Kind::GroupNotFound, s("There is no ") + chosen.name, {}});
    }
    void say(const QString &phrase, Done done) override
    {
        if (phrase.isEmpty())
            return done(IntentFailure{IntentFailure::Kind::Invalid, s("Nothing was said."), {}});
        done(IntentReply{s("Launching Work."), {}});
    }
    void showPanel() override { log.append(s("panel")); }
    void commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done) override
    {
        log.append(s("run ") + arguments.join(u'|'));
        done({2, s("out\n"), s("err\n")});
    }
    void open(const QStringList &urls) override { log.append(s("open ") + urls.join(u' ')); }

    const QList<GroupEntity> stored{{QUuid(s("6F1B0C52-8D3A-4E0B-9C57-2A4E1D7B9F10")), s("Work"), s("💼")},
                                    {QUuid(s("0B8A4D1E-33C6-4C57-8E0F-71D2C9A6B4E2")), s("Homework"), s("📚")},
                                    {QUuid(s("D94E7A20-5B1F-4A86-A3C8-6E0F52B7C1D3")), s("Music"), {}}};
    QStringList log; ///< what the person did too: "token T", "time N", "reopen"
    bool keeps = false;
    QList<Done> pending; ///< where it keeps them
};

/// The program's objects on a private bus under its own name.
class IntentsTest : public test::PrivateBusTest {
protected:
    void SetUp() override
    {
        const CallerHooks hooks{.action = {},
                                .token = [this](const QString &token) { requests.log.append(s("token ") + token); },
                                .time = [this](quint32 time) { requests.log.append(s("time %1").arg(time)); }};
        instance = std::make_unique<DBusInstance>(bus, s("com.vantor.cobblet"), hooks);
        QObject::connect(instance.get(), &Instance::reopen, instance.get(),
                         [this] { requests.log.append(s("reopen")); });
        intents = std::make_unique<DBusIntents>(*instance, s("com.vantor.cobblet"));
        ASSERT_EQ(instance->claim(), Instance::Role::First);
    }

    QDBusPendingCall send(const char *child, const char *interface, const char *method, const QVariantList &arguments)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(s("com.vantor.cobblet"), s("/com/vantor/cobblet") + QLatin1String(child),
                                           QLatin1String(interface), QLatin1String(method));
        message.setArguments(arguments);
        return other->connection().asyncCall(message, 20'000);
    }
    static bool finish(const QList<QDBusPendingCall> &calls)
    {
        return becomes([&] { return std::ranges::all_of(calls, &QDBusPendingCall::isFinished); });
    }
    /// Calls as another program and lets the event loop turn until the answer is there.
    QDBusMessage call(const char *child, const char *interface, const char *method, const QVariantList &arguments)
    {
        const QDBusPendingCall pending = send(child, interface, method, arguments);
        EXPECT_TRUE(finish({pending})) << method;
        return pending.reply();
    }

    SessionBus bus;
    std::unique_ptr<SessionBus> other = std::make_unique<SessionBus>();
    RecordingRequests requests;
    std::unique_ptr<DBusInstance> instance;
    std::unique_ptr<DBusIntents> intents;
};

TEST_F(IntentsTest, WhatThePersonDidIsKnownBeforeTheRequest)
{
    intents->serve(requests);
    const QString uuid = requests.stored[0].id.toString(QUuid::WithoutBraces).toUpper(),
                  id = s("show:") + uuid + s(":Work");
    const QStringList terms{s("wor")};
    const QVariantMap startup{{s("desktop-startup-id"), s("s_TIME7")}}, activation{{s("activation-token"), s("t")}};
    const auto words = [](const QByteArrayList &list) { return QVariant::fromValue(list); };
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        const char *log;
    } cases[] = {
        {"", groups, "Show", {s("Work"), startup}, "token s_TIME7, show Work"},
        {"", commandLine, "Run", {words({"show", "M\xc3\xbcsik", ""}), activation}, "token t, run show|Müsik|"},
        {"", commandLine, "Run", {words({QByteArray("a\0b", 3)}), QVariantMap()}, ""},
        {"", app, "Open", {QStringList{s("cobblet:x")}, startup}, "token s_TIME7, open cobblet:x"},
        {"/SearchProvider", provider, "ActivateResult", {id, terms, 81u}, "time 81, show ID"},
        {"/SearchProvider", provider, "LaunchSearch", {terms, 0u}, "panel"},
        {"/Runner", runner, "SetActivationToken", {s("k")}, ""},
        {"/Runner", runner, "Run", {id, QString()}, "token k, show ID"},
        {"/Runner", runner, "Run", {id, QString()}, "show ID"},
    };
    for (const auto &each : cases) {
        requests.log.clear();
        const QDBusMessage answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.errorMessage(), QString()) << each.method;
        EXPECT_EQ(requests.log.join(s(", ")).replace(uuid, s("ID")), s(each.log)) << each.method;
    }
}

TEST_F(IntentsTest, WhatDoesNotFitIsRefusedWithTheReason)
{
    intents->serve(requests);
    const QString error = s("org.freedesktop.DBus.Error."), ambiguous = s("com.vantor.cobblet.Error.AmbiguousGroup");
    const QString notFound = s("com.vantor.cobblet.Error.GroupNotFound");
    const QString gone = s("quit:") + QUuid::createUuid().toString(QUuid::WithoutBraces) + s(":A:B");
    const QString invalid = error + s("InvalidArgs"), tooMuch = error + s("LimitsExceeded");
    const QVariantMap none;
    const QVariant large = QVariant::fromValue(QByteArrayList(2, QByteArray(33'000, 'x')));
    QVariant deep = QString(66'000, u'x');
    for (int i = 0; i < 50; ++i)
        deep = QVariant::fromValue(QDBusVariant(deep));
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        QString error;
        const char *why;
    } cases[] = {
        {"", groups, "Show", {s("Twice"), none}, ambiguous, "Two.\nA\nB"},
        {"", groups, "Say", {QString()}, invalid, "Nothing was said."},
        {"", groups, "Show", {1}, error + s("UnknownMethod"), "(signature 'i')"},
        {"/Nothing", groups, "List", {}, error + s("UnknownObject"), "/Nothing"},
        {"/Runner", runner, "Run", {s("show:Work"), s("")}, invalid, "nothing that was found"},
        {"/Runner", runner, "Run", {gone, s("")}, notFound, "no A:B"},
        {"", app, "ActivateAction", {s("new"), QVariantList(), none}, invalid, "no action “new”."},
        {"", groups, "Show", {s(""), QVariantMap{{s("key"), deep}}}, tooMuch, "64 KiB"},
        {"", commandLine, "Run", {large, none}, tooMuch, "64 KiB"},
        {"", app, "ActivateAction", {s(""), QVariantList(8'200, 1), none}, tooMuch, "64 KiB"},
    };
    for (const auto &each : cases) {
        const QDBusMessage answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.errorName(), each.error) << each.method;
        EXPECT_TRUE(answer.errorMessage().contains(s(each.why)))
            << each.method << ": " << qPrintable(answer.errorMessage());
    }
    EXPECT_EQ(requests.log, QStringList{s("show Twice")});

    EXPECT_EQ(call("", "", "List", {}).errorMessage(), QString()) << "a call may leave the interface out";
    for (const auto &[method, signature] : {std::pair("Actions", "a(sss)"), {"Config", "a{sv}"}, {"Teardown", ""}})
        EXPECT_EQ(call("/Runner", runner, method, {}).signature(), s(signature)) << method;
}

TEST_F(IntentsTest, AnyMessageIsAnsweredAndItServesAsBefore)
{
    intents->serve(requests);
    QRandomGenerator random(20240);
    const std::function<QVariant(int)> anything = [&](int depth) {
        const int kind = random.bounded(depth > 6 ? 2 : 4);
        if (kind < 2)
            return kind ? QVariant(QRect(1, 2, 3, 4)) : QVariant::fromValue(QByteArrayList(depth, "\xff\xc3"));
        const QVariant inner = anything(depth + 1);
        return kind == 2 ? QVariant::fromValue(QDBusVariant(inner)) : QVariantMap{{s("key"), inner}, {{}, inner}};
    };
    for (int round = 0; round < 20; ++round) {
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 40; ++i) {
            const QVariantMap data{{s("key"), anything(0)}};
            calls.append(send("", app, "ActivateAction", {s("a"), QVariantList{anything(0)}, data}));
            calls.append(send("", groups, "Show", {anything(0), data}));
        }
        ASSERT_TRUE(finish(calls)) << "in round " << round;
        EXPECT_TRUE(
            std::ranges::none_of(calls, [](const auto &each) { return each.error().type() == QDBusError::NoReply; }));
    }
    EXPECT_EQ(call("", groups, "List", {}).errorMessage(), QString());
}

TEST_F(IntentsTest, WhatComesDuringStartUpWaitsForTheProgramAndWhatComesAtTheEndIsRefused)
{
    const QList<QDBusPendingCall> waiting{send("", groups, "Find", {s("work")}),
                                          send("", groups, "Show", {s("Work"), QVariantMap()}),
                                          send("", app, "Open", {QStringList{s("cobblet:x")}, QVariantMap()})};
    EXPECT_EQ(call("", app, "Activate", {QVariantMap()}).errorMessage(), QString());
    EXPECT_EQ(requests.log, QStringList{s("reopen")}) << "the panel opens whether groups are served or not";
    intents->serve(requests);
    EXPECT_TRUE(finish(waiting));
    for (const QDBusPendingCall &each : waiting)
        EXPECT_FALSE(each.isError()) << qPrintable(each.error().message());
    EXPECT_EQ(requests.log.join(s(", ")), s("reopen, show Work, open cobblet:x"));

    QTestEventLoop loop;
    other->connection().connect({}, s("/com/vantor/cobblet"), s(groups), s("GroupsChanged"), &loop, SLOT(exitLoop()));
    (void)other->connection().call(busQuestion("GetId"));
    intents->groupsChanged();
    loop.enterLoop(10);
    EXPECT_FALSE(loop.timeout()) << "a change is announced";

    requests.log.clear();
    const QDBusPendingCall late = send("", groups, "Quit", {s("Work")});
    (void)bus.connection().call(busQuestion("GetId")); // it has arrived, and was not looked at yet
    intents->stop();
    EXPECT_TRUE(finish({late}));
    EXPECT_TRUE(late.isError());
    EXPECT_NE(call("", app, "Open", {QStringList{s("cobblet:x")}, QVariantMap()}).errorMessage(), QString());
    EXPECT_EQ(requests.log, QStringList());
}

TEST_F(IntentsTest, OnlySoManyCallsWaitForTheirAnswerAndEachGetsOne)
{
    intents->serve(requests);
    requests.keeps = true;
    QList<QDBusPendingCall> launches;
    for (size_t i = 0; i < BusCalls::maximumOpen; ++i)
        launches.append(send("", groups, "Launch", {s("Work")}));
    EXPECT_EQ(call("", groups, "Quit", {s("Work")}).errorName(), s("org.freedesktop.DBus.Error.LimitsExceeded"));
    ASSERT_EQ(requests.pending.size(), qsizetype(BusCalls::maximumOpen));
    EXPECT_EQ(call("", app, "Activate", {QVariantMap()}).errorName(), QString()) << "a click is never refused";

    const auto done = requests.pending.takeFirst();
    done(IntentReply{s("Quitting Work."), {{s("a"), s("A"), IntentOutcome::Kind::StillRunning, {}}}});
    done(IntentReply{}); // once too often
    ASSERT_TRUE(finish({launches[0]}));
    EXPECT_EQ(launches[0].reply().arguments().value(0).toString(), s("Quitting Work."));
    EXPECT_EQ(launches[0].reply().signature(), s("sa(ssss)"));
    requests.keeps = false;
    EXPECT_EQ(call("", groups, "List", {}).errorName(), QString()) << "its place is free again";
    requests.pending.removeLast();
    ASSERT_TRUE(finish({launches.last()}));
    EXPECT_EQ(launches.last().error().type(), QDBusError::NoReply) << "nobody waits for what cannot come";
    other = std::make_unique<SessionBus>();
    for (const auto &each : std::exchange(requests.pending, {}))
        each(IntentReply{}); // to callers that are gone
    EXPECT_EQ(call("", groups, "Launch", {s("Work")}).signature(), s("sa(ssss)"));
}

/// Every block of the documentation that is marked "console" has commands after "$ ", each followed by what it
/// prints.
TEST_F(IntentsTest, TheDocumentedCallsAnswerAsDocumented)
{
    intents->serve(requests);
    QFile file(s(DOCUMENTED_CALLS));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    auto blocks = QRegularExpression(s("```console\\n(.*?)```"), QRegularExpression::DotMatchesEverythingOption)
                      .globalMatch(QString::fromUtf8(file.readAll()));
    int ran = 0;
    while (blocks.hasNext())
        for (const QString &step : (u'\n' + blocks.next().captured(1)).split(s("\n$ "), Qt::SkipEmptyParts)) {
            const QString command = step.section(u'\n', 0, 0);
            QProcess process;
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(s("env"), {s("LC_ALL=C.UTF-8"), s("sh"), s("-c"), command}); // else names come escaped
            EXPECT_TRUE(becomes([&] { return process.state() == QProcess::NotRunning; }));
            EXPECT_EQ(QString::fromUtf8(process.readAll()).trimmed(), step.section(u'\n', 1).trimmed())
                << qPrintable(command);
            ++ran;
        }
    EXPECT_GE(ran, 8);
}

} // namespace
