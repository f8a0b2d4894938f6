// Arguments of a device request: documented byte offsets, host byte order, no alignment.
#pragma once

#include "kowen/records.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace kowen {

/// Byte of a request where the opcode's arguments begin.
inline constexpr size_t kFirstArgument = 16;
static_assert(sizeof(DdRequest) == kFirstArgument);

inline uint8_t *Bytes(DdRequest *request, size_t offset) noexcept {
    return reinterpret_cast<uint8_t *>(request) + offset;
}

inline const uint8_t *Bytes(const DdRequest *request, size_t offset) noexcept {
    return reinterpret_cast<const uint8_t *>(request) + offset;
}

/// The value at a byte offset of a request.
template <typename T> T Argument(const DdRequest *request, size_t offset) noexcept {
    T value;
    std::memcpy(&value, Bytes(request, offset), sizeof value);
    return value;
}

} // namespace kowen
