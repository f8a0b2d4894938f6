#include "platform/global_memory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kowen {

AllocationGate allocationGate = nullptr;

namespace {

constexpr uint32_t kCompactAnswer = 65536;
constexpr intptr_t kLargestOffsetByte = 255;

unsigned char *BlockStart(MemoryHandle handle) {
    return reinterpret_cast<unsigned char *>(handle);
}

GlobalHeader ReadHeader(MemoryHandle handle) {
    GlobalHeader header;
    std::memcpy(&header, BlockStart(handle), sizeof header);
    return header;
}

bool HeapGrants(uint64_t bytes) {
    return bytes <= UINT32_MAX && (!allocationGate || allocationGate(bytes));
}

void ReportExhausted(uint64_t bytes) {
    std::printf(
        "GloalAlloc function failed due to insufficient memory: needs %llu bytes memory!!\n",
        static_cast<unsigned long long>(bytes));
}

// Writes the header of a block and returns the block's data.
unsigned char *LayOut(unsigned char *block, uint32_t flags, uint32_t size) {
    const uint32_t offset = static_cast<uint32_t>(sizeof(GlobalHeader)) +
                            GlobalPadding(reinterpret_cast<uintptr_t>(block));
    GlobalHeader header = {};
    header.size = size;
    header.flags = flags;
    header.data = block + offset;
    header.dataOffset = static_cast<uint8_t>(offset);
    std::memcpy(block, &header, sizeof header);
    return block + offset;
}

// A wrapping header is one byte longer than it must be, so that no memory of anybody else can
// stand where a block of our own has its data.
bool IsOwnBlock(MemoryHandle handle, const GlobalHeader &header) {
    return header.data == BlockStart(handle) + header.dataOffset;
}

// Resizes in place where the heap can, so that growing a large block step by step does not copy
// it each time. Frees the old block on failure.
MemoryHandle ResizeBlock(MemoryHandle handle, const GlobalHeader &old, uint32_t size,
                         uint32_t flags) {
    const uint64_t bytes = GlobalBlockBytes(size);
    void *grown = HeapGrants(bytes)
                      ? std::realloc(BlockStart(handle), static_cast<std::size_t>(bytes))
                      : nullptr;
    if (!grown) {
        ReportExhausted(bytes);
        std::free(BlockStart(handle));
        return 0;
    }
    return RelayGlobalBlock(static_cast<unsigned char *>(grown), old, flags, size);
}

MemoryHandle CopyWrapped(const GlobalHeader &wrapped, uint32_t size, uint32_t flags) {
    const MemoryHandle copy = GlobalAlloc(flags, size);
    const uint32_t kept = std::min(wrapped.size, size);
    if (copy != 0 && kept != 0)
        std::memcpy(ReadHeader(copy).data, wrapped.data, kept);
    return copy;
}

} // namespace

MemoryHandle RelayGlobalBlock(unsigned char *block, const GlobalHeader &old, uint32_t flags,
                              uint32_t size) noexcept {
    const uint32_t kept = std::min(old.size, size);
    const uint32_t padding = GlobalPadding(reinterpret_cast<uintptr_t>(block));
    unsigned char *data = block + sizeof(GlobalHeader) + padding;
    if (data != block + old.dataOffset)
        std::memmove(data, block + old.dataOffset, kept);
    LayOut(block, flags, size);
    const unsigned char *end = block + GlobalBlockBytes(size);
    std::memset(data + kept, 0, static_cast<std::size_t>(end - (data + kept)));
    return reinterpret_cast<MemoryHandle>(block);
}

MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size) noexcept {
    const uint64_t bytes = GlobalBlockBytes(size);
    // calloc alone: large blocks come zeroed from the kernel, and clearing them once more would
    // touch every page.
    void *block =
        HeapGrants(bytes)
            ? std::calloc(static_cast<std::size_t>(bytes / kGlobalAlignment), kGlobalAlignment)
            : nullptr;
    if (!block) {
        ReportExhausted(bytes);
        return 0;
    }
    LayOut(static_cast<unsigned char *>(block), flags, size);
    return reinterpret_cast<MemoryHandle>(block);
}

void *GlobalLock(MemoryHandle handle) noexcept {
    if (handle == 0)
        return nullptr;
    const GlobalHeader header = ReadHeader(handle);
    const auto distance = static_cast<intptr_t>(reinterpret_cast<uintptr_t>(header.data) - handle);
    if (distance > kLargestOffsetByte)
        return header.data;
    // It is there nearly always, and a header that was just written to is slow to read.
    unsigned char &before = BlockStart(handle)[header.dataOffset - 1];
    if (before != distance)
        before = static_cast<unsigned char>(distance);
    return header.data;
}

int32_t GlobalUnlock(MemoryHandle) noexcept {
    return 0;
}

int32_t GlobalFree(MemoryHandle handle) noexcept {
    std::free(BlockStart(handle));
    return 0;
}

MemoryHandle GlobalReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags) noexcept {
    if (handle == 0)
        return 0;
    const GlobalHeader old = ReadHeader(handle);
    if (IsOwnBlock(handle, old))
        return ResizeBlock(handle, old, size, flags);
    const MemoryHandle copy = CopyWrapped(old, size, flags);
    GlobalFree(handle);
    return copy;
}

uint32_t GlobalSize(MemoryHandle handle) noexcept {
    return handle == 0 ? 0 : ReadHeader(handle).size;
}

MemoryHandle GlobalHandle(const void *data) noexcept {
    if (!data)
        return 0;
    const auto *bytes = static_cast<const unsigned char *>(data);
    return reinterpret_cast<MemoryHandle>(bytes - bytes[-1]);
}

MemoryHandle GlobalPointerToHandle(void *data, uint32_t size) noexcept {
    constexpr std::size_t kWrapperBytes = sizeof(GlobalHeader) + 1; // see IsOwnBlock
    void *wrapper = HeapGrants(kWrapperBytes) ? std::malloc(kWrapperBytes) : nullptr;
    if (!wrapper)
        return 0;
    GlobalHeader header = {};
    header.size = data ? size : 0;
    header.data = data;
    header.dataOffset = sizeof(GlobalHeader);
    std::memcpy(wrapper, &header, sizeof header);
    return reinterpret_cast<MemoryHandle>(wrapper);
}

uint32_t GlobalCompact(uint32_t request) noexcept {
    return request == 0 ? kCompactAnswer : request;
}

void *qivPtrGlobalAlloc(uint32_t size) noexcept {
    return size == 0 ? nullptr : GlobalLock(GlobalAlloc(kGlobalFlags, size));
}

int32_t qivPtrGlobalFree(void *data) noexcept {
    const MemoryHandle handle = GlobalHandle(data);
    GlobalUnlock(handle);
    return GlobalFree(handle);
}

void *qivPtrGlobalReAlloc(void *data, uint32_t size, uint32_t flags) noexcept {
    if (!data)
        return qivPtrGlobalAlloc(size);
    const MemoryHandle handle = GlobalHandle(data);
    GlobalUnlock(handle);
    if (size == 0) {
        GlobalFree(handle);
        return nullptr;
    }
    return GlobalLock(GlobalReAlloc(handle, size, flags));
}

MemoryHandle qivPtrGlobalHandle(const void *data) noexcept {
    return GlobalHandle(data);
}

} // namespace kowen
