#include "device/error_stack.h"

#include "raster/device.h"

#include <memory>

namespace kowen {
namespace {

using namespace test;

class ErrorStackTest : public RasterDeviceTest {
protected:
    ErrorStackTest() { Initialise(); }
    ErrorStack &Stack() { return lpEMData->errorStack; }

    DdRequest *Pop(int32_t count) {
        pop = std::make_unique<Request>(kPopErrors);
        return d_popes(pop->Put(16, count).Data());
    }

    std::unique_ptr<Request> pop;
};

TEST(ErrorStack, DoesNothingWithoutADevice) {
    ASSERT_EQ(lpEMData, nullptr);
    push_er(303);
}

TEST_F(ErrorStackTest, WithoutCapacityTheFirstSlotHoldsTheLatest) {
    push_er(303);
    push_er(901);
    EXPECT_EQ(Stack().count, 0);
    EXPECT_EQ(Stack().capacity, 0);
    EXPECT_EQ(Stack().overflow, 2);
    EXPECT_EQ(Stack().currentError, 901);
    EXPECT_EQ(Stack().slots[0].code, 901);
    EXPECT_EQ(Stack().slots[0].opcode, 0u);
    EXPECT_EQ(Stack().slots[1].code, 0);
}

TEST_F(ErrorStackTest, WithoutCapacityARepeatedErrorCountsTwice) {
    push_er(303);
    push_er(303);
    EXPECT_EQ(Stack().overflow, 2);
}

TEST_F(ErrorStackTest, KeepsCodesAsSixteenBitValues) {
    push_er(0x1FFFF);
    EXPECT_EQ(Stack().currentError, -1);
    EXPECT_EQ(Stack().slots[0].code, -1);
}

TEST_F(ErrorStackTest, WithCapacityKeepsErrorsOldestFirst) {
    Stack().capacity = 2;
    lpEMData->currentOpcode = 1033;
    push_er(300);
    lpEMData->currentOpcode = 1034;
    push_er(303);
    EXPECT_EQ(Stack().count, 2);
    EXPECT_EQ(Stack().overflow, 0);
    EXPECT_EQ(Stack().lastOpcode, 1034u);
    EXPECT_EQ(Stack().slots[0].opcode, 1033u);
    EXPECT_EQ(Stack().slots[0].code, 300);
    EXPECT_EQ(Stack().slots[1].code, 300);
    EXPECT_EQ(Stack().slots[2].opcode, 1034u);
    EXPECT_EQ(Stack().slots[2].code, 303);
}

TEST_F(ErrorStackTest, WithCapacityARepeatedTopErrorIsNotPushedAgain) {
    Stack().capacity = 2;
    push_er(303);
    Stack().currentError = 0;
    push_er(303);
    EXPECT_EQ(Stack().count, 1);
    EXPECT_EQ(Stack().currentError, 0);
    lpEMData->currentOpcode = 5;
    push_er(303);
    EXPECT_EQ(Stack().count, 2);
}

TEST_F(ErrorStackTest, AFullStackOverwritesItsLastEntry) {
    Stack().capacity = 2;
    push_er(300);
    push_er(303);
    push_er(901);
    EXPECT_EQ(Stack().count, 2);
    EXPECT_EQ(Stack().overflow, 1);
    EXPECT_EQ(Stack().slots[0].code, 300);
    EXPECT_EQ(Stack().slots[1].code, 300);
    EXPECT_EQ(Stack().slots[2].code, 901);
    EXPECT_EQ(Stack().currentError, 901);
}

TEST_F(ErrorStackTest, PopAfterThreePushesAnswersZeroAndNothingElse) {
    push_er(300);
    push_er(303);
    push_er(901);
    DdRequest *request = Pop(5);
    EXPECT_EQ(request, pop->Data());
    EXPECT_EQ(Answers(), BytesOf(int32_t{0}));
}

TEST_F(ErrorStackTest, PopAnswersEntriesNewestFirst) {
    Stack().capacity = 3;
    push_er(300);
    push_er(303);
    lpEMData->currentOpcode = 7;
    push_er(901);
    Pop(2);
    EXPECT_EQ(Answers(), BytesOf(int32_t{2}, uint32_t{7}, int16_t{901}, int16_t{0}, uint32_t{0},
                                 int16_t{303}, int16_t{0}));
    EXPECT_EQ(Stack().count, 1);
}

TEST_F(ErrorStackTest, PopOfANegativeCountTakesNothing) {
    Stack().capacity = 3;
    push_er(300);
    Pop(-4);
    EXPECT_EQ(Answers(), BytesOf(int32_t{-4}));
    EXPECT_EQ(Stack().count, 1);
}

TEST_F(ErrorStackTest, EmptyClearsTheCountsAndKeepsTheSlots) {
    Stack().capacity = 1;
    lpEMData->currentOpcode = 9;
    push_er(300);
    push_er(303);
    Request request(kEmptyErrors);
    EXPECT_EQ(d_empes(request.Data()), request.Data());
    EXPECT_EQ(Stack().count, 0);
    EXPECT_EQ(Stack().overflow, 0);
    EXPECT_EQ(Stack().lastOpcode, 0u);
    EXPECT_EQ(Stack().currentError, 0);
    EXPECT_EQ(Stack().slots[0].code, 300);
    EXPECT_EQ(Stack().slots[1].code, 303);
}

TEST_F(ErrorStackTest, QueryAnswersCountFirstErrorAndOverflow) {
    push_er(300);
    push_er(303);
    dq_es();
    EXPECT_EQ(Answers(), BytesOf(int32_t{0}, uint32_t{0}, int16_t{303}, int16_t{0}, int32_t{2}));
}

TEST_F(ErrorStackTest, IsReachedThroughTheDoor) {
    EXPECT_EQ(Run(Request(kPopErrors).Put(16, int32_t{1})), 0);
    EXPECT_EQ(Answers(), BytesOf(int32_t{0}));
    push_er(303);
    EXPECT_EQ(Run(kEmptyErrors), 0);
    EXPECT_EQ(Stack().overflow, 0);
}

class ReturnAreaTest : public RasterDeviceTest, public testing::WithParamInterface<uint32_t> {};

// Every answer of 1 to 48 bytes against every size: what fits is there, the rest is cut, and the
// bytes beyond stay as they were.
TEST_P(ReturnAreaTest, IsCutAtItsSize) {
    record.returnAreaSize = GetParam();
    ASSERT_EQ(Initialise(), 0);
    uint8_t source[48];
    for (size_t i = 0; i < sizeof source; ++i)
        source[i] = static_cast<uint8_t>(i + 1);
    std::vector<uint8_t> expected;
    for (uint32_t length : {3u, 0u, 16u, 48u, 1u}) {
        mov2buf(source, length);
        expected.insert(expected.end(), source, source + length);
        expected.resize(std::min<size_t>(expected.size(), GetParam()));
        EXPECT_EQ(Answers(), expected) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(EverySize, ReturnAreaTest, testing::Range(0u, 72u));

TEST_F(RasterDeviceTest, ReturnAreaLengthsDoNotWrap) {
    ASSERT_EQ(Initialise(), 0);
    const std::vector<uint8_t> source(256, 7);
    mov2buf(source.data(), 10);
    mov2buf(source.data(), 0xFFFFFFFF);
    EXPECT_EQ(lpEMData->returnArea.fillPosition, 256u);
    EXPECT_EQ(Answers(), source);
}

} // namespace
} // namespace kowen
