#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <variant>

namespace cobblet {

/// Why an operation failed: one sentence that a person can act on.
struct Error {
    QString message;
};

/// The value of an operation, or the error that kept it from having one.
/// "Absent" is not a failure: an operation that may find nothing returns a Result of an optional.
template<class T>
class [[nodiscard]] Result {
public:
    Result(T value) : m_state(std::in_place_index<0>, std::move(value)) {}
    Result(Error error) : m_state(std::in_place_index<1>, std::move(error)) {}

    bool ok() const { return m_state.index() == 0; }
    explicit operator bool() const { return ok(); }

    /// Only when ok().
    const T &value() const & { return std::get<0>(m_state); }
    T &&value() && { return std::get<0>(std::move(m_state)); }

    /// Empty when ok().
    QString error() const { return ok() ? QString() : std::get<1>(m_state).message; }

private:
    std::variant<T, Error> m_state;
};

/// The outcome of an operation that has no value of its own.
class [[nodiscard]] Status {
public:
    Status() = default;
    Status(Error error) : m_error(std::move(error)) {}

    bool ok() const { return !m_error; }
    explicit operator bool() const { return ok(); }

    /// Empty when ok().
    QString error() const { return m_error ? m_error->message : QString(); }

private:
    std::optional<Error> m_error;
};

} // namespace cobblet
