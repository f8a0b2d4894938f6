#include "platform/global_memory.h"

#include "support/failing_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kowen {
namespace {

// The layout is spelled out by hand here: header of 20 or 32 bytes, size first.
constexpr bool k64Bit = sizeof(void *) == 8;
constexpr uint32_t kHeaderBytes = k64Bit ? 32 : 20;
constexpr uint32_t kOffsetOfData = k64Bit ? 16 : 12;
constexpr uint32_t kOffsetOfDataOffset = k64Bit ? 24 : 16;

const unsigned char *Bytes(MemoryHandle handle) {
    return reinterpret_cast<const unsigned char *>(handle);
}

uint32_t Word(MemoryHandle handle, uint32_t offset) {
    uint32_t word;
    std::memcpy(&word, Bytes(handle) + offset, sizeof word);
    return word;
}

unsigned char *FillBlock(MemoryHandle handle, uint32_t count) {
    auto *data = Lock<unsigned char>(handle);
    for (uint32_t i = 0; i < count; ++i)
        data[i] = static_cast<unsigned char>(i * 7 + 1);
    return data;
}

testing::AssertionResult HoldsFill(const unsigned char *data, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (data[i] != static_cast<unsigned char>(i * 7 + 1))
            return testing::AssertionFailure() << "byte " << i << " is " << int{data[i]};
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult IsZero(const unsigned char *data, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        if (data[i] != 0)
            return testing::AssertionFailure() << "byte " << i << " is " << int{data[i]};
    }
    return testing::AssertionSuccess();
}

TEST(GlobalAlloc, SizeZeroGivesAValidAlignedBlock) {
    const MemoryHandle handle = GlobalAlloc(66, 0);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(GlobalSize(handle), 0u);
    void *data = GlobalLock(handle);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % 8, 0u);
    EXPECT_EQ(GlobalHandle(data), handle);
    EXPECT_EQ(GlobalFree(handle), 0);
}

TEST(GlobalAlloc, WritesTheHeaderFields) {
    const MemoryHandle handle = GlobalAlloc(0x12345678, 13);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(Word(handle, 0), 13u);
    EXPECT_EQ(Word(handle, 4), 0x12345678u);
    EXPECT_EQ(Word(handle, 8), 0u);
    uintptr_t data;
    std::memcpy(&data, Bytes(handle) + kOffsetOfData, sizeof data);
    const unsigned char offset = Bytes(handle)[kOffsetOfDataOffset];
    EXPECT_GE(offset, kHeaderBytes);
    EXPECT_LE(offset, kHeaderBytes + 7);
    EXPECT_EQ(data, handle + offset);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(GlobalLock(handle)), data);
    GlobalFree(handle);
}

TEST(GlobalAlloc, DataIsZeroFilledWhateverTheFlagsSay) {
    for (uint32_t flags : {0u, 66u, 0xFFFFFFFFu}) {
        // Used memory comes back from the heap, so that an allocator that does not clear shows.
        const MemoryHandle dirty = GlobalAlloc(66, 4000);
        std::memset(GlobalLock(dirty), 0xAB, 4000);
        GlobalFree(dirty);
        const MemoryHandle handle = GlobalAlloc(flags, 4000);
        EXPECT_TRUE(IsZero(Lock<unsigned char>(handle), 4000));
        GlobalFree(handle);
    }
}

TEST(GlobalAlloc, RoundsTheBlockAsDocumented) {
    // 32-bit: (13 + 34) & ~7 = 40, of which 20 is header. 64-bit: (13 + 46) & ~7 = 56.
    EXPECT_EQ(GlobalBlockBytes(13), k64Bit ? 56u : 40u);
    // 14 + 34 = 48; 14 + 46 = 60 & ~7 = 56.
    EXPECT_EQ(GlobalBlockBytes(14), k64Bit ? 56u : 48u);
    EXPECT_EQ(GlobalBlockBytes(0), k64Bit ? 40u : 32u);
    EXPECT_EQ(GlobalBlockBytes(2), k64Bit ? 48u : 32u);
    // A full 32 bits more; nothing wraps.
    EXPECT_EQ(GlobalBlockBytes(0xFFFFFFFFu), k64Bit ? 0x100000028u : 0x100000020u);
}

