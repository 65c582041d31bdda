#pragma once

#include "platform/freedesktop/bus/BusCalls.h"
#include "platform/freedesktop/bus/IntentValues.h"

#include <QByteArrayList>

namespace cobblet {

/// What the program's desktop side does for callers.
struct CallerHooks {
    /// Carries out a named action of the desktop entry; false for one that is unknown.
    std::function<bool(const QString &action)> action = {};
    /// A caller handed on the token of startup notification or activation of what the person did.
    std::function<void(const QString &token)> token = {};
    /// The same as a time of the windowing system, in ms; never 0.
    std::function<void(quint32 time)> time = {};
};

/// The program at its own path on the session bus: the methods of the interfaces in Program.xml, and what the objects
/// below it share.
class ProgramObject : public QObject, protected QDBusContext {
    Q_OBJECT
public:
    explicit ProgramObject(CallerHooks hooks) : m_hooks(std::move(hooks)) {}

    BusCalls &calls() { return m_calls; }
    /// Absent while nobody answers for the groups; calls that need them are held or refused until then.
    void setRequests(IntentRequests *requests) { m_requests = requests; }
    IntentRequests &requests() const { return *m_requests; }
    /// Passes on the token that is in the data, if one is, and returns it.
    QString userActed(const QVariantMap &platformData) const;
    /// 0 is no time.
    void userActedAt(quint32 time) const;
    enum class Answer { Empty, Outcomes };
    /// Sends what became of a request, or the error that stands for the failure.
    static IntentRequests::Done answer(const BusReply &reply, Answer with);

    // org.freedesktop.Application
    void Activate(const QVariantMap &platformData);
    void Open(const QStringList &uris, const QVariantMap &platformData);
    void ActivateAction(const QString &action, const QVariantList &parameter, const QVariantMap &platformData);

    // com.vantor.cobblet.Groups. What a method returns here is never sent: each answers through a BusReply.
    GroupList List();
    GroupList Find(const QString &text);
    void Show(const QString &group, const QVariantMap &platformData);
    QString Launch(const QString &group, OutcomeList &) { return perform(IntentVerb::Launch, group); }
    QString Quit(const QString &group, OutcomeList &) { return perform(IntentVerb::Quit, group); }
    QString Hide(const QString &group, OutcomeList &) { return perform(IntentVerb::Hide, group); }
    QString Say(const QString &phrase, OutcomeList &);

    // com.vantor.cobblet.CommandLine
    int Run(const QByteArrayList &arguments, const QVariantMap &platformData, QString &, QString &);

signals:
    /// The icon was clicked again, or a later start handed over to this one.
    void reopen(const QString &token);
    void GroupsChanged();

private:
    QString perform(IntentVerb verb, const QString &group);

    const CallerHooks m_hooks;
    IntentRequests *m_requests = nullptr;
    BusCalls m_calls;
};

} // namespace cobblet
