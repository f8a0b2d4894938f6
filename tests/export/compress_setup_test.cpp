#include "export/compress_setup.h"

#include "jpeg/compress_env.h"
#include "jpeg/huffman_tables.h"
#include "support/current_setup.h"

#include <gtest/gtest.h>

#include <vector>

namespace kowen {
namespace {

CompressEnv Initialised(int32_t colorFormat, int32_t operation, uint32_t width, uint32_t height) {
    CompressEnv env = {};
    EXPECT_EQ(InitCompressEnv(&env, colorFormat, operation, width, height), 0);
    return env;
}

TEST(InitCompressEnv, SamplingFollowsTheSetupNotTheArgument) {
    {
        const CurrentSetup setup(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL);
        const CompressEnv env = Initialised(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL, 17, 9);
        EXPECT_EQ(env.colorFormat, 222);
        EXPECT_EQ(env.maxH, 2);
        EXPECT_EQ(env.sampling[0].h, 2);
        EXPECT_EQ(env.paddedWidth, 24u); // by the argument
        EXPECT_EQ(env.mcusAcross, 1);    // 24 / 8 / 2
    }
    const CurrentSetup setup(KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL);
    const CompressEnv env = Initialised(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 17, 9);
    EXPECT_EQ(env.maxH, 1);
    EXPECT_EQ(env.sampling[0].h, 1);
    EXPECT_EQ(env.paddedWidth, 32u);
    EXPECT_EQ(env.mcusAcross, 4); // 32 / 8 / 1
}

TEST(InitCompressEnv, ComponentCountIsTheHeaderStates) {
    const CurrentSetup setup(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL);
    setup->header.componentCount = 1;
    EXPECT_EQ(Initialised(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 16, 8).componentCount,
              1u);
}

TEST(InitCompressEnv, WithoutASetupNothingIsSubsampledAndNothingCounted) {
    const CompressEnv env = Initialised(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 17, 9);
    EXPECT_EQ(env.operation, 245);
    EXPECT_EQ(env.maxH, 1);
    EXPECT_EQ(env.componentCount, 0u);
    EXPECT_EQ(env.paddedWidth, 32u);
}

// Six tables; the AC ones tell the operation by the code of symbol 0x10, the first end-of-band run.
struct Tables {
    std::vector<HuffmanEntry> entries[kHuffmanTables];
    HuffmanEntry *pointers[kHuffmanTables];

    Tables() {
        for (int i = 0; i < kHuffmanTables; ++i) {
            entries[i].resize(kDcDifferences);
            pointers[i] = entries[i].data();
        }
    }
    bool HasEndOfBandRuns() const { return entries[kAcLuminance][0x10].length == 16; }
};

TEST(CreateTbls, FollowsTheSetupsOperation) {
    for (const int32_t operation : {245, 246, 0}) {
        const CurrentSetup setup(KOWEN_FORMAT_YCC422, operation);
        Tables tables;
        EXPECT_EQ(CreateTbls(tables.pointers), 0);
        EXPECT_EQ(tables.HasEndOfBandRuns(), operation != KOWEN_OPERATION_SEQUENTIAL) << operation;
    }
}

TEST(CreateTbls, IsSequentialWithoutASetup) {
    Tables tables;
    EXPECT_EQ(CreateTbls(tables.pointers), 0);
    EXPECT_EQ(tables.entries[kAcLuminance][0].length, 4);
    EXPECT_FALSE(tables.HasEndOfBandRuns());
}

} // namespace
} // namespace kowen
