#pragma once

#include "platform/freedesktop/FileUserDefaults.h"

#include <memory>

namespace cobblet::test {

/// The preferences that the program itself uses, in a folder of the test's own.
inline std::unique_ptr<UserDefaults> makeTestDefaults(const QString &folder)
{
    return std::make_unique<FileUserDefaults>(folder, QStringLiteral("test"));
}

} // namespace cobblet::test
