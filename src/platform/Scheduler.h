#pragma once

#include <QDateTime>

#include <chrono>
#include <functional>
#include <memory>

namespace cobblet {

/// The clock, and work that runs on the main thread's event loop after a delay. Tests replace it with a virtual
/// clock.
class Scheduler {
public:
    /// A piece of scheduled work; destroying the handle cancels what has not run yet.
    class Task {
    public:
        virtual ~Task() = default;
    };
    using Handle = std::unique_ptr<Task>;

    virtual ~Scheduler() = default;

    /// Runs `work` once, `delay` from now. Keep the handle as long as the work is wanted.
    [[nodiscard]] virtual Handle after(std::chrono::milliseconds delay, std::function<void()> work) = 0;
    /// The same without a handle: nobody can cancel it.
    virtual void detached(std::chrono::milliseconds delay, std::function<void()> work) = 0;

    /// The local date and time.
    virtual QDateTime now() const = 0;
};

} // namespace cobblet