#ifdef __GLIBC__
// The heap rounds a request up to a word less than a multiple of 16, so that 48 bytes show one that
// is too small, 56 and 100040 one that is too large.
TEST(GlobalAlloc, AsksTheHeapForJustTheBlock) {
    constexpr std::size_t kHeapRounding = k64Bit ? 8 : 12;
    const std::vector<std::pair<uint32_t, std::size_t>> blocks = {
        {k64Bit ? 2 : 14, 48}, {k64Bit ? 13 : 22, 56}, {k64Bit ? 99994 : 100006, 100040}};
    for (const auto &[size, bytes] : blocks) {
        const MemoryHandle handle = GlobalAlloc(kGlobalFlags, size);
        const std::size_t asked = malloc_usable_size(reinterpret_cast<void *>(handle));
        EXPECT_GE(asked, bytes) << size;
        EXPECT_LE(asked, bytes + kHeapRounding) << size;
        const MemoryHandle grown = GlobalReAlloc(handle, size + 16, kGlobalFlags);
        const std::size_t again = malloc_usable_size(reinterpret_cast<void *>(grown));
        EXPECT_GE(again, bytes + 16) << size;
        EXPECT_LE(again, bytes + 16 + kHeapRounding) << size;
        GlobalFree(grown);
    }
}

TEST(GlobalPointerToHandle, AsksTheHeapForAHeaderAndAByte) {
    char foreign[4];
    const MemoryHandle handle = GlobalPointerToHandle(foreign, sizeof foreign);
    const std::size_t asked = malloc_usable_size(reinterpret_cast<void *>(handle));
    EXPECT_GE(asked, kHeaderBytes + 1u);
    EXPECT_LE(asked, kHeaderBytes + 12u);
    GlobalFree(handle);
}
#endif

TEST(GlobalAlloc, LeavesRoomForEveryPadding) {
    for (uint32_t size = 0; size < 64; ++size) {
        for (uintptr_t start = 4096; start < 4104; ++start) {
            const uint32_t offset = kHeaderBytes + GlobalPadding(start);
            EXPECT_EQ((start + offset) % 8, 0u);
            EXPECT_LE(offset + size, GlobalBlockBytes(size)) << "size " << size;
        }
    }
}

TEST(GlobalAlloc, ASizeWhoseBlockPasses32BitsFailsWithTheMessage) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(GlobalAlloc(66, 0xFFFFFFFFu), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              k64Bit ? "GloalAlloc function failed due to insufficient memory: needs 4294967336 "
                       "bytes memory!!\n"
                     : "GloalAlloc function failed due to insufficient memory: needs 4294967328 "
                       "bytes memory!!\n");
}

TEST(GlobalAlloc, TheFirstSizeThatDoesNotFitFails) {
    // 0x100000000 is the first rounded size that does not fit.
    const uint32_t first = k64Bit ? 0xFFFFFFD2u : 0xFFFFFFDEu;
    EXPECT_EQ(GlobalBlockBytes(first), 0x100000000u);
    EXPECT_EQ(GlobalBlockBytes(first - 1), 0xFFFFFFF8u);
    bool asked = false;
    static bool *askedFlag;
    askedFlag = &asked;
    allocationGate = [](uint64_t) noexcept {
        *askedFlag = true;
        return false;
    };
    EXPECT_EQ(GlobalAlloc(66, first), 0u);
    EXPECT_FALSE(asked); // refused before the heap comes in
    EXPECT_EQ(GlobalAlloc(66, first - 1), 0u);
    EXPECT_TRUE(asked);
    allocationGate = nullptr;
}

TEST(GlobalAlloc, AnExhaustedHeapGivesTheMessageOnce) {
    FailingMemory memory(1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GlobalAlloc(66, 13), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              k64Bit ? "GloalAlloc function failed due to insufficient memory: needs 56 bytes "
                       "memory!!\n"
                     : "GloalAlloc function failed due to insufficient memory: needs 40 bytes "
                       "memory!!\n");
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(memory.Calls(), 1);
}

TEST(GlobalLock, HandleZeroGivesNull) {
    EXPECT_EQ(GlobalLock(0), nullptr);
}

TEST(GlobalLock, LockingAndUnlockingCountNothing) {
    const MemoryHandle handle = GlobalAlloc(66, 5);
    void *data = GlobalLock(handle);
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(GlobalLock(handle), data);
    EXPECT_EQ(GlobalUnlock(handle), 0);
    EXPECT_EQ(GlobalUnlock(handle), 0);
    EXPECT_EQ(GlobalUnlock(0), 0);
    EXPECT_EQ(GlobalLock(handle), data);
    GlobalFree(handle);
}

