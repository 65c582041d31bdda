#pragma once

#include "platform/Availability.h"
#include "platform/RunningApplications.h"

namespace cobblet {

/// Reaching into the windows of other applications.
class WindowAccess {
public:
    virtual ~WindowAccess() = default;

    virtual Availability availability() const = 0;
    /// Whether this process may touch other applications' windows; with `prompt` the system asks the user
    /// where it has such a question.
    virtual bool isTrusted(bool prompt) = 0;
    /// Un-minimises every minimised window of the application. Failures are ignored.
    virtual void unminimizeWindows(const RunningApplication &application) = 0;
    /// Tells the application that its icon was clicked, so that one without open windows opens a new one.
    /// Returns at once; failures are ignored.
    virtual void reopen(const RunningApplication &application) = 0;
};

} // namespace cobblet
