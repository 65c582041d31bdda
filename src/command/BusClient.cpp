#include "command/BusClient.h"

#include "command/BusMarshalling.h"

#include <bit>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace cobblet {

namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr char byteOrder = std::endian::native == std::endian::little ? 'l' : 'B';
constexpr unsigned char methodCallType = 1;
constexpr unsigned char methodReturnType = 2;
constexpr unsigned char errorType = 3;
constexpr unsigned char noAutoStart = 2;

enum Field : unsigned char { Path = 1, Interface, Member, ErrorName, ReplySerial, Destination, Sender, Signature };

constexpr unsigned helloSerial = 1;
constexpr unsigned callSerial = 2;

/// Of a message's header, before its fields.
constexpr size_t fixedBytes = 16;
constexpr size_t maximumMessage = 64 * 1024 * 1024;
constexpr size_t maximumGreeting = 16 * 1024;

std::string messageOf(std::string_view destination, std::string_view path, std::string_view interface,
                      std::string_view member, std::string_view signature, std::string_view body, unsigned serial)
{
    BusWriter message;
    message.byte(static_cast<unsigned char>(byteOrder));
    message.byte(methodCallType);
    message.byte(noAutoStart);
    message.byte(1); // the protocol's version
    message.number(unsigned(body.size()));
    message.number(serial);
    message.array(8, [&] {
        const auto field = [&](Field code, const char *type, std::string_view value) {
            message.align(8);
            message.byte(code);
            message.signature(type);
            if (*type == 'g')
                message.signature(value);
            else
                message.string(value);
        };
        field(Path, "o", path);
        field(Interface, "s", interface);
        field(Member, "s", member);
        field(Destination, "s", destination);
        if (!signature.empty())
            field(Signature, "g", signature);
    });
    message.align(8);
    return message.written() + std::string(body);
}

/// A whole message of those that came, or why there is none.
enum class Parsed { Incomplete, Nonsense, Other, Reply };

/// Looks at the first message of `bytes` and says how long it is.
Parsed parse(std::string_view bytes, size_t &size, BusReply &reply)
{
    if (bytes.size() < fixedBytes)
        return Parsed::Incomplete;
    BusReader header(bytes);
    const auto order = header.byte();
    const auto type = header.byte();
    header.byte(); // flags
    header.byte(); // version
    const unsigned bodySize = *header.number();
    header.number(); // serial
    const unsigned fieldsSize = *header.number();
    if (*order != byteOrder || bodySize > maximumMessage || fieldsSize > maximumMessage)
        return Parsed::Nonsense;
    const size_t bodyAt = (fixedBytes + fieldsSize + 7) / 8 * 8;
    size = bodyAt + bodySize;
    if (bytes.size() < size)
        return Parsed::Incomplete;

    unsigned answered = 0;
    BusReader fields(bytes.substr(0, fixedBytes + fieldsSize));
    for (size_t skipped = 0; skipped < fixedBytes; ++skipped)
        fields.byte();
    while (fields.align(8) && !fields.atEnd()) {
        const auto code = fields.byte();
        const auto kind = fields.signature();
        if (!code || !kind)
            return Parsed::Nonsense;
        if (*kind == "u") {
            const auto number = fields.number();
            if (number && *code == ReplySerial)
                answered = *number;
        } else if (const auto text = *kind == "g" ? fields.signature() : fields.string(); !text) {
            return Parsed::Nonsense;
        } else if (*code == ErrorName) {
            reply.error = *text;
        } else if (*code == Signature) {
            reply.signature = *text;
        }
    }
    if (answered != callSerial || (*type != methodReturnType && *type != errorType))
        return Parsed::Other;
    reply.body = bytes.substr(bodyAt, bodySize);
    return Parsed::Reply;
}

/// Addresses write some bytes as % and two digits. Absent when that is done wrongly.
std::optional<std::string> unescaped(std::string_view text)
{
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            result += text[at];
            continue;
        }
        unsigned char byte = 0;
        const std::string_view digits = text.substr(at + 1, 2);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (error != std::errc() || end != digits.data() + 2)
            return std::nullopt;
        result += char(byte);
        at += 2;
    }
    return result;
}

/// Cuts off what stands before the separator, or all.
std::string_view cut(std::string_view &rest, char separator)
{
    const size_t end = rest.find(separator);
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return part;
}

} // namespace

