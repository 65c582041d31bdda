#include "IntentsFixture.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QTest>

namespace cobblet::test {

RecordingRequests::RecordingRequests()
    : stored{
          {QStringLiteral("6F1B0C52-8D3A-4E0B-9C57-2A4E1D7B9F10"), QStringLiteral("Work"), QStringLiteral("💼")},
          {QStringLiteral("0B8A4D1E-33C6-4C57-8E0F-71D2C9A6B4E2"), QStringLiteral("Homework"), QStringLiteral("📚")},
          {QStringLiteral("D94E7A20-5B1F-4A86-A3C8-6E0F52B7C1D3"), QStringLiteral("Music"), {}}}
{
}

QList<IntentGroup> RecordingRequests::groupsMatching(const QString &text) const
{
    log.append(QStringLiteral("find ") + text);
    QList<IntentGroup> found;
    for (const IntentGroup &group : stored)
        if (group.name.contains(text, Qt::CaseInsensitive))
            found.append(group);
    return found;
}

QList<IntentMatch> RecordingRequests::search(const QString &text) const
{
    QList<IntentMatch> matches;
    if (!text.isEmpty())
        for (const IntentGroup &group : groupsMatching(text)) {
            matches.append(match(QStringLiteral("show:") + group.id));
            matches.last().relevance = group.name == text ? 1.0 : 0.5;
        }
    return matches;
}

IntentMatch RecordingRequests::match(const QString &key) const
{
    for (const IntentGroup &group : stored)
        if (key == QStringLiteral("show:") + group.id)
            return {key, group.name, QStringLiteral("Show Group"), group.emoji, 1};
    return {};
}

void RecordingRequests::finish(const IntentResult &result, const Done &done)
{
    if (answersLater)
        pending.append(done);
    else
        done(result);
}

void RecordingRequests::perform(Verb verb, const QString &nameOrId, Done done)
{
    static const char *const names[] = {"show ", "launch ", "quit ", "hide "};
    log.append(QLatin1String(names[int(verb)]) + nameOrId);
    if (nameOrId == QLatin1String("Twice"))
        return finish(IntentFailure{IntentFailure::Kind::AmbiguousGroup, QStringLiteral("Two.\nA\nB"), stored}, done);
    if (nameOrId != QLatin1String("Work"))
        return finish(
            IntentFailure{IntentFailure::Kind::GroupNotFound, QStringLiteral("There is no “%1”.").arg(nameOrId), {}},
            done);
    const QString app = QStringLiteral("org.example.app");
    using Kind = IntentOutcome::Kind;
    if (verb == Verb::Launch)
        return finish(IntentReply{QStringLiteral("Launching Work."),
                                  {{app, QStringLiteral("App"), Kind::Launched, {}},
                                   {app, QStringLiteral("App"), Kind::Failed, QStringLiteral("It broke.")}}},
                      done);
    finish(IntentReply{QStringLiteral("Done."), {}}, done);
}

void RecordingRequests::performMatch(const QString &key, Done done)
{
    log.append(QStringLiteral("match ") + key);
    if (match(key).key.isEmpty())
        return finish(IntentFailure{IntentFailure::Kind::GroupNotFound, QStringLiteral("It is gone."), {}}, done);
    finish(IntentReply{}, done);
}

void RecordingRequests::say(const QString &phrase, Done done)
{
    log.append(QStringLiteral("say ") + phrase);
    if (phrase.isEmpty())
        return finish(IntentFailure{IntentFailure::Kind::Invalid, QStringLiteral("Nothing was said."), {}}, done);
    finish(IntentReply{QStringLiteral("Launching Work."), {}}, done);
}

void RecordingRequests::commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done)
{
    log.append(QStringLiteral("run ") + arguments.join(u'|'));
    done({2, QStringLiteral("out\n"), QStringLiteral("err\n")});
}

void IntentsTest::SetUp()
{
    qDBusRegisterMetaType<QByteArrayList>(); // for the client
    bus = std::make_unique<SessionBus>();
    other = std::make_unique<SessionBus>();
    instance = std::make_unique<DBusInstance>(*bus, QStringLiteral("com.vantor.cobblet"));
    instance->service().setUserActs(
        {.token = [this](const QString &token) { requests.log.append(QStringLiteral("token ") + token); },
         .time = [this](quint32 time) { requests.log.append(QStringLiteral("time %1").arg(time)); }});
    QObject::connect(instance.get(), &Instance::reopen, instance.get(),
                     [this] { requests.log.append(QStringLiteral("reopen")); });
    intents = std::make_unique<DBusIntents>(*instance, QStringLiteral("com.vantor.cobblet"));
    ASSERT_EQ(instance->claim(), Instance::Role::First);
}

void IntentsTest::TearDown()
{
    intents.reset();
    instance.reset();
    other.reset();
    bus.reset();
}

QDBusMessage IntentsTest::message(const char *child, const char *interface, const char *method,
                                  const QVariantList &arguments)
{
    QDBusMessage message = QDBusMessage::createMethodCall(
        QStringLiteral("com.vantor.cobblet"), QStringLiteral("/com/vantor/cobblet") + QLatin1String(child),
        QLatin1String(interface), QLatin1String(method));
    message.setArguments(arguments);
    return message;
}

IntentsTest::Answer IntentsTest::call(const char *child, const char *interface, const char *method,
                                      const QVariantList &arguments)
{
    const QDBusPendingCall pending =
        other->connection().asyncCall(message(child, interface, method, arguments), 20'000);
    const QDBusPendingCallWatcher watcher(pending);
    if (!QTest::qWaitFor([&] { return watcher.isFinished(); }, 30'000))
        return {{}, QStringLiteral("timeout"), {}};
    const QDBusMessage reply = watcher.reply();
    if (reply.type() == QDBusMessage::ErrorMessage)
        return {{}, reply.errorName(), reply.errorMessage()};
    return {reply.arguments(), {}, {}};
}

QString IntentsTest::output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    // What they print depends on the locale: without UTF-8, names come escaped.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 60'000))
        return QStringLiteral("timeout");
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0
               ? QString::fromUtf8(process.readAllStandardOutput())
               : QStringLiteral("failed: ") + QString::fromUtf8(process.readAllStandardError());
}

} // namespace cobblet::test
