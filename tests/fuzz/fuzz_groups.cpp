// Whatever bytes come in, decoding groups and digits ends with a value or an error that says why, and what was
// decoded survives being written and read again.
#include "model/GroupCoding.h"

#include <cstdlib>

using namespace cobblet;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray json(reinterpret_cast<const char *>(data), qsizetype(size));
    if (const auto groups = decodeGroups(json)) {
        const auto again = decodeGroups(encodeGroups(groups.value()));
        if (!again || again.value() != groups.value())
            std::abort();
    } else if (groups.error().isEmpty()) {
        std::abort();
    }
    if (const auto group = decodeGroup(json)) {
        const auto again = decodeGroup(encodeGroup(group.value()));
        if (!again || again.value() != group.value())
            std::abort();
    }
    if (const auto shortcuts = decodeShortcuts(json)) {
        const auto again = decodeShortcuts(encodeShortcuts(shortcuts.value()));
        if (!again || again.value() != shortcuts.value())
            std::abort();
    }
    return 0;
}
