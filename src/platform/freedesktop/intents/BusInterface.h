#pragma once

#include "platform/freedesktop/intents/BusCall.h"
#include "platform/freedesktop/intents/CallQueue.h"

#include <QString>

#include <functional>
#include <vector>

namespace cobblet {

/// The texts here are ASCII and live as long as the program.
struct BusArgument {
    const char *name;
    const char *type; ///< a D-Bus signature
};

struct BusMethod {
    const char *name;
    const char *description; ///< for other developers; may be empty
    std::vector<BusArgument> in;
    std::vector<BusArgument> out;
    std::function<void(const BusCall &)> handle;

    std::function<CallQueue::Lane(const BusCall &)> lane = {}; ///< ordinary when absent
    bool needsProgram = true;                                  ///< waits until the program serves requests
    bool answersLater = false;                                 ///< so that many can be open at the same time

    /// Of the arguments that come in, as in a message.
    QString signature() const;
};

struct BusSignal {
    const char *name;
    const char *description;
};

/// What an object of this program answers to: described once, for the introspection and for the checks.
struct BusInterface {
    const char *name;
    const char *description;
    std::vector<BusMethod> methods;
    std::vector<BusSignal> notices = {};

    const BusMethod *method(const QString &member) const;
    QString introspection() const;
};

/// For a method that is always urgent.
inline CallQueue::Lane urgentLane(const BusCall &)
{
    return CallQueue::Lane::Urgent;
}

} // namespace cobblet
