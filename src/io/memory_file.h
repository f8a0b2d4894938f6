// Memory files: a record over a block of the caller's that grows as it is written.
#pragma once

#include "io/file_record.h"

namespace kowen {

/// Opens the block that the descriptor names; false when there is none.
///
/// Hardened: a size below 0 counts as 0 and one beyond the block as the block's; the same
/// for every size that is true.
bool OpenMemory(QivFile &file, QivIODesc *descriptor) noexcept;

/// The qivWrite of memory files; count is above 0. The block grows as soon as it is full.
///
/// Hardened: a block that is full and cannot grow, because growBy is not above 0 or the size
/// would not fit in 31 bits, gives -1 and keeps its bytes.
int32_t WriteMemory(QivFile &file, const void *buffer, int32_t count) noexcept;

/// The FlushQivIO of memory files: grows the block to bufMax + growBy + 1 bytes. Returns 1, or -1:
/// when memory is exhausted the block is lost, and the caller's pointer is null then.
int32_t FlushMemory(QivFile &file) noexcept;

/// The qivSeek of memory files. whence is kFromStart with an offset of at least 0, or kFromEnd;
/// anything else gives -1. A place beyond the block makes it grow to offset + growBy + 1 bytes.
///
/// Hardened: a place before the first byte, counted from the end, gives -1.
int32_t SeekMemory(QivFile &file, int32_t offset, int32_t whence) noexcept;

} // namespace kowen
