#pragma once

#include <string>
#include <vector>

namespace cobblet::seal {

/// What is wrong, in sentences for a person, which hold printable ASCII only; empty when all is well.
using Faults = std::vector<std::string>;

/// Writes the seal of the bundle at this path, which may lead over links. An existing seal is a fault unless it is to
/// be replaced. A process killed at any moment leaves the old seal or the new one.
Faults makeSeal(const char *bundle, bool replace);
/// Compares the bundle with its seal.
Faults checkSeal(const char *bundle);

} // namespace cobblet::seal
