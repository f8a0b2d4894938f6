// One Huffman code.
#pragma once

#include <cstdint>

namespace kowen {

/// The bits to emit, right-aligned, and how many.
struct HuffmanEntry {
    uint32_t code;
    uint8_t length; ///< 0 for a symbol without a code
};

} // namespace kowen
