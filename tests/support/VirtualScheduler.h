#pragma once

#include "platform/Scheduler.h"

#include <algorithm>
#include <map>

namespace cobblet::test {

/// A clock that moves only when a test says so.
class VirtualScheduler : public Scheduler {
public:
    Handle after(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        return std::make_unique<Cancel>(add(delay, std::move(work)));
    }
    void detached(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        add(delay, std::move(work));
    }

    /// Begins with a Thursday at nine.
    QDateTime now() const override { return QDateTime({2026, 1, 1}, {9, 0}, Qt::UTC).addMSecs(m_now.count()); }

    /// Runs what falls due within `span`, in order of time and then of scheduling.
    void advance(std::chrono::milliseconds span)
    {
        const auto end = m_now + span;
        while (!m_due.empty() && m_due.begin()->first <= end) {
            const auto next = m_due.extract(m_due.begin());
            m_now = next.key();
            if (const auto work = std::exchange(*next.mapped(), nullptr))
                work();
        }
        m_now = end;
    }
    /// Work that is still to run.
    int pending() const
    {
        return int(std::count_if(m_due.begin(), m_due.end(), [](const auto &due) { return bool(*due.second); }));
    }

private:
    using Work = std::shared_ptr<std::function<void()>>;
    struct Cancel : Task {
        explicit Cancel(Work w) : work(std::move(w)) {}
        ~Cancel() override { *work = nullptr; }
        Work work;
    };
    Work add(std::chrono::milliseconds delay, std::function<void()> work)
    {
        return m_due.emplace(m_now + delay, std::make_shared<std::function<void()>>(std::move(work)))->second;
    }

    std::chrono::milliseconds m_now{0};
    std::multimap<std::chrono::milliseconds, Work> m_due;
};

} // namespace cobblet::test
