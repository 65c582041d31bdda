#pragma once

#include <string>

namespace cobblet {

/// The addresses of the session bus that this program is willing to connect to, as libdbus takes them; empty when
/// there are none. Only sockets of this machine count: a bus is never started, and no address makes a program run or
/// reaches over a network. Both arguments are values of environment variables, null when unset.
std::string sessionBusAddress(const char *stated, const char *runtimeFolder);

} // namespace cobblet
