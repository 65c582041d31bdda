#pragma once

#include "PrivateBus.h"

#include "platform/IntentsHost.h"
#include "platform/freedesktop/DBusInstance.h"
#include "platform/freedesktop/SessionBus.h"
#include "platform/freedesktop/intents/DBusIntents.h"

#include <QStringList>
#include <QVariant>

#include <memory>

namespace cobblet::test {

/// A program with three groups, that writes down what it is asked.
class RecordingRequests : public IntentRequests {
public:
    QList<IntentGroup> groups() const override { return stored; }
    QList<IntentGroup> groupsMatching(const QString &text) const override;
    QList<IntentMatch> search(const QString &text) const override;
    IntentMatch match(const QString &key) const override;
    void perform(Verb verb, const QString &nameOrId, Done done) override;
    void performMatch(const QString &key, Done done) override;
    void say(const QString &phrase, Done done) override;
    void showPanel() override { log.append(QStringLiteral("panel")); }
    void commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done) override;
    void open(const QStringList &urls) override { log.append(QStringLiteral("open ") + urls.join(u' ')); }

    RecordingRequests();

    QList<IntentGroup> stored;
    mutable QStringList log;
    bool answersLater = false;
    QList<Done> pending; ///< where it does

private:
    void finish(const IntentResult &result, const Done &done);
};

/// The program's objects on a private bus under its own name.
class IntentsTest : public PrivateBusTest {
protected:
    void SetUp() override;
    void TearDown() override;

    struct Answer {
        QVariantList values;
        QString error; ///< its name; empty for a reply
        QString why;
    };
    static QDBusMessage message(const char *child, const char *interface, const char *method,
                                const QVariantList &arguments);
    /// Calls as another program and lets the event loop turn until the answer is there.
    Answer call(const char *child, const char *interface, const char *method, const QVariantList &arguments);

    /// Runs a foreign client the same way; its standard output, or, when it failed, what it says of that.
    QString output(const QString &program, const QStringList &arguments);

    std::unique_ptr<SessionBus> bus, other;
    std::unique_ptr<DBusInstance> instance;
    std::unique_ptr<DBusIntents> intents;
    RecordingRequests requests; ///< its log has the acts of the person too: "token T", "time N", "reopen"
};

} // namespace cobblet::test
