// The raster driver's error stack and return area.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// One error; its 8 bytes go to the return area as they are.
struct ErrorEntry {
    uint32_t opcode;
    int16_t code;
    int16_t padding;
};
static_assert(sizeof(ErrorEntry) == 8);

/// Entries that a stack with a capacity has room for.
inline constexpr int32_t kErrorStackEntries = 8;

/// Errors, oldest first. The device's stack has capacity 0: see push_er.
struct ErrorStack {
    uint32_t lastOpcode;
    int16_t currentError; ///< what the running dispatch will answer
    int32_t capacity;     ///< at most kErrorStackEntries; nothing sets it, so it stays 0
    int32_t count;
    int32_t overflow; ///< errors that arrived while the stack was full
    /// slots[0] holds the first error, slots[1 + i] entry i.
    ErrorEntry slots[1 + kErrorStackEntries];
};

/// Where inquiries answer: appended one behind another, never rewound.
struct ReturnArea {
    uint32_t fillPosition; ///< bytes; at most size
    uint32_t size;         ///< bytes
    MemoryHandle handle;
    uint8_t *data; ///< locked; the host reads it
};

/// Pushes an error of the device and makes it what the running dispatch answers; does nothing
/// without a device record. code is kept as a 16-bit value. An error equal to the top entry is
/// not pushed again.
///
/// Kept deliberately: a full stack overwrites its last entry, which with capacity 0 is the slot
/// of the first error. So that slot always holds the latest error, the count stays 0, the overflow
/// counts every error and a repeated one is never recognised.
/// Tests: ErrorStackTest.WithoutCapacityTheFirstSlotHoldsTheLatest,
/// ErrorStackTest.WithoutCapacityARepeatedErrorCountsTwice.
void push_er(int32_t code) noexcept;

/// Handler, opcode 3842: appends to the return area the number of errors taken (4 bytes: the i32
/// at request byte 16, at most what is there) and that many entries (8 bytes each), newest first.
DdRequest *d_popes(DdRequest *request) noexcept;

/// Handler, opcode 3843, and part of opening a device: empties the stack and clears the current
/// error; the slots keep their content.
DdRequest *d_empes(DdRequest *request) noexcept;

/// Appends count (4 bytes), the first error (8) and the overflow (4) to the return area. No
/// opcode leads here.
/// Not on the export path.
void dq_es() noexcept;

/// Appends bytes to the return area; what does not fit is cut off.
void mov2buf(const void *source, uint32_t length) noexcept;

} // namespace kowen