TEST(GlobalLock, WritesTheOffsetByteAndNotTheAllocation) {
    const MemoryHandle handle = GlobalAlloc(66, 8);
    const uint32_t offset = Bytes(handle)[kOffsetOfDataOffset];
    EXPECT_EQ(Bytes(handle)[offset - 1], 0);
    const auto *data = Lock<unsigned char>(handle);
    EXPECT_EQ(data[-1], offset);
    EXPECT_EQ(Bytes(handle) + offset, data);
    GlobalFree(handle);
}

TEST(GlobalHandle, FindsTheBlockForAnyPadding) {
    // A block made by hand at each start: no heap hands out all of them.
    alignas(8) unsigned char memory[96];
    for (uint32_t start = 0; start < 8; ++start) {
        std::memset(memory, 0xEE, sizeof memory);
        unsigned char *block = memory + start;
        const uint32_t padding = (8 - (start + kHeaderBytes) % 8) % 8;
        EXPECT_EQ(GlobalPadding(reinterpret_cast<uintptr_t>(block)), padding);
        unsigned char *data = block + kHeaderBytes + padding;
        const uint32_t size = 3;
        std::memcpy(block, &size, sizeof size);
        std::memcpy(block + kOffsetOfData, &data, sizeof data);
        block[kOffsetOfDataOffset] = static_cast<unsigned char>(kHeaderBytes + padding);
        const auto handle = reinterpret_cast<MemoryHandle>(block);
        EXPECT_EQ(GlobalLock(handle), data) << "start " << start;
        EXPECT_EQ(GlobalHandle(data), handle) << "start " << start;
        EXPECT_EQ(qivPtrGlobalHandle(data), handle);
        EXPECT_EQ(GlobalSize(handle), 3u);
    }
}

TEST(GlobalHandle, NullGivesZero) {
    EXPECT_EQ(GlobalHandle(nullptr), 0u);
    EXPECT_EQ(qivPtrGlobalHandle(nullptr), 0u);
}

TEST(GlobalSize, IsTheRequestedSize) {
    for (uint32_t size : {0u, 1u, 13u, 40u, 65537u}) {
        const MemoryHandle handle = GlobalAlloc(66, size);
        EXPECT_EQ(GlobalSize(handle), size);
        GlobalFree(handle);
    }
    EXPECT_EQ(GlobalSize(0), 0u);
}

TEST(GlobalFree, HandleZeroIsIgnored) {
    EXPECT_EQ(GlobalFree(0), 0);
}

TEST(GlobalReAlloc, ShrinkingKeepsTheFirstBytes) {
    MemoryHandle handle = GlobalAlloc(66, 100);
    FillBlock(handle, 100);
    handle = GlobalReAlloc(handle, 10, 67);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(GlobalSize(handle), 10u);
    EXPECT_EQ(Word(handle, 4), 67u);
    EXPECT_TRUE(HoldsFill(Lock<unsigned char>(handle), 10));
    GlobalFree(handle);
}

TEST(GlobalReAlloc, GrowingKeepsTheBytesAndZeroesTheRest) {
    for (uint32_t from : {0u, 1u, 7u, 8u, 100u}) {
        for (uint32_t to : {from + 1, from + 3, from + 500, 300000u}) {
            MemoryHandle handle = GlobalAlloc(66, from);
            FillBlock(handle, from);
            handle = GlobalReAlloc(handle, to, 66);
            ASSERT_NE(handle, 0u);
            EXPECT_EQ(GlobalSize(handle), to);
            auto *data = Lock<unsigned char>(handle);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % 8, 0u);
            EXPECT_TRUE(HoldsFill(data, from));
            EXPECT_TRUE(IsZero(data + from, to - from));
            EXPECT_EQ(GlobalHandle(data), handle);
            GlobalFree(handle);
        }
    }
}

TEST(GlobalReAlloc, WhatWasCutOffDoesNotComeBack) {
    MemoryHandle handle = GlobalAlloc(66, 100);
    FillBlock(handle, 100);
    handle = GlobalReAlloc(handle, 10, 66);
    handle = GlobalReAlloc(handle, 100, 66);
    auto *data = Lock<unsigned char>(handle);
    EXPECT_TRUE(HoldsFill(data, 10));
    EXPECT_TRUE(IsZero(data + 10, 90));
    GlobalFree(handle);
}

