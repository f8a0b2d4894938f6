// The blocks of global memory that the host has.
#pragma once

#include "calls.h"
#include "kowen/kowen.h"

namespace kowen::check {

enum class BlockKind { kOwn, kWrapped };

/// A block came to the host: made by a call, or by an export.
void AddBlock(MemoryHandle handle, BlockKind kind = BlockKind::kOwn);

/// A handle as the trace shows it: "block 3, 9216 bytes", "ended block", "unknown handle", "0".
std::string DescribeBlock(MemoryHandle handle);

/// Whether a block is there; 0 is no block.
bool IsBlock(MemoryHandle handle);

/// Its bytes; 0 when there is none.
uint32_t BlockBytes(MemoryHandle handle);

/// Reports a handle that is neither 0 nor a block's; the call does not pass then.
void RequireBlock(Call &call, const char *what, MemoryHandle handle);

/// Reports the blocks that are left.
void ReportBlocksLeft();

/// The exported functions of memory.h, checked.
MemoryHandle CheckedAlloc(uint32_t flags, uint32_t size);
void *CheckedLock(MemoryHandle handle);
int32_t CheckedUnlock(MemoryHandle handle);
int32_t CheckedFree(MemoryHandle handle);
MemoryHandle CheckedReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags);
uint32_t CheckedSize(MemoryHandle handle);
MemoryHandle CheckedHandle(const void *data);
MemoryHandle CheckedPointerToHandle(void *data, uint32_t size);
uint32_t CheckedCompact(uint32_t request);

} // namespace kowen::check
