#include "command/RunningInstance.h"

#include "command/Identity.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <dbus/dbus.h>
#include <sysexits.h>
#include <unistd.h>

namespace cobblet {

namespace {

constexpr size_t maximumArgument = 64 * 1024;
constexpr size_t maximumArguments = 1024 * 1024;
constexpr size_t maximumToken = 4096;
constexpr long maximumAnswer = 64 * 1024 * 1024;

// In seconds. Applications have five to quit, and the instance a few more to tell.
constexpr unsigned patience = 5;
constexpr unsigned patienceForApplications = 15;

using Connection = std::unique_ptr<DBusConnection, void (*)(DBusConnection *)>;
using Message = std::unique_ptr<DBusMessage, void (*)(DBusMessage *)>;
using Call = std::unique_ptr<DBusPendingCall, void (*)(DBusPendingCall *)>;

/// Ends the process with a sentence when this object lives too long. An alarm, because the library has no bound of
/// its own for connecting, nor a short one for a bus that says nothing.
class Patience {
public:
    explicit Patience(unsigned seconds)
    {
        sentence = "cobblet: the session bus does not answer. Wait a moment and try again.\n";
        std::signal(SIGALRM, [](int) {
            const char *text = sentence;
            [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text, std::strlen(text));
            ::_exit(EX_TEMPFAIL);
        });
        sigset_t alarms;
        sigemptyset(&alarms);
        sigaddset(&alarms, SIGALRM);
        sigprocmask(SIG_UNBLOCK, &alarms, nullptr);
        ::alarm(seconds);
    }
    ~Patience() { ::alarm(0); }
    Patience(const Patience &) = delete;
    Patience &operator=(const Patience &) = delete;

