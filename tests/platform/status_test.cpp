#include "platform/status.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

namespace kowen {
namespace {

struct Call {
    uintptr_t context;
    int32_t command, code, value1, value2, value3;
    void *reply;
    std::array<int32_t, 10> replyWords;
};

std::vector<Call> calls;
std::vector<int32_t> answers;

int32_t Record(uintptr_t context, int32_t command, int32_t code, int32_t value1, int32_t value2,
               int32_t value3, void *reply) {
    Call call = {context, command, code, value1, value2, value3, reply, {}};
    if (reply != nullptr) {
        std::memcpy(call.replyWords.data(), reply, sizeof call.replyWords);
        std::memset(reply, 0x77, sizeof call.replyWords); // a host may write all ten
    }
    calls.push_back(call);
    return calls.size() <= answers.size() ? answers[calls.size() - 1] : 0;
}

class CallGetSetStatus : public testing::Test {
protected:
    void SetUp() override {
        calls.clear();
        answers.clear();
    }
};

TEST_F(CallGetSetStatus, NoCallbackGivesZero) {
    EXPECT_EQ(CallGetSet_Status(nullptr, 1, 0, 0, 0, 50, 0, nullptr), 0);
}

TEST_F(CallGetSetStatus, HandsEveryWordOnAndReturnsTheAnswer) {
    answers = {7};
    int32_t reply[10] = {4, 5};
    const uintptr_t context = static_cast<uintptr_t>(-3);
    EXPECT_EQ(CallGetSet_Status(&Record, context, 3, -9, 11, -22, 33, reply), 7);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].context, context);
    EXPECT_EQ(calls[0].command, 3);
    EXPECT_EQ(calls[0].code, -9);
    EXPECT_EQ(calls[0].value1, 11);
    EXPECT_EQ(calls[0].value2, -22);
    EXPECT_EQ(calls[0].value3, 33);
    EXPECT_EQ(calls[0].reply, reply);
    EXPECT_EQ(calls[0].replyWords[1], 5);
}

TEST_F(CallGetSetStatus, AnAcceptedPollIsNotAskedAgain) {
    EXPECT_EQ(CallGetSet_Status(&Record, 1, 0, 0, 0, 50, 0, nullptr), 0);
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(CallGetSetStatus, ARefusedPollIsAskedOnceMore) {
    answers = {5, 0};
    EXPECT_EQ(CallGetSet_Status(&Record, 1234, 0, 0, 0, 50, 0, nullptr), 0);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[1].context, 1234u);
    EXPECT_EQ(calls[1].command, 2);
    EXPECT_EQ(calls[1].code, 61);
    EXPECT_EQ(calls[1].value1, 0);
    EXPECT_EQ(calls[1].value2, 0);
    EXPECT_EQ(calls[1].value3, 0);
    ASSERT_NE(calls[1].reply, nullptr);
    EXPECT_EQ(calls[1].replyWords, (std::array<int32_t, 10>{}));
}

TEST_F(CallGetSetStatus, TheSecondAnswerIsTheResultAndAskedOnceOnly) {
    answers = {5, -8, 1};
    EXPECT_EQ(CallGetSet_Status(&Record, 1, 0, 0, 0, 50, 0, nullptr), -8);
    EXPECT_EQ(calls.size(), 2u);
}

TEST_F(CallGetSetStatus, ARefusedAnnouncementIsNotAskedAgain) {
    answers = {5, 0};
    EXPECT_EQ(CallGetSet_Status(&Record, 1, 0, -2, 100, 0, 0, nullptr), 5);
    EXPECT_EQ(calls.size(), 1u);
}

TEST_F(CallGetSetStatus, ARefusedCommandIsNotAskedAgain) {
    answers = {5, 0};
    EXPECT_EQ(CallGetSet_Status(&Record, 1, 2, 0, 0, 0, 0, nullptr), 5);
    EXPECT_EQ(calls.size(), 1u);
}

} // namespace
} // namespace kowen
