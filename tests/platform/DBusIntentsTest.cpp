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
const char app[] = "org.freedesktop.Application";
const char provider[] = "org.gnome.Shell.SearchProvider2";
const char runner[] = "org.kde.krunner1";

const QString standardError = QStringLiteral("org.freedesktop.DBus.Error.");
const QString badArguments = standardError + QStringLiteral("InvalidArgs");
const QString tooMuch = standardError + QStringLiteral("LimitsExceeded");

QString s(const char *text)
{
    return QString::fromUtf8(text);
}

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
    const QString id = s("show:") + requests.stored[0].id;
    const QStringList terms{s("wor")};
    const QVariantMap startup = token("desktop-startup-id", "s_TIME7"), activation = token("activation-token", "t");
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        const char *log;
    } cases[] = {
        {"", groups, "Show", {s("Work"), startup}, "token s_TIME7, show Work"},
        {"", commandLine, "Run", {words({"show", "Work"}), activation}, "token t, run show|Work"},
        {"", app, "Activate", {activation}, "token t, reopen"},
        {"",
         app,
         "Open",
         {QStringList{s("cobblet://show/Work")}, startup},
         "token s_TIME7, open cobblet://show/Work"},
        {"/SearchProvider", provider, "ActivateResult", {id, terms, 81u}, "time 81, match ID"},
        {"/SearchProvider", provider, "LaunchSearch", {terms, 0u}, "panel"},
        {"/Runner", runner, "SetActivationToken", {s("k")}, ""},
        {"/Runner", runner, "Run", {id, QString()}, "token k, match ID"},
        {"/Runner", runner, "Run", {id, QString()}, "match ID"},
    };
    for (const auto &each : cases) {
        requests.log.clear();
        const Answer answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.error, QString()) << each.method << qPrintable(answer.why);
        EXPECT_EQ(requests.log.join(s(", ")).replace(id, s("ID")), QLatin1String(each.log)) << each.method;
    }
}

TEST_F(DBusIntentsTest, AtTheEndWhoWaitsAndWhoComesGetAnErrorAndNobodyIsAsked)
{
    const auto waiting = other->connection().asyncCall(message("", groups, "Quit", {s("Work")}));
    QTest::qWait(50);
    intents->serve(requests);
    intents->stop();
    QDBusPendingCallWatcher watcher(waiting);
    ASSERT_TRUE(QTest::qWaitFor([&] { return watcher.isFinished(); }));
    EXPECT_TRUE(waiting.isError());
    EXPECT_NE(call("", groups, "Launch", {s("Work")}).error, QString());
    EXPECT_NE(call("", app, "Open", {QStringList{s("cobblet://show/Work")}, QVariantMap()}).error, QString());
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
        {"Launch", {s("Gone")}, "com.vantor.cobblet.Error.GroupNotFound", "There is no “Gone”."},
        {"Quit", {QString()}, "com.vantor.cobblet.Error.GroupNotFound", "There is no “”."},
        {"Hide", {s("Twice")}, "com.vantor.cobblet.Error.AmbiguousGroup", "Two.\nA\nB"},
        {"Show", {s("Twice"), QVariantMap()}, "com.vantor.cobblet.Error.AmbiguousGroup", "Two.\nA\nB"},
        {"Say", {QString()}, "org.freedesktop.DBus.Error.InvalidArgs", "Nothing was said."},
    };
    for (const auto &each : cases) {
        const Answer answer = call("", groups, each.method, each.arguments);
        EXPECT_EQ(answer.error, QLatin1String(each.error)) << each.method;
        EXPECT_EQ(answer.why, QString::fromUtf8(each.why)) << each.method;
    }
    const Answer gone = call("/SearchProvider", provider, "ActivateResult", {s("show:nothing"), QStringList(), 1u});
    EXPECT_EQ(gone.error, s("com.vantor.cobblet.Error.GroupNotFound"));
}

