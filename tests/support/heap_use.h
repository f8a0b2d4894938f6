// Bytes that the process has taken from the heap, to see whether repeated work gives all back.
#pragma once

#include <cstddef>

#include <gtest/gtest.h>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
#include <malloc.h>
#if __GLIBC_PREREQ(2, 33)
#define KOWEN_TEST_COUNTS_HEAP 1
#endif
#endif

/// 0 where the heap cannot be asked; the address sanitizer finds leaks there.
inline size_t HeapBytesInUse() {
#ifdef KOWEN_TEST_COUNTS_HEAP
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#else
    return 0;
#endif
}

/// Fails the current test if repeating the work leaves memory behind: even the smallest block left
/// each time exceeds what the heap's own caches may differ by.
template <typename Work> void ExpectNothingLeaks(Work work) {
    constexpr int kRounds = 30;
    constexpr size_t kSmallestBlock = 16;
    for (int i = 0; i < kRounds; ++i) // fills the heap's caches
        work();
    const size_t before = HeapBytesInUse();
    for (int i = 0; i < kRounds; ++i)
        work();
    EXPECT_LT(HeapBytesInUse(), before + kRounds * kSmallestBlock);
}
