#pragma once

#include "support/Files.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

/// What nearly every test is written with.
namespace cobblet {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

} // namespace cobblet
