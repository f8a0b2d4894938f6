#include "platform/text_buffer.h"

#include "support/failing_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace kowen {
namespace {

TEST(TextBuffer, IsEmptyAtFirst) {
    TextBuffer buffer;
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_FALSE(buffer.Exhausted());
    buffer.Append("");
    EXPECT_EQ(buffer.Text(), "");
}

TEST(TextBuffer, KeepsWhatIsAppendedAcrossGrowth) {
    TextBuffer buffer;
    std::string expected;
    for (int i = 0; i < 9000; ++i) {
        const std::string piece = std::to_string(i) + std::string(1, '\0');
        buffer.Append(piece);
        expected += piece;
    }
    EXPECT_EQ(buffer.Text(), expected);
    EXPECT_FALSE(buffer.Exhausted());
}

TEST(TextBuffer, WhatIsReservedBecomesTextAsFarAsItIsExtended) {
    TextBuffer buffer;
    buffer.Append("ab");
    char *place = buffer.Reserve(5000);
    ASSERT_NE(place, nullptr);
    std::memset(place, 'x', 5000);
    buffer.Extend(3);
    EXPECT_EQ(buffer.Text(), "abxxx");
    buffer.Append("c");
    EXPECT_EQ(buffer.Text(), "abxxxc");
}

TEST(TextBuffer, GrowsByDoublingSoThatManyPiecesAreNotCopiedEachTime) {
    FailingMemory counter(0);
    TextBuffer buffer;
    for (int i = 0; i < 1000000; ++i)
        buffer.Append("x");
    EXPECT_EQ(buffer.Text().size(), 1000000u);
    EXPECT_EQ(counter.Calls(), 9); // 4096 doubled 8 times is 1048576
}

TEST(TextBuffer, ExhaustedMemoryDropsTheTextForGood) {
    FailingMemory memory(2);
    TextBuffer buffer;
    buffer.Append("ab");
    buffer.Append(std::string(5000, 'x'));
    ASSERT_TRUE(memory.Failed());
    EXPECT_TRUE(buffer.Exhausted());
    EXPECT_EQ(buffer.Text(), "");
    buffer.Append("c");
    EXPECT_EQ(buffer.Reserve(1), nullptr);
    EXPECT_EQ(buffer.Text(), "");
    EXPECT_TRUE(buffer.Exhausted());
}

TEST(TextBuffer, MoreThan32BitsCanCountIsExhaustion) {
    TextBuffer buffer;
    buffer.Append("ab");
    EXPECT_EQ(buffer.Reserve(0xFFFFFFFF), nullptr);
    EXPECT_TRUE(buffer.Exhausted());
}

} // namespace
} // namespace kowen
