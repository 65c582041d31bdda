// What other programs can ask over the session bus, called with the toolkit's client and with the desktops' own
// tools.
#include "integration/IntentFixture.h"
#include "model/GroupCoding.h"
#include "platform/PrivateBus.h"
#include "platform/freedesktop/bus/BusCalls.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"

#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTestEventLoop>

namespace cobblet {
namespace {

const char groups[] = "com.vantor.cobblet.Groups";
const char commandLine[] = "com.vantor.cobblet.CommandLine";
const char app[] = "org.freedesktop.Application";
const char provider[] = "org.gnome.Shell.SearchProvider2";
const char runner[] = "org.kde.krunner1";

/// The program's objects on a private bus under its own name, with three groups.
class BusRequestsTest : public test::IntentTest {
protected:
    void SetUp() override
    {
        QList<AppGroup> list(3);
        const char *ids[] = {"6F1B0C52-8D3A-4E0B-9C57-2A4E1D7B9F10", "0B8A4D1E-33C6-4C57-8E0F-71D2C9A6B4E2",
                             "D94E7A20-5B1F-4A86-A3C8-6E0F52B7C1D3"};
        const char *names[] = {"Work", "Homework", "Music"}, *emoji[] = {"💼", "📚", ""};
        for (int i = 0; i < 3; ++i) {
            list[i].id = QUuid(text(ids[i]));
            list[i].name = text(names[i]);
            list[i].emoji = text(emoji[i]);
        }
        list[0].apps = {{u"App"_s, u"org.example.app"_s}, {u"Gone"_s, u"org.example.gone"_s}};
        workspace.install(u"org.example.app"_s);
        config.replaceGroups(list);
        log.clear();
        const CallerHooks hooks{.action = {},
                                .token = [this](const QString &token) { log.append(u"token "_s + token); },
                                .time = [this](quint32 time) { log.append(u"time %1"_s.arg(time)); }};
        instance = std::make_unique<DBusInstance>(bus, u"com.vantor.cobblet"_s, hooks);
        QObject::connect(instance.get(), &Instance::reopen, instance.get(), [this] { log.append(u"reopen"_s); });
        intents = std::make_unique<DBusIntents>(*instance, u"com.vantor.cobblet"_s);
        ASSERT_EQ(instance->claim(), Instance::Role::First);
    }