BusClient::BusClient(const char *address, const char *runtimeFolder)
{
    constexpr std::string_view local = "unix:";
    for (std::string_view rest = address ? address : ""; !rest.empty() && !connected();)
        if (std::string_view one = cut(rest, ';'); one.starts_with(local))
            connectTo(one.substr(local.size()));
    if ((!address || !*address) && runtimeFolder && *runtimeFolder == '/') {
        std::string path = "path=";
        for (const char *at = runtimeFolder; *at; ++at)
            path += std::strchr("%,;=", *at)
                        ? std::string("%") + "0123456789abcdef"[*at / 16] + "0123456789abcdef"[*at % 16]
                        : std::string(1, *at);
        connectTo(path + "/bus");
    }
}

BusClient::~BusClient()
{
    if (m_socket >= 0)
        close(m_socket);
}

bool BusClient::connectTo(std::string_view address)
{
    sockaddr_un socketAddress{};
    socketAddress.sun_family = AF_UNIX;
    size_t size = 0;
    while (!address.empty() && size == 0) {
        std::string_view value = cut(address, ',');
        const std::string_view key = cut(value, '=');
        if (key != "path" && key != "abstract")
            continue;
        const auto name = unescaped(value);
        // An abstract name follows a zero byte and ends with the address; a path ends with one.
        const size_t before = key == "abstract" ? 1 : 0;
        if (!name || name->empty() || name->size() + 1 > sizeof socketAddress.sun_path)
            return false;
        std::memcpy(socketAddress.sun_path + before, name->data(), name->size());
        size = offsetof(sockaddr_un, sun_path) + name->size() + 1;
    }
    if (size == 0)
        return false;
    m_socket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // A bus that takes nothing any more is not waited for forever.
    const timeval patience{.tv_sec = 5, .tv_usec = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
    if (connect(m_socket, reinterpret_cast<const sockaddr *>(&socketAddress), socklen_t(size)) == 0)
        return true;
    if (m_socket >= 0)
        close(m_socket);
    m_socket = -1;
    return false;
}

std::string BusClient::methodCall(std::string_view destination, std::string_view path, std::string_view interface,
                                  std::string_view member, std::string_view signature, std::string_view body)
{
    return messageOf(destination, path, interface, member, signature, body, callSerial);
}

bool BusClient::send(std::string_view bytes) const
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(size_t(sent < 0 ? 0 : sent));
    }
    return true;
}

BusClient::Outcome BusClient::ask(const std::string &call, milliseconds patience, BusReply &reply)
{
    // The bus knows the user from the socket and wants it said once more, in digits that are written as hexadecimal.
    std::string greeting(1, '\0');
    greeting += "AUTH EXTERNAL ";
    for (const char digit : std::to_string(geteuid()))
        (greeting += '3') += digit;
    greeting += "\r\nBEGIN\r\n";
    greeting += messageOf("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "Hello", {}, {},
                          helloSerial);
    if (!send(greeting + call))
        return errno == EAGAIN ? Outcome::Silent : Outcome::HungUp;

    std::string received;
    bool greeted = false;
    bool heard = false;
    const auto end = steady_clock::now() + patience;
    for (;;) {
        size_t size = 0;
        if (!greeted) {
            const size_t line = received.find("\r\n");
            if (line == std::string::npos && received.size() > maximumGreeting)
                return Outcome::Nonsense;
            if (line != std::string::npos) {
                if (!received.starts_with("OK"))
                    return Outcome::HungUp;
                greeted = true;
                received.erase(0, line + 2);
            }
        }
        while (greeted) {
            reply = {};
            const Parsed parsed = parse(received, size, reply);
            if (parsed == Parsed::Reply)
                return Outcome::Replied;
            if (parsed == Parsed::Nonsense)
                return Outcome::Nonsense;
            if (parsed == Parsed::Incomplete)
                break;
            heard = true;
            received.erase(0, size);
        }

        pollfd readable{m_socket, POLLIN, 0};
        const auto left = duration_cast<milliseconds>(end - steady_clock::now()).count();
        if (left <= 0 || poll(&readable, 1, int(left)) == 0)
            return heard ? Outcome::NoReply : Outcome::Silent;
        char chunk[16 * 1024];
        const ssize_t got = recv(m_socket, chunk, sizeof chunk, MSG_DONTWAIT);
        if (got > 0)
            received.append(chunk, size_t(got));
        else if (got == 0 || (errno != EINTR && errno != EAGAIN))
            return Outcome::HungUp;
    }
}

} // namespace cobblet
