// Global memory: blocks named by handles, the allocator of everything the filter keeps.
//
// A handle is the address of a header in front of the data; nothing ever moves while a block
// lives, so locking only computes the data pointer. No table of blocks is kept and no handle is
// checked: one that did not come from here, or was freed, gives undefined results.
//
// Flags are stored and never interpreted. Sizes are byte counts. Handle 0 is none.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Flags that every block of the filter is allocated with: moveable, zero-filled.
inline constexpr uint32_t kGlobalFlags = 66;

/// Data areas start at a multiple of this.
inline constexpr uint32_t kGlobalAlignment = 8;

/// What stands at the start of a block. Read and written by memcpy: a handle need not be aligned.
struct GlobalHeader {
    uint32_t size;      ///< the byte count that was asked for, not the rounded one
    uint32_t flags;     ///< as passed; not written for wrapped memory
    uint32_t reserved;  ///< 0; no lock count is kept
    void *data;         ///< what GlobalLock answers
    uint8_t dataOffset; ///< from the block's start to data; for wrapped memory the header's size
};
static_assert(offsetof(GlobalHeader, flags) == 4 && offsetof(GlobalHeader, reserved) == 8);
static_assert(offsetof(GlobalHeader, data) == (sizeof(void *) == 4 ? 12 : 16));
static_assert(offsetof(GlobalHeader, dataOffset) == (sizeof(void *) == 4 ? 16 : 24));
static_assert(sizeof(GlobalHeader) == (sizeof(void *) == 4 ? 20 : 32));

/// Bytes between the header of a block that starts at blockStart and its data: 0 to 7.
constexpr uint32_t GlobalPadding(uintptr_t blockStart) noexcept {
    return static_cast<uint32_t>(
        (kGlobalAlignment - (blockStart + sizeof(GlobalHeader)) % kGlobalAlignment) %
        kGlobalAlignment);
}

/// Bytes taken from the heap for size bytes of data: header, padding and data, rounded down to a
/// multiple of 8. 64 bits wide, so that no size wraps; 0xFFFFFFFF never fits a block.
constexpr uint64_t GlobalBlockBytes(uint32_t size) noexcept {
    return (uint64_t{size} + sizeof(GlobalHeader) + 14) & ~uint64_t{kGlobalAlignment - 1};
}

/// Makes a block of size bytes of data out of the bytes of another one that the heap has moved to
/// block and resized to GlobalBlockBytes(size). old is the header that they were laid out by; where
/// block stands at another distance from an aligned address, the data moves within it.
/// Returns the new handle. A step of GlobalReAlloc; apart for the tests, since hardly any heap
/// changes the alignment.
MemoryHandle RelayGlobalBlock(unsigned char *block, const GlobalHeader &old, uint32_t flags,
                              uint32_t size) noexcept;

/// Allocates a zero-filled block of size bytes; 0 is a valid size.
/// Returns its handle, owned by the caller; 0 when the heap is exhausted or the rounded block
/// would exceed 32 bits, after one message on standard output.
/// A block must be locked once before GlobalHandle finds it.
MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size) noexcept;

/// Returns the block's data, a multiple of 8; null for handle 0. Locks are not counted.
/// Also stores the distance from handle to data in the byte before the data, for GlobalHandle
/// (for wrapped memory: in the last byte of the header, when the distance is at most 255).
void *GlobalLock(MemoryHandle handle) noexcept;

/// Returns 0; nothing to do.
int32_t GlobalUnlock(MemoryHandle handle) noexcept;

/// Ends the block; handle 0 is ignored. Of wrapped memory only the header goes. Returns 0.
int32_t GlobalFree(MemoryHandle handle) noexcept;

/// Ends the block and makes one of size bytes with the same first bytes, the rest zero.
/// Returns the new handle, not yet locked; it may or may not equal the old one. 0 for handle 0.
/// Wrapped memory is copied to a block of its own and stays the caller's.
///
/// Kept deliberately: when memory is exhausted the result is 0 and the old block is lost too.
/// Test: GlobalReAlloc.FailureLosesTheOldBlock.
/// Hardened: sizes are compared unsigned, so that a block of 2 GB or more is not taken for
/// the smaller one. The same for every size below.
/// Test: GlobalReAlloc.ABlockOfTwoGibibytesIsNotTakenForTheSmaller.
MemoryHandle GlobalReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags) noexcept;

/// Returns the byte count that was asked for; 0 for handle 0.
uint32_t GlobalSize(MemoryHandle handle) noexcept;

/// Returns the handle of a block from its locked data pointer; 0 for null. A pointer into the
/// middle of a block, or to wrapped memory, gives a wrong handle.
MemoryHandle GlobalHandle(const void *data) noexcept;

/// Wraps size bytes that stay the caller's. Returns the handle, to be freed with GlobalFree; 0
/// when memory is exhausted, without a message.
///
/// Hardened: memory that is not there has a size of 0, so that nothing is read from it. Test:
/// HostilePictures.MemoryThatIsNotThereIsNoPicture.
MemoryHandle GlobalPointerToHandle(void *data, uint32_t size) noexcept;

/// Returns the request itself, or 65536 for 0; nothing is compacted.
uint32_t GlobalCompact(uint32_t request) noexcept;

/// Allocates and locks. Returns the data pointer; null for size 0 and when memory is exhausted.
void *qivPtrGlobalAlloc(uint32_t size) noexcept;

/// Frees the block of a locked data pointer; null is ignored. Returns 0.
int32_t qivPtrGlobalFree(void *data) noexcept;

/// Resizes the block of a locked data pointer. Null data: allocates (flags are not used). Size 0:
/// frees and returns null. Returns the new data pointer; null when memory is exhausted, and the
/// old block is lost then.
void *qivPtrGlobalReAlloc(void *data, uint32_t size, uint32_t flags) noexcept;

/// As GlobalHandle.
/// Not on the export path.
MemoryHandle qivPtrGlobalHandle(const void *data) noexcept;

/// GlobalLock with the type the caller wants.
template <typename T> T *Lock(MemoryHandle handle) noexcept {
    return static_cast<T *>(GlobalLock(handle));
}

/// Test seam. When not null it is asked before each block or header is taken from the heap, with
/// the bytes wanted; false makes that allocation fail as an exhausted heap would, message
/// included. Null in a running filter. Tests set it through tests/support/failing_memory.h.
using AllocationGate = bool (*)(uint64_t bytes) noexcept;
extern AllocationGate allocationGate;

} // namespace kowen
