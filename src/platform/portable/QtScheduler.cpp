#include "platform/portable/QtScheduler.h"

#include <QCoreApplication>
#include <QTimer>

namespace cobblet {

namespace {

class TimerTask : public Scheduler::Task {
public:
    TimerTask(std::chrono::milliseconds delay, std::function<void()> work)
    {
        m_timer.setSingleShot(true);
        // Precise while short (animations, staggering), coarse where a tenth of a minute hardly matters.
        m_timer.setTimerType(delay < std::chrono::seconds(2) ? Qt::PreciseTimer : Qt::CoarseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, std::move(work));
        m_timer.start(delay);
    }

private:
    QTimer m_timer;
};

} // namespace

Scheduler::Handle QtScheduler::after(std::chrono::milliseconds delay, std::function<void()> work)
{
    return std::make_unique<TimerTask>(delay, std::move(work));
}

void QtScheduler::detached(std::chrono::milliseconds delay, std::function<void()> work)
{
    QTimer::singleShot(delay, QCoreApplication::instance(), std::move(work));
}

} // namespace cobblet
