#pragma once

#include "platform/Availability.h"
#include "platform/Result.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <optional>

namespace cobblet {

/// What can be done with a group.
enum class IntentVerb { Launch, Quit, Show, Hide };

/// A group as other programs see it.
struct GroupEntity {
    static constexpr QLatin1String typeDisplayName{"Group"};

    QUuid id;
    QString name;
    QString emoji;

    bool operator==(const GroupEntity &) const = default;
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
    QList<GroupEntity> candidates; ///< when the name is ambiguous
};

inline QString message(const IntentFailure &failure)
{
    return failure.message;
}

using IntentResult = Result<IntentReply, IntentFailure>;

/// Something a search turned up: a group and what would be done with it.
struct IntentMatch {
    IntentVerb verb = IntentVerb::Show;
    GroupEntity group;
    QString title;
    QString subtitle;
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
    virtual ~IntentRequests() = default;

    /// In list order.
    virtual QList<GroupEntity> groups() const = 0;
    /// The groups whose name contains the text.
    virtual QList<GroupEntity> groupsMatching(const QString &text) const = 0;
    /// The best matches first.
    virtual QList<IntentMatch> search(const QString &text) const = 0;
    /// How a search offers to do this with the group; absent when there is no such group, or no search offers it.
    virtual std::optional<IntentMatch> match(IntentVerb verb, const QUuid &group) const = 0;

    using Done = std::function<void(const IntentResult &)>;
    virtual void perform(IntentVerb verb, const QString &nameOrId, Done done) = 0;
    /// The same for a group that was chosen, maybe long ago: it is found by its id alone, and when it is gone the
    /// failure says the name that it had.
    virtual void perform(IntentVerb verb, const GroupEntity &chosen, Done done) = 0;
    /// Carries out a spoken phrase ("Fire up Work group in Cobblet").
    virtual void say(const QString &phrase, Done done) = 0;
    /// Shows the panel as it is.
    virtual void showPanel() = 0;

    /// `arguments` without the program's name. `done` may come only after several seconds.
    virtual void commandLine(const QStringList &arguments, std::function<void(const CommandReply &)> done) = 0;
    /// Opens addresses of the program's own scheme; any other address is logged and left alone.
    virtual void open(const QStringList &urls) = 0;
};

/// Publishes the groups to the desktop's assistants, searches and scripts, and takes their requests.
class IntentsHost {
public:
    virtual ~IntentsHost() = default;

    /// Whether anybody outside can ask.
    virtual Availability availability() const = 0;
    /// Which of the desktop's searches ask. The answer comes at once or later, on the main thread.
    virtual void examine(CapabilitiesAnswer answer) { answer({}); }
    /// Serves `requests` from now on until stop().
    virtual void serve(IntentRequests &requests) = 0;
    /// The program ends: who asks from now on, or still waits for an answer, gets an error.
    virtual void stop() = 0;
    /// The names of the groups, or their list, changed.
    virtual void groupsChanged() = 0;
};

} // namespace cobblet
