#pragma once

#include "platform/Availability.h"
#include "platform/Result.h"

#include <QList>
#include <QObject>
#include <QString>

#include <functional>

namespace cobblet {

/// One running application: a main process together with the windows and processes that belong to it.
struct RunningApplication {
    QString bundleIdentifier; ///< empty when the application has none
    qint64 processIdentifier = 0;

    bool operator==(const RunningApplication &) const = default;
};

/// Why something that runs counts as this application.
struct Recognition {
    QString reason; ///< a sentence; empty when nobody knows
    QString mark;   ///< by what a correction knows it again; empty when it can't be corrected
};

/// What a person said of something that runs: whatever has the mark is this application.
struct Correction {
    QString mark;
    QString bundleIdentifier;

    bool operator==(const Correction &) const = default;
};

/// The applications that run on this desktop right now. Main thread only. The verbs are requests: they
/// return at once, nothing is awaited, and an application that has ended meanwhile is left alone.
class RunningApplications : public QObject {
    Q_OBJECT
public:
    using Completion = std::function<void(const Status &)>;

    /// How an application came to run, as far as this process has seen.
    enum class Origin {
        Elsewhere, ///< somebody else launched it
        Here,      ///< this process launched it
        Unlaunched ///< nobody did just now: it ran unseen, or another process of it took over from the one launched
    };
    Q_ENUM(Origin)

    /// In the system's order (first started first).
    virtual QList<RunningApplication> runningApplications() const = 0;

    /// Works when the list is complete; else why this process cannot see, or not reach, the applications it did not
    /// start itself.
    virtual Availability availability() const = 0;

    virtual Recognition recognition(const RunningApplication &) const { return {}; }
    /// In no order.
    virtual QList<Correction> corrections() const { return {}; }
    /// From now on, and in every process, what has this mark counts as that application; an empty identifier ends the
    /// correction.
    virtual Status correct(const Correction &)
    {
        return Error{QStringLiteral("This desktop says itself which application it is.")};
    }

    /// Iconifies all its windows. `done`, when given, is told once: when none of them is shown any more, or why some
    /// still are.
    virtual void hide(const RunningApplication &application, Completion done = {}) = 0;
    /// Maps all windows that hide() iconified.
    virtual void unhide(const RunningApplication &application) = 0;
    /// Brings all its windows forward and gives it the keyboard focus.
    virtual void activate(const RunningApplication &application) = 0;
    /// Asks it to quit; it may ask about unsaved documents, or refuse.
    virtual void terminate(const RunningApplication &application) = 0;
    /// Kills its own processes, and no others, without asking.
    virtual void forceTerminate(const RunningApplication &application) = 0;

signals:
    void didLaunch(const cobblet::RunningApplication &application, cobblet::RunningApplications::Origin origin);
    void didTerminate(const cobblet::RunningApplication &application);
    /// The corrections changed, and with them what recognition() tells.
    void correctionsChanged();
};

} // namespace cobblet
