#pragma once

#include <stdexcept>

namespace panelwatch {

/// Why a measurement could not be made. Only main() catches it.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace panelwatch
