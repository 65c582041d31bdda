#include "command/RunningInstance.h"

#include "command/SessionBusAddress.h"

#include <dbus/dbus.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

#include <sysexits.h>

namespace cobblet {

namespace {

using namespace std::chrono_literals;
using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char *busName = "com.vantor.cobblet";
constexpr const char *objectPath = "/com/vantor/cobblet";

constexpr size_t maximumArgument = 64 * 1024;
constexpr size_t maximumArguments = 1024 * 1024;
constexpr size_t maximumToken = 4096;

// Applications have five seconds to quit, and the instance a few more to tell.
constexpr milliseconds patience = 5s;
constexpr milliseconds patienceForApplications = 15s;

struct ConnectionCloser {
    void operator()(DBusConnection *connection) const
    {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
struct MessageDeleter {
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
};
using Connection = std::unique_ptr<DBusConnection, ConnectionCloser>;
using Message = std::unique_ptr<DBusMessage, MessageDeleter>;

struct Error : DBusError {
    Error() : DBusError(DBUS_ERROR_INIT) {}
    ~Error() { dbus_error_free(this); }
    Error(const Error &) = delete;
    Error &operator=(const Error &) = delete;

    bool is(const char *other) const { return dbus_error_has_name(this, other); }
};

/// The running instance did not do it: one sentence says why.
Answer failed(int status, const std::string &sentence)
{
    return {Answer::Kind::Carried, status, {}, "cobblet: " + sentence + "\n"};
}

Connection connect()
{
    const std::string address =
        sessionBusAddress(std::getenv("DBUS_SESSION_BUS_ADDRESS"), std::getenv("XDG_RUNTIME_DIR"));
    if (address.empty())
        return nullptr;
    // The signal's disposition would be handed on to the application that this process may become.
    dbus_connection_set_change_sigpipe(FALSE);
    Error error;
    Connection connection(dbus_connection_open_private(address.c_str(), &error));
    if (!connection)
        return nullptr;
    dbus_connection_set_exit_on_disconnect(connection.get(), FALSE);
    // Its answer, a name for this process, is of no use: the request follows at once instead of a round trip later.
    const Message hello(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello"));
    dbus_connection_send(connection.get(), hello.get(), nullptr);
    return connection;
}

Message call(const char *interface, const char *method)
{
    Message message(dbus_message_new_method_call(busName, objectPath, interface, method));
    dbus_message_set_auto_start(message.get(), FALSE);
    return message;
}

void appendArguments(DBusMessageIter &call, std::span<char *const> arguments)
{
    DBusMessageIter list;
    dbus_message_iter_open_container(&call, DBUS_TYPE_ARRAY, "ay", &list);
    for (const char *argument : arguments) {
        DBusMessageIter bytes;
        dbus_message_iter_open_container(&list, DBUS_TYPE_ARRAY, DBUS_TYPE_BYTE_AS_STRING, &bytes);
        dbus_message_iter_append_fixed_array(&bytes, DBUS_TYPE_BYTE, &argument, int(std::strlen(argument)));
        dbus_message_iter_close_container(&list, &bytes);
    }
    dbus_message_iter_close_container(&call, &list);
}

/// What lets the panel take the keyboard: the tokens that the desktop gave to this process.
void appendPlatformData(DBusMessageIter &call)
{
    constexpr std::pair<const char *, const char *> tokens[] = {{"desktop-startup-id", "DESKTOP_STARTUP_ID"},
                                                                {"activation-token", "XDG_ACTIVATION_TOKEN"}};
    DBusMessageIter data;
    dbus_message_iter_open_container(&call, DBUS_TYPE_ARRAY, "{sv}", &data);
    for (const auto &[key, variable] : tokens) {
        const char *token = std::getenv(variable);
        if (!token || !*token || std::strlen(token) > maximumToken || !dbus_validate_utf8(token, nullptr))
            continue;
        DBusMessageIter entry;
        DBusMessageIter value;
        dbus_message_iter_open_container(&data, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
        dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, DBUS_TYPE_STRING_AS_STRING, &value);
        dbus_message_iter_append_basic(&value, DBUS_TYPE_STRING, &token);
        dbus_message_iter_close_container(&entry, &value);
        dbus_message_iter_close_container(&data, &entry);
    }
    dbus_message_iter_close_container(&call, &data);
}

bool waitsForApplications(std::span<char *const> arguments)
{
    const std::string_view verb = arguments.empty() ? "" : arguments[0];
    return verb == "launch" || verb == "quit" || verb == "hide" || verb == "say" || verb.starts_with("cobblet:");
}

Answer refusal(DBusMessage *reply)
{
    Error error;
    dbus_set_error_from_message(&error, reply);
    if (error.is(DBUS_ERROR_SERVICE_UNKNOWN) || error.is(DBUS_ERROR_NAME_HAS_NO_OWNER))
        return {};
    if (error.is(DBUS_ERROR_NO_REPLY))
        return failed(EX_TEMPFAIL, "Cobblet ended before it answered. Try again.");
    if (error.is(DBUS_ERROR_UNKNOWN_METHOD) || error.is(DBUS_ERROR_UNKNOWN_INTERFACE) ||
        error.is(DBUS_ERROR_UNKNOWN_OBJECT))
        return failed(EX_UNAVAILABLE, "the running Cobblet is of another version. End it and try again.");
    return failed(EX_UNAVAILABLE, std::string("the running Cobblet refused: ") +
                                      (error.message && *error.message ? error.message : error.name));
}

Answer answerIn(DBusMessage *reply)
{
    dbus_int32_t status = 0;
    const char *output = nullptr;
    const char *errors = nullptr;
    Error error;
    if (!dbus_message_get_args(reply, &error, DBUS_TYPE_INT32, &status, DBUS_TYPE_STRING, &output, DBUS_TYPE_STRING,
                               &errors, DBUS_TYPE_INVALID))
        return failed(EX_PROTOCOL, "the running Cobblet is of another version. End it and try again.");
    return {Answer::Kind::Carried, status, output, errors};
}

/// Sends the request and waits for its answer. The library's own way to do so waits without end for a bus that is
/// silent from the start.
Answer carry(DBusConnection *connection, DBusMessage *request, milliseconds patience)
{
    const bool hasAnswer = !dbus_message_has_member(request, "Activate");
    dbus_uint32_t serial = 0;
    dbus_connection_send(connection, request, &serial);
    bool heard = false;
    const auto end = steady_clock::now() + patience;
    for (auto left = patience; left.count() > 0; left = duration_cast<milliseconds>(end - steady_clock::now())) {
        // A bus that hangs up on this process (another user's, for one) has no instance for it.
        if (!dbus_connection_read_write(connection, int(left.count())))
            return {};
        while (const Message message{dbus_connection_pop_message(connection)}) {
            heard = true;
            if (dbus_message_get_reply_serial(message.get()) != serial)
                continue;
            if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_ERROR)
                return refusal(message.get());
            return hasAnswer ? answerIn(message.get()) : Answer{Answer::Kind::Carried, EX_OK, {}, {}};
        }
    }
    return failed(EX_TEMPFAIL, heard ? "the running Cobblet does not answer. Wait a moment, or end it and try again."
                                     : "the session bus does not answer. Wait a moment and try again.");
}

} // namespace

Answer askRunningInstance(std::span<char *const> arguments)
{
    size_t bytes = 0;
    for (const char *argument : arguments) {
        const size_t size = std::strlen(argument);
        bytes += size;
        if (size > maximumArgument || bytes > maximumArguments)
            return failed(EX_USAGE, "that is more text than a name or a phrase can be.");
    }
    const Connection connection = connect();
    if (!connection)
        return {};

    // The panel as it is: a request that is answered before the panel is there, so nothing is to be waited for.
    const Message request = arguments.empty() ? call("org.freedesktop.Application", "Activate")
                                              : call("com.vantor.cobblet.CommandLine", "Run");
    DBusMessageIter parameters;
    dbus_message_iter_init_append(request.get(), &parameters);
    if (!arguments.empty())
        appendArguments(parameters, arguments);
    appendPlatformData(parameters);

    return carry(connection.get(), request.get(),
                 waitsForApplications(arguments) ? patienceForApplications : patience);
}

} // namespace cobblet
