#pragma once

#include <cstddef>
#include <cstdint>

namespace cobblet {

/// What the program of this folder reads: this, and then the document. It answers with one byte, and if that is 1
/// with the picture: premultiplied pixels of 32 bits in the order of the machine, row by row without gaps.
struct SvgRequest {
    uint32_t bytes; ///< of the document
    uint32_t side;  ///< of the picture, in pixels
};

constexpr size_t maximumSvgBytes = 8 * 1024 * 1024;
constexpr size_t maximumSvgSide = 4096;

} // namespace cobblet
