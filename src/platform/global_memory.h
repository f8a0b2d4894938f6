// Global memory: blocks named by handles, the allocator of everything the filter keeps.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Flags that every block of the filter is allocated with: moveable, zero-filled.
inline constexpr uint32_t kGlobalFlags = 66;

MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size) noexcept;
void *GlobalLock(MemoryHandle handle) noexcept;
int32_t GlobalUnlock(MemoryHandle handle) noexcept;
int32_t GlobalFree(MemoryHandle handle) noexcept;
MemoryHandle GlobalReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags) noexcept;
uint32_t GlobalSize(MemoryHandle handle) noexcept;
MemoryHandle GlobalHandle(const void *data) noexcept;
MemoryHandle GlobalPointerToHandle(void *data, uint32_t size) noexcept;
uint32_t GlobalCompact(uint32_t request) noexcept;

void *qivPtrGlobalAlloc(uint32_t size) noexcept;
int32_t qivPtrGlobalFree(void *data) noexcept;
void *qivPtrGlobalReAlloc(void *data, uint32_t size, uint32_t flags) noexcept;
MemoryHandle qivPtrGlobalHandle(const void *data) noexcept;

/// GlobalLock with the type the caller wants.
template <typename T> T *Lock(MemoryHandle handle) noexcept {
    return static_cast<T *>(GlobalLock(handle));
}

} // namespace kowen
