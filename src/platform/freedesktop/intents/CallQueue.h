#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QHash>
#include <QObject>
#include <QString>

#include <deque>
#include <functional>

namespace cobblet {

/// The calls that came in and were not carried out yet. Messages are delivered one after the other without the event
/// loop turning in between, so whoever sends fast enough could keep the program from painting: here a call is only
/// taken in, and the work is done a few calls a turn. What a person waits for goes ahead of the rest.
class CallQueue : public QObject {
public:
    enum class Lane {
        Urgent,  ///< opens something in front of a person; the first of each turn is done at once
        Ordinary ///< any question
    };
    struct Call {
        QString sender;
        bool needsProgram = true; ///< waits while the queue is held
        std::function<void()> work;
    };

    static constexpr int ordinaryPerTurn = 8;
    /// How many may wait, and how many of them may be of one sender, so that one that floods leaves room for others.
    static constexpr qsizetype maximumUrgent = 64, maximumUrgentOfOne = 16;
    static constexpr qsizetype maximumOrdinary = 256, maximumOrdinaryOfOne = 64;

    /// False when no more may wait; then the call is the caller's to answer.
    bool take(Lane lane, Call call);

    /// Until release(), calls that need the program wait.
    void hold() { m_held = true; }
    void release();
    /// Forgets all that wait.
    void clear();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    struct Waiting {
        qsizetype maximum, maximumOfOne;
        std::deque<Call> calls = {};
        QHash<QString, qsizetype> ofSender = {};
    };

    /// The first that may be carried out, or the end.
    std::deque<Call>::iterator next(Waiting &lane) const;
    /// Carries it out; false when there is none.
    bool runNext(Waiting &lane);
    void scheduleTurn();

    Waiting m_urgent{maximumUrgent, maximumUrgentOfOne};
    Waiting m_ordinary{maximumOrdinary, maximumOrdinaryOfOne};
    QBasicTimer m_turn;
    bool m_held = false;
    bool m_urgentDone = false;     ///< in this turn of the loop
    QElapsedTimer m_lastComplaint; ///< in the log
};

} // namespace cobblet