TEST_F(DBusIntentsTest, WhatDoesNotFitIsAnErrorThatSaysWhatWould)
{
    intents->serve(requests);
    const QString mebibyte(1024 * 1024, u'x');
    const QString accents(4096, u'é'); // twice as many bytes
    QVariant deep = s("x");
    for (int i = 0; i < 50; ++i)
        deep = QVariant::fromValue(QDBusVariant(deep));
    const auto strings = [](int count, int size) { return QVariant(QStringList(count, QString(size, u'x'))); };
    const QVariant bytes = QVariant::fromValue(QByteArrayList(257, "x"));
    const QVariantMap none;
    const QVariantList noParameters;
    const char properties[] = "org.freedesktop.DBus.Properties";
    const QVariant much(QVariantMap{{s("key"), QByteArray(1024 * 1024, 'x')}});
    const struct {
        const char *child, *interface, *method;
        QVariantList arguments;
        QString error;
        const char *why;
    } cases[] = {
        {"", groups, "Show", {1}, badArguments, "Show takes (sa{sv}), not (i)."},
        {"", groups, "List", {s("")}, badArguments, "List takes (), not (s)."},
        {"", commandLine, "Run", {QStringList(), none}, badArguments, "Run takes (aaya{sv}), not (asa{sv})."},
        {"", app, "Activate", {}, badArguments, "Activate takes (a{sv}), not ()."},
        {"/Runner", runner, "Run", {s("id"), s("act")}, badArguments, "no further actions"},
        {"", app, "ActivateAction", {s("new-group"), noParameters, none}, badArguments, "no action “new-group”."},
        {"", groups, "Find", {mebibyte}, tooMuch, "4096 bytes"},
        {"", groups, "Find", {accents}, tooMuch, "4096 bytes"},
        {"", groups, "Show", {s(""), much}, tooMuch, "4096 bytes"},
        {"", commandLine, "Run", {words({QByteArray(5'000, 'x')}), none}, tooMuch, "4096 bytes"},
        {"", commandLine, "Run", {bytes, none}, tooMuch, "256 items"},
        {"/SearchProvider", provider, "GetInitialResultSet", {strings(257, 0)}, tooMuch, "256 items"},
        {"/SearchProvider", provider, "GetResultMetas", {strings(100, 4000)}, tooMuch, "64 KiB"},
        {"", app, "ActivateAction", {s(""), QVariantList(300, 1), none}, tooMuch, "256 items"},
        {"", groups, "Rename", {}, standardError + s("UnknownMethod"), "Rename"},
        {"", "", "Rename", {}, standardError + s("UnknownMethod"), "Rename"},
        {"", runner, "Match", {s("")}, standardError + s("UnknownInterface"), ""},
        {"/Nothing", groups, "List", {}, standardError + s("UnknownObject"), ""},
        {"", properties, "Get", {s(groups), s("Count")}, standardError + s("UnknownProperty"), "no properties"},
        {"", properties, "GetAll", {1}, badArguments, "GetAll(s)"},
        {"", properties, "GetAll", {s(runner)}, standardError + s("UnknownInterface"), runner},
    };
    for (const auto &each : cases) {
        const Answer answer = call(each.child, each.interface, each.method, each.arguments);
        EXPECT_EQ(answer.error, each.error) << each.method;
        EXPECT_TRUE(answer.why.contains(QString::fromUtf8(each.why)))
            << each.method << ": " << qPrintable(answer.why);
    }
    EXPECT_EQ(requests.log, QStringList()) << "the program hears nothing of them";

    // Odd, and within the bounds.
    EXPECT_EQ(call("", groups, "Show", {s("Work"), QVariantMap{{s("key"), deep}}}).error, QString());
    EXPECT_EQ(call("", groups, "Find", {QString(4096, u'x')}).error, QString());
    EXPECT_EQ(call("", "", "List", {}).error, QString()) << "a call may leave the interface out";
    const Answer all = call("", properties, "GetAll", {s(groups)});
    EXPECT_EQ(qdbus_cast<QVariantMap>(all.values.value(0)), none);
    EXPECT_EQ(all.error, QString());
    const Answer metas =
        call("/SearchProvider", provider, "GetResultMetas", {QStringList{QString(), s("show:nothing")}});
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
        {{}, 2, s("err\n"), s("run ")},
        {{"quit", "M\xc3\xbcsik", ""}, 2, s("err\n"), s("run quit|Müsik|")},
        {{QByteArray("list\0", 5)}, 2, s("err\n"), s("run list")},
        {{"show", "\xff\xfe"}, 64, s("cobblet: argument 2 is no text in UTF-8.\n"), {}},
        {{"\xc3"}, 64, s("cobblet: argument 1 is no text in UTF-8.\n"), {}},
        {{QByteArray("a\0b", 3)}, 64, s("cobblet: argument 1 is no text in UTF-8.\n"), {}},
    };
    for (const auto &each : cases) {
        requests.log.clear();
        const Answer answer = call("", commandLine, "Run", {QVariant::fromValue(each.arguments), QVariantMap()});
        ASSERT_EQ(answer.values.size(), 3) << qPrintable(answer.why);
        EXPECT_EQ(answer.values[0].toInt(), each.status);
        EXPECT_EQ(answer.values[1].toString(), each.status == 64 ? QString() : s("out\n"));
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
    send("Find", {s("work")});
    send("Show", {s("Work"), QVariantMap()});
    send("Run", {words({"list"}), QVariantMap()}, commandLine);
    send("Open", {QStringList{s("cobblet://show/Work")}, QVariantMap()}, app);
    // Answered behind them, and yet at once: the panel opens whether groups are served or not.
    EXPECT_EQ(call("", app, "Activate", {QVariantMap()}).error, QString());
    EXPECT_EQ(requests.log, QStringList{s("reopen")});

    intents->serve(requests);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return std::all_of(waiting.begin(), waiting.end(), [](auto &each) { return each.isFinished(); }); },
        30'000));
    for (const QDBusPendingCall &each : waiting)
        EXPECT_FALSE(each.isError()) << qPrintable(each.error().message());
    EXPECT_EQ(requests.log.join(s(", ")), s("reopen, show Work, find work, run list, open cobblet://show/Work"))
        << "what a person waits for comes first, the rest in order";
}

TEST_F(DBusIntentsTest, RequestsThatTakeTimeAreAnsweredWhenTheyAreDoneAndNotWithoutBound)
{
    intents->serve(requests);
    requests.answersLater = true;
    QList<QDBusPendingCall> launches;
    for (int i = 0; i < BusService::maximumOpen; ++i)
        launches.append(other->connection().asyncCall(message("", groups, "Launch", {s("Work")})));
    ASSERT_TRUE(QTest::qWaitFor([&] { return requests.pending.size() == BusService::maximumOpen; }, 30'000));
    EXPECT_EQ(call("", groups, "Quit", {s("Work")}).error, tooMuch);
    EXPECT_EQ(call("", groups, "List", {}).error, QString()) << "what is answered at once still is";
    requests.answersLater = false;
    EXPECT_EQ(call("", groups, "Show", {s("Work"), QVariantMap()}).error, QString());
    EXPECT_FALSE(launches[0].isFinished());

    const IntentOutcome outcome{s("a"), s("A"), IntentOutcome::Kind::StillRunning, {}};
    const auto done = requests.pending.takeFirst();
    done(IntentReply{s("Quitting Work."), {outcome}});
    done(IntentReply{}); // once too often
    ASSERT_TRUE(QTest::qWaitFor([&] { return launches[0].isFinished(); }, 30'000));
    EXPECT_EQ(launches[0].reply().arguments().value(0).toString(), s("Quitting Work."));
    EXPECT_EQ(launches[0].reply().signature(), s("sa(ssss)"));
    EXPECT_EQ(call("", groups, "Launch", {s("Work")}).error, QString()) << "its place is free again";

    // The program ends with the rest unfinished: nobody waits for an answer that cannot come.
    requests.pending.clear();
    ASSERT_TRUE(QTest::qWaitFor([&] { return launches.last().isFinished(); }, 30'000));
    EXPECT_EQ(launches.last().error().type(), QDBusError::NoReply);
}

} // namespace
