#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/socket.h>

namespace cobblet {

/// What the program that draws SVG documents reads: this, and then the document. It answers with one byte, and if
/// that is 1 with the picture: premultiplied pixels of 32 bits in the order of the machine, row by row without gaps.
struct SvgRequest {
    uint32_t bytes; ///< of the document
    uint32_t side;  ///< of the picture, in pixels
};

constexpr size_t maximumSvgBytes = 8 * 1024 * 1024;
constexpr size_t maximumSvgSide = 4096;
/// The program ends when it is asked nothing for so long, in seconds.
constexpr int svgPatience = 10;

/// Both false when the other end is gone.
inline bool sendAll(int socket, const void *from, size_t bytes)
{
    const char *rest = static_cast<const char *>(from);
    for (ssize_t sent = 0; bytes > 0; rest += sent, bytes -= size_t(sent))
        if ((sent = send(socket, rest, bytes, MSG_NOSIGNAL)) <= 0)
            return false;
    return true;
}
inline bool receiveAll(int socket, void *to, size_t bytes)
{
    return bytes == 0 || recv(socket, to, bytes, MSG_WAITALL) == ssize_t(bytes);
}

} // namespace cobblet
