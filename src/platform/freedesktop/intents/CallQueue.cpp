#include "platform/freedesktop/intents/CallQueue.h"

#include <QLoggingCategory>
#include <QTimerEvent>

#include <algorithm>

namespace cobblet {

Q_LOGGING_CATEGORY(lcCalls, "cobblet.bus.calls")

bool CallQueue::take(Lane lane, Call call)
{
    const bool mayRun = !(m_held && call.needsProgram);
    if (lane == Lane::Urgent && mayRun && !m_urgentDone && next(m_urgent) == m_urgent.calls.end()) {
        m_urgentDone = true;
        scheduleTurn();
        call.work();
        return true;
    }
    Waiting &waiting = lane == Lane::Urgent ? m_urgent : m_ordinary;
    if (qsizetype(waiting.calls.size()) >= waiting.maximum ||
        waiting.ofSender.value(call.sender) >= waiting.maximumOfOne) {
        // A flood of calls is no reason for a flood of lines.
        if (!m_lastComplaint.isValid() || m_lastComplaint.hasExpired(60'000)) {
            m_lastComplaint.start();
            qCWarning(lcCalls).noquote()
                << QStringLiteral("%1 asks faster than it can be answered; some requests are refused.")
                       .arg(call.sender);
        }
        return false;
    }
    ++waiting.ofSender[call.sender];
    waiting.calls.push_back(std::move(call));
    if (mayRun)
        scheduleTurn();
    return true;
}

void CallQueue::release()
{
    m_held = false;
    scheduleTurn();
}

void CallQueue::clear()
{
    m_turn.stop();
    for (Waiting *lane : {&m_urgent, &m_ordinary}) {
        lane->calls.clear();
        lane->ofSender.clear();
    }
}

void CallQueue::scheduleTurn()
{
    if (!m_turn.isActive())
        m_turn.start(0, this);
}

void CallQueue::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_turn.timerId())
        return;
    m_turn.stop();
    // A turn that comes later, also when the work below runs a loop of its own.
    if (next(m_urgent) != m_urgent.calls.end() || next(m_ordinary) != m_ordinary.calls.end())
        scheduleTurn();
    m_urgentDone = false;
    runNext(m_urgent);
    for (int i = 0; i < ordinaryPerTurn && runNext(m_ordinary);)
        ++i;
}

std::deque<CallQueue::Call>::iterator CallQueue::next(Waiting &lane) const
{
    return std::find_if(lane.calls.begin(), lane.calls.end(),
                        [this](const Call &call) { return !(m_held && call.needsProgram); });
}

bool CallQueue::runNext(Waiting &lane)
{
    const auto next = this->next(lane);
    if (next == lane.calls.end())
        return false;
    const Call call = std::move(*next);
    lane.calls.erase(next);
    if (const auto count = lane.ofSender.find(call.sender); --*count == 0)
        lane.ofSender.erase(count);
    call.work();
    return true;
}

} // namespace cobblet
