// What the interfaces answer, called with the toolkit's own client.
#include "IntentsFixture.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QTest>

using namespace cobblet;
using namespace cobblet::test;

namespace {

const char groups[] = "com.vantor.cobblet.Groups";
const char commandLine[] = "com.vantor.cobblet.CommandLine";
const char application[] = "org.freedesktop.Application";
const char searchProvider[] = "org.gnome.Shell.SearchProvider2";
const char runner[] = "org.kde.krunner1";

const QString invalidArgs = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
const QString limitsExceeded = QStringLiteral("org.freedesktop.DBus.Error.LimitsExceeded");

QVariantMap token(const char *key, const char *value)
{
    return {{QLatin1String(key), QLatin1String(value)}};
}

QVariant words(std::initializer_list<QByteArray> list)
{
    return QVariant::fromValue(QByteArrayList(list));
}

class DBusIntentsTest : public IntentsTest {};

TEST_F(DBusIntentsTest, WhatThePersonDidIsKnownBeforeTheRequest)
{
    intents->serve(requests);
    const QString id = QStringLiteral("show:") + requests.stored[0].id;
    const QStringList terms{QStringLiteral("wor")};
    const QVariantMap startup = token("desktop-startup-id", "s_TIME7"), activation = token("activation-token", "t");
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        const char *log;
    } cases[] = {
        {"", groups, "Show", {QStringLiteral("Work"), startup}, "token s_TIME7, show Work"},
        {"", commandLine, "Run", {words({"show", "Work"}), activation}, "token t, run show|Work"},
        {"", application, "Activate", {activation}, "token t, reopen"},
        {"",
         application,
         "Open",
         {QStringList{QStringLiteral("cobblet://show/Work")}, startup},
         "token s_TIME7, open cobblet://show/Work"},
        {"/SearchProvider", searchProvider, "ActivateResult", {id, terms, 81u}, "time 81, match ID"},
        {"/SearchProvider", searchProvider, "LaunchSearch", {terms, 0u}, "panel"},
        {"/Runner", runner, "SetActivationToken", {QStringLiteral("k")}, ""},
        {"/Runner", runner, "Run", {id, QString()}, "token k, match ID"},
        {"/Runner", runner, "Run", {id, QString()}, "match ID"},
    };
    for (const auto &each : cases) {
        requests.log.clear();
        const Answer answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.error, QString()) << each.method << qPrintable(answer.why);
        EXPECT_EQ(requests.log.join(QStringLiteral(", ")).replace(id, QStringLiteral("ID")), QLatin1String(each.log))
            << each.method;
    }
}

TEST_F(DBusIntentsTest, AtTheEndWhoWaitsAndWhoComesGetAnErrorAndNobodyIsAsked)
{
    const auto waiting = other->connection().asyncCall(message("", groups, "Quit", {QStringLiteral("Work")}));
    QTest::qWait(50);
    intents->serve(requests);
    intents->stop();
    QDBusPendingCallWatcher watcher(waiting);
    ASSERT_TRUE(QTest::qWaitFor([&] { return watcher.isFinished(); }));
    EXPECT_TRUE(waiting.isError());
    EXPECT_NE(call("", groups, "Launch", {QStringLiteral("Work")}).error, QString());
    EXPECT_NE(
        call("", application, "Open", {QStringList{QStringLiteral("cobblet://show/Work")}, QVariantMap()}).error,
        QString());
    EXPECT_EQ(requests.log, QStringList());
}

TEST_F(DBusIntentsTest, FailuresHaveNamesAndTheProgramsOwnText)
{
    intents->serve(requests);
    const struct {
        const char *method;
        QVariantList arguments;
        const char *error, *why;
    } cases[] = {
        {"Launch", {QStringLiteral("Gone")}, "com.vantor.cobblet.Error.GroupNotFound", "There is no “Gone”."},
        {"Quit", {QString()}, "com.vantor.cobblet.Error.GroupNotFound", "There is no “”."},
        {"Hide", {QStringLiteral("Twice")}, "com.vantor.cobblet.Error.AmbiguousGroup", "Two.\nA\nB"},
        {"Show", {QStringLiteral("Twice"), QVariantMap()}, "com.vantor.cobblet.Error.AmbiguousGroup", "Two.\nA\nB"},
        {"Say", {QString()}, "org.freedesktop.DBus.Error.InvalidArgs", "Nothing was said."},
    };
    for (const auto &each : cases) {
        const Answer answer = call("", groups, each.method, each.arguments);
        EXPECT_EQ(answer.error, QLatin1String(each.error)) << each.method;
        EXPECT_EQ(answer.why, QString::fromUtf8(each.why)) << each.method;
    }
    const Answer gone = call("/SearchProvider", searchProvider, "ActivateResult",
                             {QStringLiteral("show:nothing"), QStringList(), 1u});
    EXPECT_EQ(gone.error, QStringLiteral("com.vantor.cobblet.Error.GroupNotFound"));
}

