#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace cobblet {

/// What the session bus sends back: the header fields that matter here, and the body.
struct BusReply {
    std::string error; ///< its name; empty for an answer
    std::string signature;
    std::string body;
};

/// As much of a client of the session bus as one question takes: everything is sent at once, without waiting for the
/// greetings, and then the one reply is waited for. A library that does more takes longer to load than all of this
/// program takes to run.
class SessionBus {
public:
    /// Tries the sockets of the session bus; only those of this machine count: a bus is never started, and no address
    /// makes a program run or reaches over a network. Both arguments are values of environment variables, or null.
    SessionBus(const char *address, const char *runtimeFolder);
    ~SessionBus();
    SessionBus(const SessionBus &) = delete;
    SessionBus &operator=(const SessionBus &) = delete;

    bool connected() const { return m_socket >= 0; }

    enum class Outcome {
        Replied,
        HungUp,  ///< the bus does not want this process, or has ended
        Silent,  ///< nothing came from the bus itself
        NoReply, ///< nothing came from whom it was sent to
        Nonsense ///< what came is no D-Bus
    };
    /// Sends one message, made by methodCall(), and waits for the reply.
    Outcome ask(const std::string &call, std::chrono::milliseconds patience, BusReply &reply);

    /// A call that starts nobody. `body` is marshalled for `signature`.
    static std::string methodCall(std::string_view destination, std::string_view path, std::string_view interface,
                                  std::string_view member, std::string_view signature, std::string_view body);

private:
    bool connectTo(std::string_view address);
    bool send(std::string_view bytes) const;

    int m_socket = -1;
};

/// Writes values as D-Bus marshals them, in this machine's order of bytes. The positions count from where it starts,
/// which must be a multiple of eight of the message.
class BusWriter {
public:
    void align(size_t size);
    void byte(unsigned char value) { m_bytes += char(value); }
    void number(unsigned value);
    void string(std::string_view text);
    void signature(std::string_view text);
    /// An array of bytes.
    void bytes(std::string_view bytes);
    /// Whatever `write` writes is the content of an array, whose elements align to `alignment`.
    template<typename Write>
    void array(size_t alignment, Write write)
    {
        number(0);
        const size_t at = m_bytes.size() - 4;
        align(alignment);
        const size_t start = m_bytes.size();
        write();
        setNumber(at, unsigned(m_bytes.size() - start));
    }
    void setNumber(size_t at, unsigned value);

    const std::string &written() const { return m_bytes; }

private:
    std::string m_bytes;
};

/// Reads what others marshalled; once something is missing, everything after it is absent too.
class BusReader {
public:
    explicit BusReader(std::string_view bytes) : m_bytes(bytes) {}

    bool align(size_t size);
    std::optional<unsigned char> byte();
    std::optional<unsigned> number();
    std::optional<std::string_view> string();
    std::optional<std::string_view> signature();
    bool atEnd() const { return m_at >= m_bytes.size(); }

private:
    std::optional<std::string_view> text(size_t size);

    std::string_view m_bytes;
    size_t m_at = 0;
};

} // namespace cobblet