TEST(GlobalReAlloc, GrowingInManyStepsKeepsEverything) {
    MemoryHandle handle = GlobalAlloc(66, 1);
    Lock<unsigned char>(handle)[0] = 1;
    for (uint32_t size = 2; size < 70000; size += 1 + size / 16) {
        const uint32_t before = GlobalSize(handle);
        handle = GlobalReAlloc(handle, size, 66);
        ASSERT_NE(handle, 0u);
        auto *data = Lock<unsigned char>(handle);
        ASSERT_TRUE(HoldsFill(data, before));
        ASSERT_TRUE(IsZero(data + before, size - before));
        FillBlock(handle, size);
    }
    GlobalFree(handle);
}

TEST(GlobalReAlloc, FailureLosesTheOldBlock) {
    // The leak checker of the sanitizer build sees whether the old block was freed.
    const MemoryHandle handle = GlobalAlloc(66, 100);
    FailingMemory memory(1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GlobalReAlloc(handle, 13, 66), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              k64Bit ? "GloalAlloc function failed due to insufficient memory: needs 56 bytes "
                       "memory!!\n"
                     : "GloalAlloc function failed due to insufficient memory: needs 40 bytes "
                       "memory!!\n");
}

TEST(GlobalReAlloc, AnImpossibleSizeLosesTheOldBlock) {
    const MemoryHandle handle = GlobalAlloc(66, 100);
    EXPECT_EQ(GlobalReAlloc(handle, 0xFFFFFFFFu, 66), 0u);
}

// Lays out a block by hand as a heap would have left it at from, moves its bytes to to.
testing::AssertionResult DataFollows(uint32_t from, uint32_t to, uint32_t oldSize,
                                     uint32_t newSize) {
    alignas(8) unsigned char memory[400];
    std::memset(memory, 0xEE, sizeof memory);
    unsigned char *block = memory + to;
    const auto oldOffset = static_cast<uint8_t>(kHeaderBytes + (8 - (from + kHeaderBytes) % 8) % 8);
    for (uint32_t i = 0; i < oldSize; ++i)
        block[oldOffset + i] = static_cast<unsigned char>(i * 7 + 1);
    // The heap has cut or stretched it to the new size already.
    unsigned char *end = block + GlobalBlockBytes(newSize);
    std::memset(end, 0xEE, static_cast<std::size_t>(memory + sizeof memory - end));
    const GlobalHeader old = {oldSize, 66, 0, nullptr, oldOffset};
    const MemoryHandle handle = RelayGlobalBlock(block, old, 67, newSize);
    auto *data = Lock<unsigned char>(handle);
    const uint32_t kept = std::min(oldSize, newSize);
    if (handle != reinterpret_cast<MemoryHandle>(block) || GlobalHandle(data) != handle)
        return testing::AssertionFailure() << "wrong handle";
    if (reinterpret_cast<uintptr_t>(data) % 8 != 0 || GlobalSize(handle) != newSize)
        return testing::AssertionFailure() << "wrong layout";
    if (*end != 0xEE)
        return testing::AssertionFailure() << "written behind the block";
    const testing::AssertionResult zero = IsZero(data + kept, newSize - kept);
    return zero ? HoldsFill(data, kept) : zero;
}

TEST(GlobalReAlloc, DataFollowsABlockOfAnotherAlignment) {
    for (uint32_t from = 0; from < 8; ++from) {
        for (uint32_t to = 0; to < 8; ++to) {
            for (uint32_t size : {0u, 39u, 40u, 41u, 47u, 200u})
                EXPECT_TRUE(DataFollows(from, to, 40, size)) << from << " " << to << " " << size;
        }
    }
}

// Only the header says how large the wrapped memory is.
TEST(GlobalReAlloc, ABlockOfTwoGibibytesIsNotTakenForTheSmaller) {
    char bytes[8] = {'1', '2', '3', '4', '5', '6', '7', '8'};
    const MemoryHandle handle = GlobalReAlloc(GlobalPointerToHandle(bytes, 0x80000000u), 4, 66);
    ASSERT_NE(handle, MemoryHandle{0});
    EXPECT_EQ(std::string(Lock<char>(handle), 4), "1234");
    EXPECT_EQ(GlobalSize(handle), 4u);
    GlobalFree(handle);
}

