#pragma once

#include <QString>

#include <concepts>
#include <optional>
#include <utility>
#include <variant>

namespace cobblet {

/// Why an operation failed: one sentence that a person can act on.
struct Error {
    QString message;
};

inline QString message(const Error &error)
{
    return error.message;
}

/// The value of an operation, or the cause that kept it from having one: a sentence, or a type of the operation's own
/// where the caller tells causes apart, with a function message() that makes a sentence of it.
/// "Absent" is not a failure: an operation that may find nothing returns a Result of an optional.
template<class T, class E = Error>
class [[nodiscard]] Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    template<std::convertible_to<E> Cause>
    Result(Cause cause) : m_state(std::in_place_index<1>, std::move(cause))
    {
    }

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    /// Only when ok().
    const T &value() const & { return std::get<0>(m_state); }
    T &&value() && { return std::get<0>(std::move(m_state)); }

    /// Only when not ok().
    const E &cause() const { return std::get<1>(m_state); }
    /// The cause as a sentence; empty when ok().
    QString error() const { return ok() ? QString() : message(cause()); }

private:
    std::variant<T, E> m_state;
};

/// The outcome of an operation that has no value of its own.
template<class E>
class [[nodiscard]] Result<void, E> {
public:
    Result() = default;
    template<std::convertible_to<E> Cause>
    Result(Cause cause) : m_cause(std::move(cause))
    {
    }

    bool ok() const { return !m_cause; }
    explicit operator bool() const { return ok(); }

    /// Only when not ok().
    const E &cause() const { return *m_cause; }
    /// The cause as a sentence; empty when ok().
    QString error() const { return m_cause ? message(*m_cause) : QString(); }

private:
    std::optional<E> m_cause;
};

using Status = Result<void>;

} // namespace cobblet
