#pragma once

#include <cstdio>
#include <cstdlib>

#include <sys/socket.h>
#include <sys/un.h>

/// Where the waiting panel listens for a datagram; any shows it. Without XDG_RUNTIME_DIR, a path that cannot be used.
inline sockaddr_un pokeAddress()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const char *folder = std::getenv("XDG_RUNTIME_DIR");
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s/cobblet-bench-floor",
                  folder ? folder : "/nonexistent");
    return address;
}
