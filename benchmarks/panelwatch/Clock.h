#pragma once

#include <ctime>

namespace panelwatch {

/// Milliseconds of a time value.
inline double milliseconds(const timespec &time)
{
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/// Milliseconds on the clock that never jumps.
inline double now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return milliseconds(time);
}

} // namespace panelwatch