TEST_F(DBusIntentsTest, WhatDoesNotFitIsAnErrorThatSaysWhatWould)
{
    intents->serve(requests);
    const QString mebibyte(1024 * 1024, u'x');
    const QString accents(4096, u'é'); // twice as many bytes
    QVariant deep = QStringLiteral("x");
    for (int i = 0; i < 50; ++i)
        deep = QVariant::fromValue(QDBusVariant(deep));
    const auto strings = [](int count, int size) { return QVariant(QStringList(count, QString(size, u'x'))); };
    const QVariant bytes = QVariant::fromValue(QByteArrayList(257, "x"));
    const QVariant much(QVariantMap{{QStringLiteral("key"), QByteArray(1024 * 1024, 'x')}});
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        QString error;
        const char *why;
    } cases[] = {
        {"", groups, "Show", {1}, invalidArgs, "Show takes (sa{sv}), not (i)."},
        {"", groups, "List", {QString()}, invalidArgs, "List takes (), not (s)."},
        {"", commandLine, "Run", {QStringList(), QVariantMap()}, invalidArgs, "Run takes (aaya{sv}), not (asa{sv})."},
        {"", application, "Activate", {}, invalidArgs, "Activate takes (a{sv}), not ()."},
        {"/Runner", runner, "Run", {QStringLiteral("id"), QStringLiteral("act")}, invalidArgs, "no further actions"},
        {"",
         application,
         "ActivateAction",
         {QStringLiteral("new-group"), QVariantList(), QVariantMap()},
         invalidArgs,
         "There is no action “new-group”."},
        {"", groups, "Find", {mebibyte}, limitsExceeded, "4096 bytes"},
        {"", groups, "Find", {accents}, limitsExceeded, "4096 bytes"},
        {"", groups, "Show", {QString(), much}, limitsExceeded, "4096 bytes"},
        {"", commandLine, "Run", {words({QByteArray(5'000, 'x')}), QVariantMap()}, limitsExceeded, "4096 bytes"},
        {"", commandLine, "Run", {bytes, QVariantMap()}, limitsExceeded, "256 items"},
        {"/SearchProvider", searchProvider, "GetInitialResultSet", {strings(257, 0)}, limitsExceeded, "256 items"},
        {"/SearchProvider", searchProvider, "GetResultMetas", {strings(100, 4000)}, limitsExceeded, "64 KiB"},
        {"",
         application,
         "ActivateAction",
         {QString(), QVariantList(300, 1), QVariantMap()},
         limitsExceeded,
         "256 items"},
        {"", groups, "Rename", {}, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), "Rename"},
        {"", "", "Rename", {}, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), "Rename"},
        {"", runner, "Match", {QString()}, QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"), ""},
        {"/Nothing", groups, "List", {}, QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"), ""},
        {"",
         "org.freedesktop.DBus.Properties",
         "Get",
         {QLatin1String(groups), QStringLiteral("Count")},
         QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty"),
         "no properties"},
        {"", "org.freedesktop.DBus.Properties", "GetAll", {1}, invalidArgs, "GetAll(s)"},
        {"",
         "org.freedesktop.DBus.Properties",
         "GetAll",
         {QLatin1String(runner)},
         QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"),
         runner},
    };
    for (const auto &each : cases) {
        const Answer answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.error, each.error) << each.method;
        EXPECT_TRUE(answer.why.contains(QString::fromUtf8(each.why)))
            << each.method << ": " << qPrintable(answer.why);
    }
    EXPECT_EQ(requests.log, QStringList()) << "the program hears nothing of them";

    // Odd, and within the bounds.
    EXPECT_EQ(call("", groups, "Show", {QStringLiteral("Work"), QVariantMap{{QStringLiteral("key"), deep}}}).error,
              QString());
    EXPECT_EQ(call("", groups, "Find", {QString(4096, u'x')}).error, QString());
    EXPECT_EQ(call("", "", "List", {}).error, QString()) << "a call may leave the interface out";
    const Answer properties = call("", "org.freedesktop.DBus.Properties", "GetAll", {QLatin1String(groups)});
    EXPECT_EQ(qdbus_cast<QVariantMap>(properties.values.value(0)), QVariantMap());
    EXPECT_EQ(properties.error, QString());
    const Answer metas = call("/SearchProvider", searchProvider, "GetResultMetas",
                              {QStringList{QString(), QStringLiteral("show:nothing")}});
    EXPECT_EQ(qdbus_cast<QList<QVariantMap>>(metas.values.value(0)).size(), 0);
    EXPECT_EQ(metas.error, QString());
}

TEST_F(DBusIntentsTest, ArgumentsOfACommandLineAreBytesInUtf8)
{
    intents->serve(requests);
    const struct {
        QByteArrayList arguments;
        int status;
        QString errors;
        QString log;
    } cases[] = {
        {{}, 2, QStringLiteral("err\n"), QStringLiteral("run ")},
        {{"quit", "M\xc3\xbcsik", ""}, 2, QStringLiteral("err\n"), QStringLiteral("run quit|Müsik|")},
        {{QByteArray("list\0", 5)}, 2, QStringLiteral("err\n"), QStringLiteral("run list")},
        {{"show", "\xff\xfe"}, 64, QStringLiteral("cobblet: argument 2 is no text in UTF-8.\n"), {}},
        {{"\xc3"}, 64, QStringLiteral("cobblet: argument 1 is no text in UTF-8.\n"), {}},
        {{QByteArray("a\0b", 3)}, 64, QStringLiteral("cobblet: argument 1 is no text in UTF-8.\n"), {}},
    };
    for (const auto &each : cases) {
        requests.log.clear();
        const Answer answer = call("", commandLine, "Run", {QVariant::fromValue(each.arguments), QVariantMap()});
        ASSERT_EQ(answer.values.size(), 3) << qPrintable(answer.why);
        EXPECT_EQ(answer.values[0].toInt(), each.status);
        EXPECT_EQ(answer.values[1].toString(), each.status == 64 ? QString() : QStringLiteral("out\n"));
        EXPECT_EQ(answer.values[2].toString(), each.errors);
        EXPECT_EQ(requests.log.join(u';'), each.log);
    }
}

TEST_F(DBusIntentsTest, WhatComesDuringStartUpWaitsForTheProgram)
{
    QList<QDBusPendingCall> waiting;
    const auto send = [&](const char *method, const QVariantList &arguments, const char *interface = groups) {
        waiting.append(other->connection().asyncCall(message("", interface, method, arguments)));
    };
    send("Find", {QStringLiteral("work")});
    send("Show", {QStringLiteral("Work"), QVariantMap()});
    send("Run", {words({"list"}), QVariantMap()}, commandLine);
    send("Open", {QStringList{QStringLiteral("cobblet://show/Work")}, QVariantMap()}, application);
    // Answered behind them, and yet at once: the panel opens whether groups are served or not.
    EXPECT_EQ(call("", application, "Activate", {QVariantMap()}).error, QString());
    EXPECT_EQ(requests.log, QStringList{QStringLiteral("reopen")});

    intents->serve(requests);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return std::all_of(waiting.begin(), waiting.end(), [](auto &each) { return each.isFinished(); }); },
        30'000));
    for (const QDBusPendingCall &each : waiting)
        EXPECT_FALSE(each.isError()) << qPrintable(each.error().message());
    EXPECT_EQ(requests.log.join(QStringLiteral(", ")),
              QStringLiteral("reopen, show Work, find work, run list, open cobblet://show/Work"))
        << "what a person waits for comes first, the rest in order";
}

TEST_F(DBusIntentsTest, RequestsThatTakeTimeAreAnsweredWhenTheyAreDoneAndNotWithoutBound)
{
    intents->serve(requests);
    requests.answersLater = true;
    QList<QDBusPendingCall> launches;
    for (int i = 0; i < BusService::maximumOpen; ++i)
        launches.append(other->connection().asyncCall(message("", groups, "Launch", {QStringLiteral("Work")})));
    ASSERT_TRUE(QTest::qWaitFor([&] { return requests.pending.size() == BusService::maximumOpen; }, 30'000));
    EXPECT_EQ(call("", groups, "Quit", {QStringLiteral("Work")}).error, limitsExceeded);
    EXPECT_EQ(call("", groups, "List", {}).error, QString()) << "what is answered at once still is";
    requests.answersLater = false;
    EXPECT_EQ(call("", groups, "Show", {QStringLiteral("Work"), QVariantMap()}).error, QString());
    EXPECT_FALSE(launches[0].isFinished());

    const IntentOutcome outcome{QStringLiteral("a"), QStringLiteral("A"), IntentOutcome::Kind::StillRunning, {}};
    const auto done = requests.pending.takeFirst();
    done(IntentReply{QStringLiteral("Quitting Work."), {outcome}});
    done(IntentReply{}); // once too often
    ASSERT_TRUE(QTest::qWaitFor([&] { return launches[0].isFinished(); }, 30'000));
    EXPECT_EQ(launches[0].reply().arguments().value(0).toString(), QStringLiteral("Quitting Work."));
    EXPECT_EQ(launches[0].reply().signature(), QStringLiteral("sa(ssss)"));
    EXPECT_EQ(call("", groups, "Launch", {QStringLiteral("Work")}).error, QString()) << "its place is free again";

    // The program ends with the rest unfinished: nobody waits for an answer that cannot come.
    requests.pending.clear();
    ASSERT_TRUE(QTest::qWaitFor([&] { return launches.last().isFinished(); }, 30'000));
    EXPECT_EQ(launches.last().error().type(), QDBusError::NoReply);
}

} // namespace