TEST(GlobalReAlloc, HandleZeroGivesZero) {
    FailingMemory counter(0);
    EXPECT_EQ(GlobalReAlloc(0, 10, 66), 0u);
    EXPECT_EQ(counter.Calls(), 0);
}

TEST(GlobalReAlloc, WrappedMemoryIsCopiedAndStays) {
    unsigned char memory[4] = {9, 8, 7, 6};
    const MemoryHandle grown = GlobalReAlloc(GlobalPointerToHandle(memory, 4), 6, 66);
    ASSERT_NE(grown, 0u);
    auto *data = Lock<unsigned char>(grown);
    EXPECT_NE(data, memory);
    EXPECT_EQ(GlobalSize(grown), 6u);
    const unsigned char expected[6] = {9, 8, 7, 6, 0, 0};
    EXPECT_EQ(std::memcmp(data, expected, 6), 0);
    data[0] = 1;
    EXPECT_EQ(memory[0], 9);
    GlobalFree(grown);

    const MemoryHandle cut = GlobalReAlloc(GlobalPointerToHandle(memory, 4), 1, 66);
    EXPECT_EQ(Lock<unsigned char>(cut)[0], 9);
    EXPECT_EQ(GlobalSize(cut), 1u);
    GlobalFree(cut);
}

TEST(GlobalReAlloc, FailureOnWrappedMemoryFreesTheWrapperOnly) {
    unsigned char memory[4] = {9, 8, 7, 6};
    const MemoryHandle wrapper = GlobalPointerToHandle(memory, 4);
    FailingMemory failing(1);
    EXPECT_EQ(GlobalReAlloc(wrapper, 6, 66), 0u);
    EXPECT_EQ(memory[3], 6);
}

TEST(GlobalPointerToHandle, WrapsForeignMemory) {
    unsigned char memory[300] = {1, 2, 3};
    const MemoryHandle handle = GlobalPointerToHandle(memory, 300);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(GlobalSize(handle), 300u);
    EXPECT_EQ(Word(handle, 8), 0u);
    EXPECT_EQ(Bytes(handle)[kOffsetOfDataOffset], kHeaderBytes);
    EXPECT_EQ(GlobalLock(handle), memory);
    EXPECT_EQ(GlobalFree(handle), 0);
    EXPECT_EQ(memory[2], 3); // freeing the handle leaves the memory
}

TEST(GlobalPointerToHandle, LockingNeverWritesTheForeignMemory) {
    // One block holds the header's neighbours at every small distance, before and after.
    std::vector<unsigned char> memory(600, 0x5A);
    for (unsigned char *data = memory.data(); data < memory.data() + 600; data += 37) {
        const MemoryHandle handle = GlobalPointerToHandle(data, 1);
        EXPECT_EQ(GlobalLock(handle), data);
        EXPECT_EQ(GlobalLock(handle), data);
        GlobalFree(handle);
    }
    EXPECT_EQ(memory, std::vector<unsigned char>(600, 0x5A));
}

TEST(GlobalPointerToHandle, LockingNotesADistanceOfOneByteInTheHeader) {
    alignas(8) unsigned char memory[400] = {};
    const auto handle = reinterpret_cast<MemoryHandle>(memory);
    memory[kOffsetOfDataOffset] = kHeaderBytes; // as of wrapped memory
    for (const std::ptrdiff_t distance : {100, 255, 256, 300, -1}) {
        unsigned char *data = memory + distance;
        std::memcpy(memory + kOffsetOfData, &data, sizeof data);
        memory[kHeaderBytes - 1] = 0x5A;
        EXPECT_EQ(GlobalLock(handle), data);
        // Signed: memory in front of the header counts as near.
        const int noted = distance <= 255 ? static_cast<int>(distance) & 0xFF : 0x5A;
        EXPECT_EQ(memory[kHeaderBytes - 1], noted) << distance;
    }
}

TEST(GlobalPointerToHandle, AnExhaustedHeapGivesZeroWithoutAMessage) {
    unsigned char memory[1];
    FailingMemory failing(1);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GlobalPointerToHandle(memory, 1), 0u);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(GlobalCompact, AnswersTheRequestOr64K) {
    EXPECT_EQ(GlobalCompact(0), 65536u);
    EXPECT_EQ(GlobalCompact(500), 500u);
    EXPECT_EQ(GlobalCompact(0xFFFFFFFFu), 0xFFFFFFFFu);
}

