/**
 * kowen/memory.h - global memory: blocks named by handles.
 *
 * A host hands pictures over in these blocks and takes results back in them. The functions are
 * exported by name, beside fltLoadPointers; they are not in the table. Sizes are byte counts. A
 * block stays where it is until it is freed or reallocated; locks are not counted.
 *
 * Usable from C99 and C++. Part of kowen.h, which says what holds for all of it.
 */
#ifndef KOWEN_MEMORY_H
#define KOWEN_MEMORY_H

#include "records.h"

#ifndef KOWEN_API
#define KOWEN_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Allocates a zero-filled block. flags are stored and not interpreted; pass KOWEN_GLOBAL_FLAGS.
 * Returns its handle, owned by the caller; 0 when the heap is exhausted, after a message on
 * standard output. A size of 0 gives a valid block.
 */
KOWEN_API MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size);

/** Returns the block's data, a multiple of 8; null for handle 0. Borrowed until the block ends. */
KOWEN_API void *GlobalLock(MemoryHandle handle);

/** Does nothing; returns 0. */
KOWEN_API int32_t GlobalUnlock(MemoryHandle handle);

/** Ends the block; handle 0 is ignored. Returns 0. */
KOWEN_API int32_t GlobalFree(MemoryHandle handle);

/**
 * Ends the block and returns a new one of the given size with the same first bytes, the rest
 * zero. Returns 0 for handle 0, and when memory is exhausted: the old block is lost then too.
 */
KOWEN_API MemoryHandle GlobalReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags);

/** Returns the byte count the block was asked for; 0 for handle 0. */
KOWEN_API uint32_t GlobalSize(MemoryHandle handle);

/** Returns the handle of a block from its locked data pointer; 0 for null. */
KOWEN_API MemoryHandle GlobalHandle(const void *data);

/**
 * Wraps memory that stays the caller's, so that it can be passed where a handle is wanted.
 * Returns the handle, 0 when memory is exhausted. GlobalFree frees the handle only. Null is wrapped
 * as a block of no bytes.
 */
KOWEN_API MemoryHandle GlobalPointerToHandle(void *data, uint32_t size);

/** Returns the request itself, or 65536 for a request of 0; nothing is compacted. */
KOWEN_API uint32_t GlobalCompact(uint32_t request);

/* What a host casts the addresses of these functions to. They are not in the table of entries: a
 * host looks them up by name, as it does fltLoadPointers. */
typedef MemoryHandle (*GlobalAllocFunction)(uint32_t flags, uint32_t size);
typedef void *(*GlobalLockFunction)(MemoryHandle handle);
typedef int32_t (*GlobalUnlockFunction)(MemoryHandle handle);
typedef int32_t (*GlobalFreeFunction)(MemoryHandle handle);
typedef MemoryHandle (*GlobalReAllocFunction)(MemoryHandle handle, uint32_t size, uint32_t flags);
typedef uint32_t (*GlobalSizeFunction)(MemoryHandle handle);
typedef MemoryHandle (*GlobalHandleFunction)(const void *data);
typedef MemoryHandle (*GlobalPointerToHandleFunction)(void *data, uint32_t size);
typedef uint32_t (*GlobalCompactFunction)(uint32_t request);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KOWEN_MEMORY_H */
