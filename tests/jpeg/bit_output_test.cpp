#include "jpeg/bit_output.h"

#include "jpeg/compress_env.h"
#include "platform/global_memory.h"
#include "reference/jpeg/bits.h"
#include "support/bitmaps.h"
#include "support/failing_memory.h"
#include "support/hex.h"

#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

/// An environment that has nothing but a bit writer and its buffer.
class OutputBitsTest : public testing::Test {
protected:
    OutputBitsTest() { UseBuffer(64); }
    ~OutputBitsTest() override { GlobalFree(env.outputHandle); }

    void UseBuffer(uint32_t capacity) {
        GlobalFree(env.outputHandle);
        env.outputHandle = GlobalAlloc(kGlobalFlags, capacity);
        env.outputBuffer = Lock<uint8_t>(env.outputHandle);
        env.outputCapacity = capacity;
        env.bitMask = 128;
    }
    int32_t Put(uint32_t value, int32_t count) {
        return OutputBits(nullptr, &fill, value, count, &env);
    }
    std::vector<uint8_t> Bytes() const { return {env.outputBuffer, env.outputBuffer + fill}; }

    CompressEnv env = {};
    uint32_t fill = 0;
};

TEST_F(OutputBitsTest, NoBitsChangeNothing) {
    EXPECT_EQ(Put(0xFFFFFFFF, 0), 0);
    EXPECT_EQ(fill, 0u);
    EXPECT_EQ(env.bitMask, 128);
    EXPECT_EQ(env.pendingByte, 0);
}

TEST_F(OutputBitsTest, NegativeCountFails) {
    EXPECT_EQ(Put(1, -1), -1);
    EXPECT_EQ(Put(1, INT32_MIN), -1);
    EXPECT_EQ(fill, 0u);
    EXPECT_EQ(env.bitMask, 128);
}

TEST_F(OutputBitsTest, BitsFillAByteFromTheTop) {
    EXPECT_EQ(Put(0b101, 3), 0);
    EXPECT_EQ(env.pendingByte, 0b10100000);
    EXPECT_EQ(env.bitMask, 0b00010000);
    EXPECT_EQ(fill, 0u);
    EXPECT_EQ(Put(0b01100, 5), 0);
    EXPECT_EQ(Bytes(), FromHex("AC"));
    EXPECT_EQ(env.pendingByte, 0);
    EXPECT_EQ(env.bitMask, 128);
}

TEST_F(OutputBitsTest, OnlyTheLowBitsOfTheValueCount) {
    EXPECT_EQ(Put(0xFFFFFF50, 4), 0);
    EXPECT_EQ(Put(0xABC3, 4), 0);
    EXPECT_EQ(Bytes(), FromHex("03"));
}

TEST_F(OutputBitsTest, LongValuesSpanBytes) {
    EXPECT_EQ(Put(1, 1), 0);
    EXPECT_EQ(Put(0x12345678, 32), 0);
    EXPECT_EQ(Bytes(), FromHex("89 1A 2B 3C"));
    EXPECT_EQ(env.pendingByte, 0);
    EXPECT_EQ(env.bitMask, 64);
}

TEST_F(OutputBitsTest, ByteOf255IsFollowedByAZero) {
    EXPECT_EQ(Put(0xFFFF, 16), 0);
    EXPECT_EQ(Put(0xFE, 8), 0);
    EXPECT_EQ(Bytes(), FromHex("FF 00 FF 00 FE"));
}

TEST_F(OutputBitsTest, CountsAboveThirtyTwoBeginWithZeros) {
    EXPECT_EQ(Put(0x89ABCDEF, 40), 0);
    EXPECT_EQ(Bytes(), FromHex("00 89 AB CD EF"));
}

TEST_F(OutputBitsTest, RandomBitsEqualTheReference) {
    UseBuffer(1);
    reference::BitSink plain;
    TestRandom random(11);
    for (int i = 0; i < 40000; ++i) {
        const int count = random.Between(0, 32);
        const uint32_t value = random.Next() % 3 == 0 ? 0xFFFFFFFF : random.Next() * random.Next();
        ASSERT_EQ(Put(value, count), 0);
        plain.Put(value, count);
    }
    EXPECT_EQ(Bytes(), plain.Bytes());
}

