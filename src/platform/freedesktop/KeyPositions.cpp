#include "platform/freedesktop/KeyPositions.h"

#include <algorithm>

namespace cobblet {

namespace {

constexpr KeyPosition digits[] = {
    {18, "AE01", 10}, {19, "AE02", 11}, {20, "AE03", 12}, {21, "AE04", 13}, {23, "AE05", 14},
    {22, "AE06", 15}, {26, "AE07", 16}, {28, "AE08", 17}, {25, "AE09", 18}, {29, "AE10", 19},
};

} // namespace

std::span<const KeyPosition> keyPositions()
{
    return digits;
}

const KeyPosition *keyPosition(int virtualKey)
{
    const auto *found = std::find_if(std::begin(digits), std::end(digits),
                                     [virtualKey](const KeyPosition &p) { return p.virtualKey == virtualKey; });
    return found == std::end(digits) ? nullptr : found;
}

} // namespace cobblet
