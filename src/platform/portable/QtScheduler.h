#pragma once

#include "platform/Scheduler.h"

namespace cobblet {

/// Schedules on the Qt event loop of the calling thread.
class QtScheduler : public Scheduler {
public:
    Handle after(std::chrono::milliseconds delay, std::function<void()> work) override;
    void detached(std::chrono::milliseconds delay, std::function<void()> work) override;
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

} // namespace cobblet
