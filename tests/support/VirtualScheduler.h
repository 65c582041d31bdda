#pragma once

#include "platform/Scheduler.h"

#include <algorithm>
#include <vector>

namespace cobblet::test {

/// A clock that moves only when a test says so.
class VirtualScheduler : public Scheduler {
public:
    Handle after(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        auto entry = std::make_shared<Entry>(Entry{m_now + delay, std::move(work)});
        m_entries.push_back(entry);
        return std::make_unique<Cancel>(std::move(entry));
    }
    void detached(std::chrono::milliseconds delay, std::function<void()> work) override
    {
        m_entries.push_back(std::make_shared<Entry>(Entry{m_now + delay, std::move(work)}));
    }

    /// Runs what falls due within `span`, in order of time and then of scheduling.
    void advance(std::chrono::milliseconds span)
    {
        const auto end = m_now + span;
        while (true) {
            const auto next = std::min_element(m_entries.begin(), m_entries.end(),
                                               [](const auto &a, const auto &b) { return a->due < b->due; });
            if (next == m_entries.end() || (*next)->due > end)
                break;
            const auto entry = *next;
            m_entries.erase(next);
            m_now = std::max(m_now, entry->due);
            if (const auto work = std::exchange(entry->work, nullptr))
                work();
        }
        m_now = end;
    }

    std::chrono::milliseconds now() const { return m_now; }
    /// Work that is still to run.
    int pending() const
    {
        return int(
            std::count_if(m_entries.begin(), m_entries.end(), [](const auto &e) { return e->work != nullptr; }));
    }

private:
    struct Entry {
        std::chrono::milliseconds due;
        std::function<void()> work;
    };
    struct Cancel : Task {
        explicit Cancel(std::shared_ptr<Entry> e) : entry(std::move(e)) {}
        ~Cancel() override { entry->work = nullptr; }
        std::shared_ptr<Entry> entry;
    };

    std::chrono::milliseconds m_now{0};
    std::vector<std::shared_ptr<Entry>> m_entries;
};

} // namespace cobblet::test
