#include "jpeg/compress_env.h"

#include "platform/global_memory.h"
#include "support/failing_memory.h"
#include "support/heap_use.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

CompressEnv Initialised(const PictureFormat &format, uint32_t width, uint32_t height) {
    CompressEnv env = {};
    env.pendingByte = 7;
    env.bitMask = 3;
    env.dcPredictor[2] = 9;
    InitCompressEnvFor(&env, format, width, height);
    return env;
}

TEST(InitCompressEnvFor, SubsampledChromaHasMcusOfSixteenByEight) {
    const CompressEnv env = Initialised(
        {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 3}, 17, 9);
    EXPECT_EQ(env.colorFormat, 212);
    EXPECT_EQ(env.operation, 245);
    EXPECT_EQ(env.maxH, 2);
    EXPECT_EQ(env.maxV, 1);
    EXPECT_EQ(env.componentCount, 3u);
    EXPECT_EQ(env.imageWidth, 17u);
    EXPECT_EQ(env.imageHeight, 9u);
    EXPECT_EQ(env.paddedWidth, 32u);
    EXPECT_EQ(env.paddedHeight, 16u);
    EXPECT_EQ(env.mcusAcross, 2);
    EXPECT_EQ(env.mcusDown, 2);
    const uint8_t h[] = {2, 1, 1};
    const uint32_t across[] = {3, 6, 6};
    for (int i = 0; i < kComponents; ++i) {
        EXPECT_EQ(env.sampling[i].h, h[i]);
        EXPECT_EQ(env.sampling[i].v, 1);
        EXPECT_EQ(env.stepAcross[i], across[i]);
        EXPECT_EQ(env.stepDown[i], 1u);
        EXPECT_EQ(env.blocksAcross[i], h[i]);
        EXPECT_EQ(env.blocksDown[i], 1u);
    }
}

TEST(InitCompressEnvFor, FullSizeFormatsHaveMcusOfEightByEight) {
    for (const int32_t colorFormat : {KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
        const uint8_t components = colorFormat == KOWEN_FORMAT_RGB444 ? 3 : 1;
        const CompressEnv env =
            Initialised({colorFormat, colorFormat, KOWEN_OPERATION_PROGRESSIVE, components}, 17, 9);
        EXPECT_EQ(env.operation, 246);
        EXPECT_EQ(env.maxH, 1);
        EXPECT_EQ(env.maxV, 1);
        EXPECT_EQ(env.componentCount, components);
        EXPECT_EQ(env.paddedWidth, 24u);
        EXPECT_EQ(env.paddedHeight, 16u);
        EXPECT_EQ(env.mcusAcross, 3);
        EXPECT_EQ(env.mcusDown, 2);
        for (int i = 0; i < kComponents; ++i) {
            EXPECT_EQ(env.sampling[i].h, 1);
            EXPECT_EQ(env.stepAcross[i], 3u);
            EXPECT_EQ(env.blocksAcross[i], 1u);
        }
    }
}

TEST(InitCompressEnvFor, BitWriterAndPredictorsStartEmpty) {
    const CompressEnv env = Initialised(
        {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 3}, 16, 8);
    EXPECT_EQ(env.pendingByte, 0);
    EXPECT_EQ(env.bitMask, 128);
    for (const int16_t predictor : env.dcPredictor)
        EXPECT_EQ(predictor, 0);
}

TEST(InitCompressEnvFor, SamplingAndPaddingMayFollowTwoFormats) {
    const CompressEnv env = Initialised(
        {KOWEN_FORMAT_RGB444, KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 3}, 17, 9);
    EXPECT_EQ(env.colorFormat, 222);
    EXPECT_EQ(env.maxH, 2);
    EXPECT_EQ(env.sampling[0].h, 2);
    EXPECT_EQ(env.paddedWidth, 24u);
    EXPECT_EQ(env.mcusAcross, 1); // 24 / 8 / 2
}

TEST(FindWidthHeightMCU, RoundsUpToWholeMcus) {
    uint32_t width = 0;
    uint32_t height = 0;
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 17, 9, KOWEN_FORMAT_YCC422), 0);
    EXPECT_EQ(width, 32u);
    EXPECT_EQ(height, 16u);
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 17, 9, KOWEN_FORMAT_RGB444), 0);
    EXPECT_EQ(width, 24u);
    EXPECT_EQ(height, 16u);
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 17, 9, KOWEN_FORMAT_GREY), 0);
    EXPECT_EQ(width, 24u);
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 16, 8, KOWEN_FORMAT_YCC422), 0);
    EXPECT_EQ(width, 16u);
    EXPECT_EQ(height, 8u);
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 1, 1, KOWEN_FORMAT_YCC422), 0);
    EXPECT_EQ(width, 16u);
    EXPECT_EQ(height, 8u);
}

