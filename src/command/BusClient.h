#pragma once

#include <chrono>
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
class BusClient {
public:
    /// Tries the sockets of the session bus; only those of this machine count: a bus is never started, and no address
    /// makes a program run or reaches over a network. Both arguments are values of environment variables, or null.
    BusClient(const char *address, const char *runtimeFolder);
    ~BusClient();
    BusClient(const BusClient &) = delete;
    BusClient &operator=(const BusClient &) = delete;

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

} // namespace cobblet
