#include "blocks.h"

#include "callbacks.h"
#include "lifetime.h"
#include "names.h"
#include "real_module.h"
#include "setups.h"

#include <map>
#include <mutex>
#include <set>

namespace kowen::check {
namespace {

struct Block {
    int number;
    uint32_t bytes;
    const void *data; ///< null for wrapped memory
};

/// Calls that come at the wrong time, from another thread, look here too.
struct Blocks {
    std::recursive_mutex mutex;
    std::map<MemoryHandle, Block> live;
    std::set<MemoryHandle> ended;
    int made = 0;
};

Blocks &TheBlocks() {
    return TheOne<Blocks>();
}

using Lock = std::lock_guard<std::recursive_mutex>;

void EndBlock(MemoryHandle handle) {
    const Lock lock(TheBlocks().mutex);
    if (TheBlocks().live.erase(handle) != 0)
        TheBlocks().ended.insert(handle);
}

/// The block that has its data there; 0 for none.
MemoryHandle BlockAt(const void *data) {
    const Lock lock(TheBlocks().mutex);
    for (const auto &[handle, block] : TheBlocks().live)
        if (data != nullptr && block.data == data)
            return handle;
    return 0;
}

/// What a handle is that is no block's.
std::string DescribeStranger(MemoryHandle handle) {
    if (IsSetup(handle))
        return "that of " + DescribeSetup(handle) + ", which is no block";
    if (const MemoryHandle block = BlockAt(reinterpret_cast<const void *>(handle)))
        return "the address of the data of " + DescribeBlock(block) + ", whose handle is needed";
    return "unknown";
}

bool HasEnded(MemoryHandle handle) {
    const Lock lock(TheBlocks().mutex);
    return TheBlocks().ended.contains(handle);
}

void CheckFlags(const Call &call, uint32_t flags) {
    if (flags != KOWEN_GLOBAL_FLAGS)
        call.Mistake(Rule::kBlockFlags, "flags are " + std::to_string(flags));
}

/// For a call that ends a block.
void RequireBlockToEnd(Call &call, MemoryHandle handle) {
    if (call.Passes() && IsBlock(handle) && IsBlockInUse(handle))
        call.Danger(Rule::kBlockInUse,
                    DescribeBlock(handle) + " belongs to the export that calls back");
    else
        RequireBlock(call, "the block", handle);
}

/// What a call that makes a block returns.
MemoryHandle Made(Call &call, MemoryHandle handle, BlockKind kind = BlockKind::kOwn) {
    AddBlock(handle, kind);
    call.Tell("handle", DescribeBlock(handle));
    return handle;
}

} // namespace

void AddBlock(MemoryHandle handle, BlockKind kind) {
    if (handle == 0)
        return;
    Blocks &blocks = TheBlocks();
    const Lock lock(blocks.mutex);
    blocks.ended.erase(handle);
    blocks.live[handle] = {++blocks.made, Real()->globalSize(handle),
                           kind == BlockKind::kOwn ? Real()->globalLock(handle) : nullptr};
}

std::string DescribeBlock(MemoryHandle handle) {
    Blocks &blocks = TheBlocks();
    const Lock lock(blocks.mutex);
    const auto found = blocks.live.find(handle);
    if (found != blocks.live.end())
        return "block " + std::to_string(found->second.number) + " of " +
               std::to_string(found->second.bytes) + " bytes";
    if (handle == 0)
        return "0";
    return blocks.ended.contains(handle) ? "ended block" : "unknown handle";
}

bool IsBlock(MemoryHandle handle) {
    const Lock lock(TheBlocks().mutex);
    return TheBlocks().live.contains(handle);
}

uint32_t BlockBytes(MemoryHandle handle) {
    const Lock lock(TheBlocks().mutex);
    const auto found = TheBlocks().live.find(handle);
    return found == TheBlocks().live.end() ? 0 : found->second.bytes;
}

void RequireBlock(Call &call, const char *what, MemoryHandle handle) {
    if (handle == 0 || IsBlock(handle))
        return;
    const std::string handleIs = std::string("the handle of ") + what + " is ";
    if (call.Passes() && IsBlockInUse(handle))
        call.Danger(Rule::kBlockInUse, handleIs + "that of memory output in the making");
    else if (HasEnded(handle))
        call.Danger(Rule::kBlockHandle, handleIs + "that of a block that has ended");
    else
        call.Danger(Rule::kBlockOrigin, handleIs + DescribeStranger(handle));
}

void ReportBlocksLeft() {
    for (const auto &[handle, block] : TheBlocks().live)
        MistakeOutsideCalls(Rule::kUnload, DescribeBlock(handle) + " was never freed");
}

MemoryHandle CheckedAlloc(uint32_t flags, uint32_t size) {
    Call call("GlobalAlloc", CallKind::kMemory,
              {{"flags", AllocationFlagsName(flags)}, {"size", size}});
    CheckFlags(call, flags);
    return Made(call, call.Passes() ? Real()->globalAlloc(flags, size) : 0);
}

void *CheckedLock(MemoryHandle handle) {
    Call call("GlobalLock", CallKind::kMemory, {{"handle", DescribeBlock(handle)}});
    RequireBlock(call, "the block", handle);
    void *data = call.Passes() ? Real()->globalLock(handle) : nullptr;
    call.Tell("data", data != nullptr);
    return data;
}

int32_t CheckedUnlock(MemoryHandle handle) {
    Call call("GlobalUnlock", CallKind::kMemory, {{"handle", DescribeBlock(handle)}});
    RequireBlock(call, "the block", handle);
    const int32_t result = call.Passes() ? Real()->globalUnlock(handle) : 0;
    call.Tell("result", result);
    return result;
}

int32_t CheckedFree(MemoryHandle handle) {
    Call call("GlobalFree", CallKind::kMemory, {{"handle", DescribeBlock(handle)}});
    RequireBlockToEnd(call, handle);
    int32_t result = 0;
    if (call.Passes()) {
        EndBlock(handle);
        result = Real()->globalFree(handle);
    }
    call.Tell("result", result);
    return result;
}

MemoryHandle CheckedReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags) {
    Call call(
        "GlobalReAlloc", CallKind::kMemory,
        {{"handle", DescribeBlock(handle)}, {"size", size}, {"flags", AllocationFlagsName(flags)}});
    CheckFlags(call, flags);
    RequireBlockToEnd(call, handle);
    if (!call.Passes())
        return 0;
    EndBlock(handle);
    return Made(call, Real()->globalReAlloc(handle, size, flags));
}

