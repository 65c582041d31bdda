#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <variant>

namespace cobblet {

/// A group as other programs know it.
struct IntentGroup {
    QString id; ///< upper-case, 36 characters
    QString name;
    QString emoji;

    bool operator==(const IntentGroup &) const = default;
};

/// What became of one application of a group.
struct IntentOutcome {
    enum class Kind {
        Launched,
        BroughtForward,
        Hidden,
        AskedToQuit,  ///< and it has ended
        StillRunning, ///< asked to quit, and there after five seconds
        NotRunning,   ///< there was nothing to hide or to quit
        NotInstalled,
        Failed ///< `reason` says why
    };

    QString bundleID;
    QString name;
    Kind kind = Kind::Launched;
    QString reason; ///< a sentence; empty unless Failed

    bool operator==(const IntentOutcome &) const = default;
};

/// A request that was carried out.
struct IntentReply {
    QString dialog; ///< what an assistant says ("Launching Work."), or empty
    QList<IntentOutcome> outcomes;
};

/// A request that was not.
struct IntentFailure {
    enum class Kind { GroupNotFound, AmbiguousGroup, Invalid };

    Kind kind = Kind::Invalid;
    QString message;               ///< for a person; one line, or one for each candidate more
    QList<IntentGroup> candidates; ///< when the name is ambiguous
};

using IntentResult = std::variant<IntentReply, IntentFailure>;

/// Something a search turned up: a group, or a phrase that was understood.
struct IntentMatch {
    QString key; ///< stands for the match later, also in another process ("show:ID", "launch:ID")
    QString title;
    QString subtitle;
    QString emoji;
    double relevance = 0; ///< from 0 to 1; 1 is exactly what was typed
};

/// What a command line answers.
struct CommandReply {
    int status = 0; ///< the process's exit status
    QString output;
    QString errors;
};

/// What the program does when somebody outside asks. All on the main thread; a `done` may be called before the
/// function returns or seconds later, and is called exactly once.
class IntentRequests {
public:
    enum class Verb { Show, Launch, Quit, Hide };

    virtual ~IntentRequests() = default;

    /// In list order.
    virtual QList<IntentGroup> groups() const = 0;
    /// The groups whose name contains the text.
    virtual QList<IntentGroup> groupsMatching(const QString &text) const = 0;
    /// The best matches first.
    virtual QList<IntentMatch> search(const QString &text) const = 0;
    /// The match that a key stands for; absent keys give a match without a key.
    virtual IntentMatch match(const QString &key) const = 0;

    using Done = std::function<void(const IntentResult &)>;
    virtual void perform(Verb verb, const QString &nameOrId, Done done) = 0;
    /// Carries out what a match stands for.
    virtual void performMatch(const QString &key, Done done) = 0;
    /// Carries out a spoken phrase ("Fire up Work group in Cobblet").
    virtual void say(const QString &phrase, Done done) = 0;
    /// Shows the panel as it is.
    virtual void showPanel() = 0;

    /// `arguments` without the program's name. `done` may come only after several seconds.
    virtual void commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done) = 0;
    /// Opens addresses of the program's own scheme; what is none is logged and refused.
    virtual void open(const QStringList &urls) = 0;
};

/// Publishes the groups to the desktop's assistants, searches and scripts, and takes their requests.
class IntentsHost {
public:
    virtual ~IntentsHost() = default;

    /// Serves `requests` from now on until stop().
    virtual void serve(IntentRequests &requests) = 0;
    /// The program ends: who asks from now on, or still waits for their turn, gets an error.
    virtual void stop() = 0;
    /// The names of the groups, or their list, changed.
    virtual void groupsChanged() = 0;
};

} // namespace cobblet
