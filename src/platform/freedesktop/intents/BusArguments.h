#pragma once

#include "platform/Result.h"

#include <QVariant>

namespace cobblet {

/// What one call may carry. A caller beyond it is refused before anything is done with the call.
struct BusBounds {
    static constexpr qsizetype textBytes = 4096;
    static constexpr qsizetype items = 256; ///< in a list, and in a map
    static constexpr qsizetype callBytes = 64 * 1024;
};

/// The arguments of a received message as plain values: text as QString, "as" as QStringList, "aay" as
/// QByteArrayList, "a{sv}" as a QVariantMap of its texts alone; of any other container nothing is to be used. The
/// error names the bound that was passed.
Result<QVariantList> boundedArguments(const QVariantList &received);

} // namespace cobblet
