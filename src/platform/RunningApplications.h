#pragma once

#include "platform/Availability.h"

#include <QList>
#include <QObject>
#include <QString>

namespace cobblet {

/// One running application: a main process together with the windows and processes that belong to it.
struct RunningApplication {
    QString bundleIdentifier; ///< empty when the application has none
    qint64 processIdentifier = 0;

    bool operator==(const RunningApplication &) const = default;
};

/// The applications that run on this desktop right now. Main thread only. The verbs are requests: they
/// return at once, nothing is awaited, and an application that has ended meanwhile is left alone.
class RunningApplications : public QObject {
    Q_OBJECT
public:
    /// In the system's order (first started first).
    virtual QList<RunningApplication> runningApplications() const = 0;

    /// Works when the list is complete; else why this process cannot see, or not reach, the applications it did not
    /// start itself.
    virtual Availability availability() const = 0;

    /// Iconifies all its windows.
    virtual void hide(const RunningApplication &application) = 0;
    /// Maps all windows that hide() iconified.
    virtual void unhide(const RunningApplication &application) = 0;
    /// Brings all its windows forward and gives it the keyboard focus.
    virtual void activate(const RunningApplication &application) = 0;
    /// Asks it to quit; it may ask about unsaved documents, or refuse.
    virtual void terminate(const RunningApplication &application) = 0;
    /// Kills its own processes, and no others, without asking.
    virtual void forceTerminate(const RunningApplication &application) = 0;

signals:
    void didLaunch(const cobblet::RunningApplication &application);
    void didTerminate(const cobblet::RunningApplication &application);
};

} // namespace cobblet
