#pragma once

#include <QDBusContext>
#include <QDBusError>
#include <QDBusMessage>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace cobblet {

/// Where the answer to a call goes. Copies belong to the same call, which is answered once: later answers are
/// ignored, and when the last copy goes without an answer, the caller gets an error.
class BusReply {
public:
    void send(const QVariantList &values = {}) const;
    /// `why` is a sentence for whoever called.
    void fail(const QString &errorName, const QString &why) const;
    void fail(QDBusError::ErrorType error, const QString &why) const { fail(QDBusError::errorString(error), why); }

private:
    friend class BusCalls;
    struct Call;
    explicit BusReply(std::shared_ptr<Call> call) : m_call(std::move(call)) {}

    std::shared_ptr<Call> m_call;
};

/// How the objects of this program take calls: bounded in size, in number and in time. What exceeds a bound is
/// answered with an error that names it.
class BusCalls : public QObject {
public:
    /// What a call may carry: bytes and characters, and 8 for each value.
    static constexpr qsizetype maximumCall = 64 * 1024;
    /// How many calls may be without an answer at the same time.
    static constexpr size_t maximumOpen = 64;
    static constexpr std::chrono::seconds patience{60};

    using Work = std::function<void(const BusReply &)>;

    /// Takes the call that is being delivered to the object with this context, whose method returns nothing of
    /// interest then: `work` gives the answer, now or later. It waits while the calls are held.
    void take(const QDBusContext &object, Work work);
    /// The same for work that a person waits for or that needs nothing: it is done at once, whatever waits.
    void takeAtOnce(const QDBusContext &object, const Work &work);

    /// Until release(), calls wait.
    void hold() { m_state = State::Held; }
    void release();
    /// The callers of all that waits, and of what is taken from now on, get an error.
    void close();

private:
    enum class State { Open, Held, Closed };
    struct Waiting {
        BusReply reply;
        Work work;
    };

    BusReply received(const QDBusContext &object);

    State m_state = State::Open;
    std::vector<Waiting> m_waiting;
    const std::shared_ptr<char> m_open = std::make_shared<char>(); ///< shared by the calls without an answer
};

} // namespace cobblet