    /// The bus has answered: from now on it is the instance that is waited for.
    void waitForInstance()
    {
        sentence = "cobblet: the running Cobblet does not answer. Wait a moment, or end it and try again.\n";
    }

private:
    static inline std::atomic<const char *> sentence;
};

/// The running instance did not do it: one sentence says why.
Answer failed(int status, const std::string &sentence)
{
    return {status, {}, "cobblet: " + sentence + "\n"};
}

/// As the tokens that desktops give are; the bus takes no text but UTF-8.
bool isPlain(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::string variable(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

/// Tries the sockets of the session bus; only those of this machine count: a bus is never started, and no address
/// makes a program run or reaches over a network. Null when none takes the connection.
Connection connectToBus()
{
    std::string addresses = variable("DBUS_SESSION_BUS_ADDRESS");
    if (const std::string folder = variable("XDG_RUNTIME_DIR"); addresses.empty() && folder.starts_with('/')) {
        const std::unique_ptr<char, void (*)(void *)> path(dbus_address_escape_value((folder + "/bus").c_str()),
                                                           dbus_free);
        addresses = std::string("unix:path=") + path.get();
    }
    Connection bus(nullptr, [](DBusConnection *connection) {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    });
    for (size_t from = 0, end = 0; !bus && from < addresses.size(); from = end + 1) {
        end = std::min(addresses.find(';', from), addresses.size());
        if (const std::string address = addresses.substr(from, end - from); address.starts_with("unix:"))
            bus.reset(dbus_connection_open_private(address.c_str(), nullptr));
    }
    return bus;
}

/// What lets the panel take the keyboard: the tokens that the desktop gave to this process.
void appendPlatformData(DBusMessageIter &body)
{
    constexpr const char *tokens[][2] = {{"desktop-startup-id", "DESKTOP_STARTUP_ID"},
                                         {"activation-token", "XDG_ACTIVATION_TOKEN"}};
    DBusMessageIter list, item, value;
    dbus_message_iter_open_container(&body, DBUS_TYPE_ARRAY, "{sv}", &list);
    for (const auto &[key, name] : tokens) {
        const std::string token = variable(name);
        if (token.empty() || token.size() > maximumToken || !isPlain(token))
            continue;
        const char *text = token.c_str();
        dbus_message_iter_open_container(&list, DBUS_TYPE_DICT_ENTRY, nullptr, &item);
        dbus_message_iter_append_basic(&item, DBUS_TYPE_STRING, &key);
        dbus_message_iter_open_container(&item, DBUS_TYPE_VARIANT, "s", &value);
        dbus_message_iter_append_basic(&value, DBUS_TYPE_STRING, &text);
        dbus_message_iter_close_container(&item, &value);
        dbus_message_iter_close_container(&list, &item);
    }
    dbus_message_iter_close_container(&body, &list);
}

void appendArguments(DBusMessageIter &body, std::span<char *const> arguments)
{
    DBusMessageIter list, bytes;
    dbus_message_iter_open_container(&body, DBUS_TYPE_ARRAY, "ay", &list);
    for (const char *argument : arguments) {
        dbus_message_iter_open_container(&list, DBUS_TYPE_ARRAY, "y", &bytes);
        dbus_message_iter_append_fixed_array(&bytes, DBUS_TYPE_BYTE, &argument, int(std::strlen(argument)));
        dbus_message_iter_close_container(&list, &bytes);
    }
    dbus_message_iter_close_container(&body, &list);
}

/// The call to make; null for what a running agent is not asked, but a new process does.
Message requestFor(const Identity &identity, std::span<char *const> arguments)
{
    enum class Method { Activate, ActivateAction, Run };
    // The panel as it is: nothing that an answer would tell.
    Method method = Method::Activate;
    if (!arguments.empty() && !identity.isAgent())
        method = Method::Run;
    else if (arguments.size() == 2 && arguments[0] == std::string_view("--action") && isPlain(arguments[1]))
        method = Method::ActivateAction; // an entry of the menu that an agent has in docks
    else if (!arguments.empty())
        return {nullptr, dbus_message_unref};

    Message request(dbus_message_new_method_call(identity.busName().c_str(), identity.objectPath().c_str(),
                                                 method == Method::Run ? "com.vantor.cobblet.CommandLine"
                                                                       : "org.freedesktop.Application",
                                                 method == Method::Run              ? "Run"
                                                 : method == Method::ActivateAction ? "ActivateAction"
                                                                                    : "Activate"),
                    dbus_message_unref);
    dbus_message_set_auto_start(request.get(), FALSE);
    DBusMessageIter body, none;
    dbus_message_iter_init_append(request.get(), &body);
    if (method == Method::Run) {
        appendArguments(body, arguments);
    } else if (method == Method::ActivateAction) {
        const char *action = arguments[1];
        dbus_message_iter_append_basic(&body, DBUS_TYPE_STRING, &action);
        dbus_message_iter_open_container(&body, DBUS_TYPE_ARRAY, "v", &none);
        dbus_message_iter_close_container(&body, &none);
    }
    appendPlatformData(body);
    return request;
}

/// Puts the message on its way and waits for nothing. Null when the connection has ended.
Call send(const Connection &bus, const Message &message)
{
    DBusPendingCall *call = nullptr;
    dbus_connection_send_with_reply(bus.get(), message.get(), &call, DBUS_TIMEOUT_INFINITE);
    return {call, dbus_pending_call_unref};
}

/// Waits; an error when the connection ends first.
Message answerTo(const Call &call)
{
    dbus_pending_call_block(call.get());
    return {dbus_pending_call_steal_reply(call.get()), dbus_message_unref};
}

bool waitsForApplications(std::span<char *const> arguments)
{
    const std::string_view verb = arguments.empty() ? "" : arguments[0];
    return verb == "launch" || verb == "quit" || verb == "hide" || verb == "say" || verb.starts_with("cobblet:");
}

std::optional<Answer> refusal(const DBusError &error)
{
    const auto is = [&](auto... names) { return (dbus_error_has_name(&error, names) || ...); };
    if (is(DBUS_ERROR_SERVICE_UNKNOWN, DBUS_ERROR_NAME_HAS_NO_OWNER))
        return {};
    if (is(DBUS_ERROR_NO_REPLY))
        return failed(EX_TEMPFAIL, "Cobblet ended before it answered. Try again.");
    if (is(DBUS_ERROR_DISCONNECTED)) // asked once is enough: it may have been done
        return failed(EX_PROTOCOL, "the session bus ended the connection. Try again.");
    if (is(DBUS_ERROR_UNKNOWN_METHOD, DBUS_ERROR_UNKNOWN_INTERFACE, DBUS_ERROR_UNKNOWN_OBJECT))
        return failed(EX_UNAVAILABLE, "the running Cobblet is of another version. End it and try again.");
    return failed(EX_UNAVAILABLE, std::string("the running Cobblet refused: ") + error.message);
}

} // namespace

std::optional<Answer> askRunningInstance(const Identity &identity, std::span<char *const> arguments)
{
    size_t bytes = 0;
    for (const char *argument : arguments) {
        const size_t size = std::strlen(argument);
        bytes += size;
        if (size > maximumArgument || bytes > maximumArguments)
            return failed(EX_USAGE, "that is more text than a name or a phrase can be.");
    }
    if (!dbus_validate_bus_name(identity.busName().c_str(), nullptr) ||
        !dbus_validate_path(identity.objectPath().c_str(), nullptr))
        return {};
    const Message request = requestFor(identity, arguments);
    if (!request)
        return {};

    Patience wait(waitsForApplications(arguments) ? patienceForApplications : patience);
    dbus_connection_set_change_sigpipe(FALSE); // the application that this may become is to find it as it was
    const Connection bus = connectToBus();
    if (!bus)
        return {};
    dbus_connection_set_max_message_size(bus.get(), maximumAnswer);
    // The request goes along with the greeting, which the bus takes first: that saves waiting for it once more.
    const Message hello(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello"),
                        dbus_message_unref);
    const Call greeting = send(bus, hello), call = send(bus, request);
    // A bus that refuses this process, as that of another user does, has no instance for it.
    if (!greeting || !call || dbus_message_get_type(answerTo(greeting).get()) != DBUS_MESSAGE_TYPE_METHOD_RETURN)
        return {};
    wait.waitForInstance();
    const Message reply = answerTo(call);
    if (DBusError error = DBUS_ERROR_INIT; dbus_set_error_from_message(&error, reply.get())) {
        const auto answer = refusal(error);
        dbus_error_free(&error);
        return answer;
    }
    if (arguments.empty() || identity.isAgent())
        return Answer{};
    dbus_int32_t status = 0;
    const char *output = nullptr, *errors = nullptr;
    if (!dbus_message_has_signature(reply.get(), "iss") ||
        !dbus_message_get_args(reply.get(), nullptr, DBUS_TYPE_INT32, &status, DBUS_TYPE_STRING, &output,
                               DBUS_TYPE_STRING, &errors, DBUS_TYPE_INVALID))
        return failed(EX_PROTOCOL, "the running Cobblet is of another version. End it and try again.");
    return Answer{status, output, errors};
}

} // namespace cobblet