TEST(FindWidthHeightMCU, OtherColorFormatsFailAndTouchNothing) {
    for (const int32_t colorFormat : {0, 1, 3, 213, 216, 221, -212}) {
        uint32_t width = 111;
        uint32_t height = 222;
        EXPECT_EQ(FindWidthHeightMCU(&width, &height, 17, 9, colorFormat), -1);
        EXPECT_EQ(width, 111u);
        EXPECT_EQ(height, 222u);
    }
}

TEST(FindWidthHeightMCU, SizesThatRoundOutOf32BitsFailAndTouchNothing) {
    uint32_t width = 111;
    uint32_t height = 222;
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 0xFFFFFFF1, 8, KOWEN_FORMAT_YCC422), -1);
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 8, 0xFFFFFFF9, KOWEN_FORMAT_RGB444), -1);
    EXPECT_EQ(width, 111u);
    EXPECT_EQ(height, 222u);
    EXPECT_EQ(FindWidthHeightMCU(&width, &height, 0xFFFFFFF0, 0xFFFFFFF8, KOWEN_FORMAT_YCC422), 0);
    EXPECT_EQ(width, 0xFFFFFFF0u);
    EXPECT_EQ(height, 0xFFFFFFF8u);
}

constexpr uint32_t kEntries[kHuffmanTables] = {13, 13, 257, 257, 4096, 4096};

TEST(AllocMem, MakesSixLockedTables) {
    MemoryHandle handles[kHuffmanTables] = {};
    HuffmanEntry *tables[kHuffmanTables] = {};
    EXPECT_EQ(AllocMem(handles, tables), 0);
    for (int i = 0; i < kHuffmanTables; ++i) {
        ASSERT_NE(handles[i], 0u);
        EXPECT_EQ(tables[i], GlobalLock(handles[i]));
        EXPECT_GE(GlobalSize(handles[i]), kEntries[i] * sizeof(HuffmanEntry));
        EXPECT_EQ(tables[i][kEntries[i] - 1].length, 0);
        GlobalFree(handles[i]);
    }
}

TEST(AllocMem, AnyFailureFreesTheOthersAndClearsEveryPlace) {
    int failures = 0;
    for (int k = 1;; ++k) {
        MemoryHandle handles[kHuffmanTables] = {1, 2, 3, 4, 5, 6};
        HuffmanEntry stale = {};
        HuffmanEntry *tables[kHuffmanTables] = {&stale, &stale, &stale, &stale, &stale, &stale};
        const FailingMemory memory(k);
        const int32_t result = AllocMem(handles, tables);
        if (!memory.Failed()) {
            for (const MemoryHandle handle : handles)
                GlobalFree(handle);
            break;
        }
        ++failures;
        EXPECT_EQ(result, -1) << k;
        for (int i = 0; i < kHuffmanTables; ++i) {
            EXPECT_EQ(handles[i], 0u) << k << ": " << i;
            EXPECT_EQ(tables[i], nullptr) << k << ": " << i;
        }
    }
    EXPECT_EQ(failures, kHuffmanTables);
}

TEST(AllocMem, FailureLeaksNothing) {
    ExpectNothingLeaks([] {
        MemoryHandle handles[kHuffmanTables] = {};
        HuffmanEntry *tables[kHuffmanTables] = {};
        const FailingMemory memory(kHuffmanTables);
        AllocMem(handles, tables);
    });
}

TEST(FreeCompressEnv, FreesTheTablesTheBandBufferAndItself) {
    ExpectNothingLeaks([] {
        const MemoryHandle handle = GlobalAlloc(kGlobalFlags, sizeof(CompressEnv));
        auto *env = Lock<CompressEnv>(handle);
        AllocMem(env->huffmanHandle, env->huffmanTable);
        env->outputHandle = GlobalAlloc(kGlobalFlags, 1000);
        FreeCompressEnv(handle);
    });
}

TEST(FreeCompressEnv, OfHandleZeroFreesNothing) {
    const MemoryHandle handle = GlobalAlloc(kGlobalFlags, sizeof(CompressEnv));
    auto *env = Lock<CompressEnv>(handle);
    AllocMem(env->huffmanHandle, env->huffmanTable);
    const MemoryHandle table = env->huffmanHandle[0];
    const uint32_t bytes = GlobalSize(table);
    FreeCompressEnv(0);
    EXPECT_EQ(GlobalSize(handle), sizeof(CompressEnv));
    EXPECT_EQ(GlobalSize(table), bytes);
    FreeCompressEnv(handle);
}

} // namespace
} // namespace kowen
