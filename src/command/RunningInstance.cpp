#include "command/RunningInstance.h"

#include "command/BusClient.h"
#include "command/BusMarshalling.h"
#include "command/Identity.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sysexits.h>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

constexpr std::string_view applicationInterface = "org.freedesktop.Application";

constexpr size_t maximumArgument = 64 * 1024;
constexpr size_t maximumArguments = 1024 * 1024;
constexpr size_t maximumToken = 4096;

// Applications have five seconds to quit, and the instance a few more to tell.
constexpr auto patience = 5s;
constexpr auto patienceForApplications = 15s;

/// The running instance did not do it: one sentence says why.
Answer failed(int status, const std::string &sentence)
{
    return {Answer::Kind::Carried, status, {}, "cobblet: " + sentence + "\n"};
}

/// As the tokens that desktops give are. A bus hangs up on whoever sends it what is no UTF-8.
bool isPlain(std::string_view text)
{
    for (const char c : text)
        if (c < ' ' || c > '~')
            return false;
    return true;
}

/// What lets the panel take the keyboard: the tokens that the desktop gave to this process.
void writePlatformData(BusWriter &body)
{
    constexpr std::pair<const char *, const char *> tokens[] = {{"desktop-startup-id", "DESKTOP_STARTUP_ID"},
                                                                {"activation-token", "XDG_ACTIVATION_TOKEN"}};
    body.array(8, [&] {
        for (const auto &[key, variable] : tokens) {
            const char *token = std::getenv(variable);
            if (!token || !*token || std::strlen(token) > maximumToken || !isPlain(token))
                continue;
            body.align(8);
            body.string(key);
            body.signature("s");
            body.string(token);
        }
    });
}

std::string methodCall(const Identity &identity, std::string_view interface, std::string_view method,
                       std::string_view signature, const BusWriter &body)
{
    return BusClient::methodCall(identity.busName(), identity.objectPath(), interface, method, signature,
                                 body.written());
}

/// The panel as it is: a request that is answered before the panel is there, so nothing is to be waited for.
std::string activation(const Identity &identity)
{
    BusWriter body;
    writePlatformData(body);
    return methodCall(identity, applicationInterface, "Activate", "a{sv}", body);
}

/// An entry of the menu that the application of a group has in docks.
std::string actionActivation(const Identity &identity, const char *action)
{
    BusWriter body;
    body.string(action);
    body.array(1, [] {});
    writePlatformData(body);
    return methodCall(identity, applicationInterface, "ActivateAction", "sava{sv}", body);
}

std::string commandLine(const Identity &identity, std::span<char *const> arguments)
{
    BusWriter body;
    body.array(4, [&] {
        for (const char *argument : arguments)
            body.bytes(argument);
    });
    writePlatformData(body);
    return methodCall(identity, "com.vantor.cobblet.CommandLine", "Run", "aaya{sv}", body);
}

/// What to ask; empty for what the application of a group is not asked, but answers as a new process.
std::string requestFor(const Identity &identity, std::span<char *const> arguments)
{
    if (arguments.empty())
        return activation(identity);
    if (!identity.isAgent())
        return commandLine(identity, arguments);
    return arguments.size() == 2 && arguments[0] == std::string_view("--action") && isPlain(arguments[1])
               ? actionActivation(identity, arguments[1])
               : std::string();
}

bool waitsForApplications(std::span<char *const> arguments)
{
    const std::string_view verb = arguments.empty() ? "" : arguments[0];
    return verb == "launch" || verb == "quit" || verb == "hide" || verb == "say" || verb.starts_with("cobblet:");
}

Answer refusal(const BusReply &reply)
{
    const std::string_view name = reply.error;
    constexpr std::string_view common = "org.freedesktop.DBus.Error.";
    const std::string_view kind = name.starts_with(common) ? name.substr(common.size()) : "";
    if (kind == "ServiceUnknown" || kind == "NameHasNoOwner")
        return {};
    if (kind == "NoReply")
        return failed(EX_TEMPFAIL, "Cobblet ended before it answered. Try again.");
    if (kind == "UnknownMethod" || kind == "UnknownInterface" || kind == "UnknownObject")
        return failed(EX_UNAVAILABLE, "the running Cobblet is of another version. End it and try again.");
    const auto why = reply.signature.starts_with('s') ? BusReader(reply.body).string() : std::nullopt;
    return failed(EX_UNAVAILABLE, "the running Cobblet refused: " + std::string(why.value_or(name)));
}

Answer answerIn(const BusReply &reply)
{
    BusReader body(reply.body);
    const auto status = body.number();
    const auto output = body.string();
    const auto errors = body.string();
    if (reply.signature != "iss" || !status || !output || !errors)
        return failed(EX_PROTOCOL, "the running Cobblet is of another version. End it and try again.");
    return {Answer::Kind::Carried, int(*status), std::string(*output), std::string(*errors)};
}

} // namespace

Answer askRunningInstance(const Identity &identity, std::span<char *const> arguments)
{
    size_t bytes = 0;
    for (const char *argument : arguments) {
        const size_t size = std::strlen(argument);
        bytes += size;
        if (size > maximumArgument || bytes > maximumArguments)
            return failed(EX_USAGE, "that is more text than a name or a phrase can be.");
    }
    const std::string request = requestFor(identity, arguments);
    if (request.empty())
        return {};
    BusClient bus(std::getenv("DBUS_SESSION_BUS_ADDRESS"), std::getenv("XDG_RUNTIME_DIR"));
    if (!bus.connected())
        return {};

    BusReply reply;
    switch (bus.ask(request, waitsForApplications(arguments) ? patienceForApplications : patience, reply)) {
    case BusClient::Outcome::HungUp: // another user's bus, for one: there is no instance on it for this process
        return {};
    case BusClient::Outcome::Silent:
        return failed(EX_TEMPFAIL, "the session bus does not answer. Wait a moment and try again.");
    case BusClient::Outcome::NoReply:
        return failed(EX_TEMPFAIL, "the running Cobblet does not answer. Wait a moment, or end it and try again.");
    case BusClient::Outcome::Nonsense:
        return failed(EX_PROTOCOL, "what answers as the session bus is none.");
    case BusClient::Outcome::Replied:
        break;
    }
    if (!reply.error.empty())
        return refusal(reply);
    return arguments.empty() || identity.isAgent() ? Answer{Answer::Kind::Carried, EX_OK, {}, {}} : answerIn(reply);
}

} // namespace cobblet