TEST_F(OutputBitsTest, FullBufferGrowsBy8192AndKeepsItsBytes) {
    UseBuffer(2);
    EXPECT_EQ(Put(0x1122, 16), 0);
    EXPECT_EQ(env.outputCapacity, 2u);
    EXPECT_EQ(Put(0x33, 8), 0);
    EXPECT_EQ(env.outputCapacity, 2u + 8192u);
    EXPECT_EQ(GlobalSize(env.outputHandle), 2u + 8192u);
    EXPECT_EQ(Bytes(), FromHex("11 22 33"));
}

TEST_F(OutputBitsTest, StuffedZeroIsNeverStoredBeyondTheBuffer) {
    UseBuffer(1);
    EXPECT_EQ(Put(0xFF, 8), 0);
    EXPECT_EQ(Bytes(), FromHex("FF 00"));
    EXPECT_GE(GlobalSize(env.outputHandle), 2u);
    EXPECT_EQ(GlobalSize(env.outputHandle), env.outputCapacity);
}

TEST_F(OutputBitsTest, FailedGrowthLosesTheBytesButNotTheBits) {
    UseBuffer(1);
    EXPECT_EQ(Put(0x11, 8), 0);
    {
        const FailingMemory memory(1);
        EXPECT_EQ(Put(0x225, 12), 300); // completes 22, then 5 waits
        EXPECT_TRUE(memory.Failed());
    }
    EXPECT_EQ(env.outputHandle, 0u);
    EXPECT_EQ(fill, 0u);
    EXPECT_EQ(env.pendingByte, 0x50);
    EXPECT_EQ(env.bitMask, 8);
}

TEST_F(OutputBitsTest, NothingIsStoredAfterAFailedGrowth) {
    UseBuffer(1);
    EXPECT_EQ(Put(0x11, 8), 0);
    {
        const FailingMemory memory(1);
        EXPECT_EQ(Put(0x22, 8), 300);
    }
    EXPECT_EQ(Put(0x33, 8), 300);
    EXPECT_EQ(Put(0xFF, 8), 300);
    EXPECT_EQ(Put(0x7, 4), 0); // completes no byte
    EXPECT_EQ(fill, 0u);
    EXPECT_EQ(env.outputHandle, 0u);
    EXPECT_EQ(env.pendingByte, 0x70);
}

class ReserveOutputTest : public OutputBitsTest {};

TEST_F(ReserveOutputTest, LeavesABufferWithRoomAlone) {
    UseBuffer(64);
    fill = 50;
    const MemoryHandle before = env.outputHandle;
    EXPECT_EQ(ReserveOutput(&env, &fill, 14), 0);
    EXPECT_EQ(env.outputHandle, before);
    EXPECT_EQ(env.outputCapacity, 64u);
}

TEST_F(ReserveOutputTest, GrowsInStepsUntilThereIsRoom) {
    UseBuffer(64);
    fill = 50;
    EXPECT_EQ(ReserveOutput(&env, &fill, 15), 0);
    EXPECT_EQ(env.outputCapacity, 64u + 8192u);
    EXPECT_EQ(ReserveOutput(&env, &fill, 20000), 0);
    EXPECT_EQ(env.outputCapacity, 64u + 3 * 8192u); // 24640 >= 20050
    EXPECT_EQ(GlobalSize(env.outputHandle), env.outputCapacity);
    EXPECT_EQ(fill, 50u);
}

TEST_F(ReserveOutputTest, GrowthBeyondThirtyTwoBitsFails) {
    UseBuffer(64);
    env.outputCapacity = fill = UINT32_MAX - 5;
    EXPECT_EQ(ReserveOutput(&env, &fill, 10), 300);
    EXPECT_EQ(env.outputHandle, 0u);
    EXPECT_EQ(fill, 0u);
}

TEST_F(ReserveOutputTest, FailureLosesTheBuffer) {
    UseBuffer(64);
    fill = 50;
    const FailingMemory memory(1);
    EXPECT_EQ(ReserveOutput(&env, &fill, 15), 300);
    EXPECT_EQ(env.outputHandle, 0u);
    EXPECT_EQ(fill, 0u);
}

} // namespace
} // namespace kowen