uint32_t CheckedSize(MemoryHandle handle) {
    Call call("GlobalSize", CallKind::kMemory, {{"handle", DescribeBlock(handle)}});
    RequireBlock(call, "the block", handle);
    const uint32_t size = call.Passes() ? Real()->globalSize(handle) : 0;
    call.Tell("bytes", size);
    return size;
}

MemoryHandle CheckedHandle(const void *data) {
    const bool known = BlockAt(data) != 0;
    Call call("GlobalHandle", CallKind::kMemory, {{"data", data != nullptr}});
    if (data != nullptr && !known)
        call.Danger(Rule::kBlockAddress, "no block has its data there");
    const MemoryHandle handle = call.Passes() ? Real()->globalHandle(data) : 0;
    call.Tell("handle", DescribeBlock(handle));
    return handle;
}

MemoryHandle CheckedPointerToHandle(void *data, uint32_t size) {
    Call call("GlobalPointerToHandle", CallKind::kMemory,
              {{"data", data != nullptr}, {"size", size}});
    return Made(call, call.Passes() ? Real()->globalPointerToHandle(data, size) : 0,
                BlockKind::kWrapped);
}

uint32_t CheckedCompact(uint32_t request) {
    Call call("GlobalCompact", CallKind::kMemory, {{"request", request}});
    const uint32_t bytes = call.Passes() ? Real()->globalCompact(request) : 0;
    call.Tell("bytes", bytes);
    return bytes;
}

} // namespace kowen::check