    QDBusPendingCall send(const char *child, const char *interface, const char *method, const QVariantList &arguments)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(u"com.vantor.cobblet"_s, u"/com/vantor/cobblet"_s + QLatin1String(child),
                                           QLatin1String(interface), QLatin1String(method));
        message.setArguments(arguments);
        return other->connection().asyncCall(message, 20'000);
    }
    /// Lets the event loop turn and the program's time pass.
    bool becomes(const std::function<bool()> &condition)
    {
        const auto passes = [&] { return scheduler.advance(std::chrono::milliseconds(100)), condition(); };
        return QTest::qWaitFor(passes, 10'000);
    }
    bool finish(const QList<QDBusPendingCall> &calls)
    {
        return becomes([&] { return std::ranges::all_of(calls, &QDBusPendingCall::isFinished); });
    }
    /// Calls as another program.
    QDBusMessage call(const char *child, const char *interface, const char *method, const QVariantList &arguments)
    {
        const QDBusPendingCall pending = send(child, interface, method, arguments);
        EXPECT_TRUE(finish({pending})) << method;
        return pending.reply();
    }

    test::PrivateBus privateBus;
    SessionBus bus;
    std::unique_ptr<SessionBus> other = std::make_unique<SessionBus>();
    std::unique_ptr<DBusInstance> instance;
    std::unique_ptr<DBusIntents> intents;
};

TEST_F(BusRequestsTest, WhatThePersonDidIsKnownBeforeTheRequest)
{
    intents->serve(service);
    const QString uuid = uuidText(config.groups().first().id), id = u"show:"_s + uuid + u":Work"_s;
    const QVariantMap startup{{u"desktop-startup-id"_s, u"s_TIME7"_s}}, activation{{u"activation-token"_s, u"t"_s}};
    const auto words = [](const QByteArrayList &list) { return QVariant::fromValue(list); };
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        const char *log;
    } cases[] = {
        {"", groups, "Show", {u"Work"_s, startup}, "token s_TIME7, show"},
        {"", commandLine, "Run", {words({"show", "W\x6frk"}), activation}, "token t, show"},
        {"", commandLine, "Run", {words({QByteArray("a\0b", 3)}), QVariantMap()}, ""},
        {"", app, "Open", {QStringList{u"cobblet://show/Work"_s}, startup}, "token s_TIME7, show"},
        {"/SearchProvider", provider, "ActivateResult", {id, QStringList{u"wor"_s}, 81u}, "time 81, show"},
        {"/SearchProvider", provider, "LaunchSearch", {QStringList{u"wor"_s}, 0u}, "panel"},
        {"/Runner", runner, "SetActivationToken", {u"k"_s}, ""},
        {"/Runner", runner, "Run", {id, QString()}, "token k, show"},
        {"/Runner", runner, "Run", {id, QString()}, "show"},
    };
    for (const auto &each : cases) {
        log.clear();
        const QDBusMessage answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.errorMessage(), QString()) << each.method;
        EXPECT_EQ(log.join(u", "_s).replace(u"Cobblet.showPanel, Cobblet.selectGroupByID "_s + uuid, u"show"_s),
                  text(each.log))
            << each.method;
    }
}

TEST_F(BusRequestsTest, WhatDoesNotFitIsRefusedWithTheReason)
{
    intents->serve(service);
    config.renameGroup(config.groups()[1].id, u"Music"_s);
    const QString error = u"org.freedesktop.DBus.Error."_s, ours = u"com.vantor.cobblet.Error."_s;
    const QString invalid = error + u"InvalidArgs"_s, tooMuch = error + u"LimitsExceeded"_s;
    const QString gone = u"quit:"_s + uuidText(QUuid::createUuid()) + u":A:B"_s;
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
        {"", groups, "Show", {u"Music"_s, none}, ours + u"AmbiguousGroup"_s, "There are 2 groups named “Music”"},
        {"", groups, "Say", {QString()}, invalid, "is not understood"},
        {"", groups, "Show", {1}, error + u"UnknownMethod"_s, "(signature 'i')"},
        {"/Nothing", groups, "List", {}, error + u"UnknownObject"_s, "/Nothing"},
        {"/Runner", runner, "Run", {u"show:Work"_s, QString()}, invalid, "nothing that was found"},
        {"/Runner", runner, "Run", {gone, QString()}, ours + u"GroupNotFound"_s, "no group named “A:B”"},
        {"", app, "ActivateAction", {u"new"_s, QVariantList(), none}, invalid, "no action “new”."},
        {"", groups, "Show", {QString(), QVariantMap{{u"key"_s, deep}}}, tooMuch, "64 KiB"},
        {"", commandLine, "Run", {large, none}, tooMuch, "64 KiB"},
        {"", app, "ActivateAction", {QString(), QVariantList(8'200, 1), none}, tooMuch, "64 KiB"},
    };
    log.clear();
    for (const auto &each : cases) {
        const QDBusMessage answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.errorName(), each.error) << each.method;
        EXPECT_TRUE(answer.errorMessage().contains(text(each.why)))
            << each.method << ": " << qPrintable(answer.errorMessage());
    }
    EXPECT_EQ(log, QStringList());

    EXPECT_EQ(call("", "", "List", {}).errorMessage(), QString()) << "a call may leave the interface out";
    for (const auto &[method, signature] : {std::pair("Actions", "a(sss)"), {"Config", "a{sv}"}, {"Teardown", ""}})
        EXPECT_EQ(call("/Runner", runner, method, {}).signature(), text(signature)) << method;
}

TEST_F(BusRequestsTest, AnyMessageIsAnsweredAndItServesAsBefore)
{
    intents->serve(service);
    QRandomGenerator random(20240);
    const std::function<QVariant(int)> anything = [&](int depth) {
        const int kind = random.bounded(depth > 6 ? 2 : 4);
        if (kind < 2)
            return kind ? QVariant(QRect(1, 2, 3, 4)) : QVariant::fromValue(QByteArrayList(depth, "\xff\xc3"));
        const QVariant inner = anything(depth + 1);
        return kind == 2 ? QVariant::fromValue(QDBusVariant(inner)) : QVariantMap{{u"key"_s, inner}, {{}, inner}};
    };
    for (int round = 0; round < 20; ++round) {
        QList<QDBusPendingCall> calls;
        for (int i = 0; i < 40; ++i) {
            const QVariantMap data{{u"key"_s, anything(0)}};
            calls.append(send("", app, "ActivateAction", {u"a"_s, QVariantList{anything(0)}, data}));
            calls.append(send("", groups, "Show", {anything(0), data}));
        }
        ASSERT_TRUE(finish(calls)) << "in round " << round;
        EXPECT_TRUE(
            std::ranges::none_of(calls, [](const auto &each) { return each.error().type() == QDBusError::NoReply; }));
    }
    EXPECT_EQ(call("", groups, "List", {}).errorMessage(), QString());
}

TEST_F(BusRequestsTest, WhatComesDuringStartUpWaitsForTheProgramAndWhatComesAtTheEndIsRefused)
{
    const QVariantMap none;
    const QVariantList open{QStringList{u"cobblet://show/Work"_s}, none};
    const QList<QDBusPendingCall> waiting{send("", groups, "Find", {u"work"_s}), send("", app, "Open", open)};
    EXPECT_EQ(call("", app, "Activate", {none}).errorMessage(), QString());
    EXPECT_EQ(log, QStringList{u"reopen"_s}) << "the panel opens whether groups are served or not";
    intents->serve(service);
    EXPECT_TRUE(finish(waiting));
    for (const QDBusPendingCall &each : waiting)
        EXPECT_FALSE(each.isError()) << qPrintable(each.error().message());
    EXPECT_EQ(log.size(), 3);

    QTestEventLoop loop;
    other->connection().connect({}, u"/com/vantor/cobblet"_s, text(groups), u"GroupsChanged"_s, &loop,
                                SLOT(exitLoop()));
    (void)other->connection().call(busQuestion("GetId"));
    intents->groupsChanged();
    loop.enterLoop(10);
    EXPECT_FALSE(loop.timeout()) << "a change is announced";

    log.clear();
    const QDBusPendingCall late = send("", groups, "Show", {u"Work"_s, none});
    (void)bus.connection().call(busQuestion("GetId")); // it has arrived, and was not looked at yet
    intents->stop();
    EXPECT_TRUE(finish({late}));
    EXPECT_TRUE(late.isError());
    EXPECT_NE(call("", app, "Open", open).errorMessage(), QString());
    EXPECT_EQ(log, QStringList());
}

TEST_F(BusRequestsTest, OnlySoManyCallsWaitForTheirAnswer)
{
    intents->serve(service);
    QList<QDBusPendingCall> launches; // which wait for the program's time to pass
    for (size_t i = 0; i < BusCalls::maximumOpen; ++i)
        launches.append(send("", groups, "Launch", {u"Work"_s}));
    const QDBusPendingCall quit = send("", groups, "Quit", {u"Work"_s});
    const QDBusPendingCall click = send("", app, "Activate", {QVariantMap()});
    EXPECT_TRUE(QTest::qWaitFor([&] { return quit.isFinished() && click.isFinished(); }));
    EXPECT_EQ(quit.error().type(), QDBusError::LimitsExceeded);
    EXPECT_FALSE(click.isError()) << "a click is never refused";
    ASSERT_TRUE(finish(launches));
    for (const QDBusPendingCall &each : launches)
        EXPECT_EQ(each.reply().arguments().value(0).toString(), u"Launching Work."_s);
    launches = {send("", groups, "Launch", {u"Work"_s})};
    EXPECT_TRUE(QTest::qWaitFor([&] { return scheduler.pending() > 0; })) << "there is room again";
    other = std::make_unique<SessionBus>(); // the caller is gone
    EXPECT_EQ(call("", groups, "Launch", {u"Work"_s}).signature(), u"sa(ssss)"_s);
}

/// Every block of the documentation that is marked "console" has commands after "$ ", each followed by what it
/// prints.
TEST_F(BusRequestsTest, TheDocumentedCallsAnswerAsDocumented)
{
    intents->serve(service);
    const QString documentation = QString::fromUtf8(test::content(QStringLiteral(DOCUMENTED_CALLS)));
    auto blocks = QRegularExpression(u"```console\\n(.*?)```"_s, QRegularExpression::DotMatchesEverythingOption)
                      .globalMatch(documentation);
    int ran = 0;
    while (blocks.hasNext())
        for (const QString &step : (u'\n' + blocks.next().captured(1)).split(u"\n$ "_s, Qt::SkipEmptyParts)) {
            const QString command = step.section(u'\n', 0, 0);
            QProcess process;
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(u"env"_s, {u"LC_ALL=C.UTF-8"_s, u"sh"_s, u"-c"_s, command}); // else names come escaped
            EXPECT_TRUE(becomes([&] { return process.state() == QProcess::NotRunning; }));
            EXPECT_EQ(QString::fromUtf8(process.readAll()).trimmed(), step.section(u'\n', 1).trimmed())
                << qPrintable(command);
            ++ran;
        }
    EXPECT_GE(ran, 8);
}

} // namespace
} // namespace cobblet