TEST(QivPtrGlobalAlloc, SizeZeroAllocatesNothing) {
    FailingMemory counter(0);
    EXPECT_EQ(qivPtrGlobalAlloc(0), nullptr);
    EXPECT_EQ(counter.Calls(), 0);
}

TEST(QivPtrGlobalAlloc, GivesALockedBlockWithTheUsualFlags) {
    void *data = qivPtrGlobalAlloc(13);
    ASSERT_NE(data, nullptr);
    const MemoryHandle handle = qivPtrGlobalHandle(data);
    EXPECT_EQ(GlobalSize(handle), 13u);
    EXPECT_EQ(Word(handle, 4), 66u);
    EXPECT_EQ(GlobalLock(handle), data);
    EXPECT_EQ(qivPtrGlobalFree(data), 0);
}

TEST(QivPtrGlobalAlloc, AnExhaustedHeapGivesNull) {
    FailingMemory failing(1);
    EXPECT_EQ(qivPtrGlobalAlloc(13), nullptr);
}

TEST(QivPtrGlobalFree, NullIsIgnored) {
    EXPECT_EQ(qivPtrGlobalFree(nullptr), 0);
}

TEST(QivPtrGlobalReAlloc, NullAllocatesWithTheUsualFlags) {
    void *data = qivPtrGlobalReAlloc(nullptr, 20, 1);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(GlobalSize(qivPtrGlobalHandle(data)), 20u);
    EXPECT_EQ(Word(qivPtrGlobalHandle(data), 4), 66u);
    qivPtrGlobalFree(data);
    EXPECT_EQ(qivPtrGlobalReAlloc(nullptr, 0, 1), nullptr);
}

TEST(QivPtrGlobalReAlloc, SizeZeroFreesTheBlock) {
    void *data = qivPtrGlobalAlloc(20); // the leak checker sees whether it was freed
    EXPECT_EQ(qivPtrGlobalReAlloc(data, 0, 66), nullptr);
}

TEST(QivPtrGlobalReAlloc, ResizesALockedBlockAgainAndAgain) {
    auto *data = static_cast<unsigned char *>(qivPtrGlobalAlloc(2));
    data[0] = 5;
    data[1] = 6;
    data = static_cast<unsigned char *>(qivPtrGlobalReAlloc(data, 2000, 7));
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data[1], 6);
    EXPECT_EQ(data[1999], 0);
    EXPECT_EQ(Word(qivPtrGlobalHandle(data), 4), 7u);
    data = static_cast<unsigned char *>(qivPtrGlobalReAlloc(data, 1, 7));
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data[0], 5);
    EXPECT_EQ(GlobalSize(qivPtrGlobalHandle(data)), 1u);
    qivPtrGlobalFree(data);
}

TEST(QivPtrGlobalReAlloc, FailureGivesNullAndLosesTheBlock) {
    void *data = qivPtrGlobalAlloc(20);
    FailingMemory failing(1);
    EXPECT_EQ(qivPtrGlobalReAlloc(data, 30, 66), nullptr);
}

TEST(FailingMemory, RefusesThatAllocationOrAllFromThereOn) {
    {
        FailingMemory memory(2);
        const MemoryHandle first = GlobalAlloc(66, 1);
        EXPECT_NE(first, 0u);
        EXPECT_FALSE(memory.Failed());
        EXPECT_EQ(GlobalAlloc(66, 1), 0u);
        EXPECT_TRUE(memory.Failed());
        const MemoryHandle third = GlobalAlloc(66, 1);
        EXPECT_NE(third, 0u);
        EXPECT_EQ(memory.Calls(), 3);
        GlobalFree(first);
        GlobalFree(third);
    }
    {
        FailingMemory memory(2, FailingMemory::kThatAndAllLater);
        const MemoryHandle first = GlobalAlloc(66, 1);
        EXPECT_EQ(GlobalAlloc(66, 1), 0u);
        EXPECT_EQ(GlobalReAlloc(first, 5, 66), 0u);
    }
    const MemoryHandle after = GlobalAlloc(66, 1);
    EXPECT_NE(after, 0u);
    GlobalFree(after);
}

} // namespace
} // namespace kowen
