// How many bytes something takes in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>

namespace kowen::cli {

/// The product. Throws std::bad_alloc when it is more than this machine can address, where it would
/// else wrap: a picture's file may say any size.
inline size_t BytesOf(std::initializer_list<uint64_t> factors) {
    uint64_t bytes = 1;
    for (const uint64_t factor : factors) {
        if (factor != 0 && bytes > PTRDIFF_MAX / factor)
            throw std::bad_alloc();
        bytes *= factor;
    }
    return static_cast<size_t>(bytes);
}

} // namespace kowen::cli
