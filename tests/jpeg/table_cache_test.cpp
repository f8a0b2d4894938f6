// The table cache: a table is built once for a list of codes, the oldest is evicted for a new list.
#include "jpeg/table_cache.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

struct Sum {
    uint32_t codes;
    uint32_t lengths;
};

int made = 0;

void MakeSum(Sum &sum, const HuffmanEntry *codes) {
    ++made;
    sum = {codes[0].code + codes[1].code, uint32_t{codes[0].length} + codes[1].length};
}

constexpr HuffmanEntry kFirst[2] = {{1, 2}, {3, 4}};
constexpr HuffmanEntry kOtherCode[2] = {{1, 2}, {8, 4}};
constexpr HuffmanEntry kOtherLength[2] = {{1, 2}, {3, 9}};

TEST(TableCache, AreMadeOncePerList) {
    made = 0;
    TableCache<Sum, 2, 2> tables;
    const Sum &first = tables.Of(kFirst, MakeSum);
    EXPECT_EQ(first.codes, 4u);
    EXPECT_EQ(first.lengths, 6u);
    const HuffmanEntry copy[2] = {{1, 2}, {3, 4}};
    EXPECT_EQ(&tables.Of(copy, MakeSum), &first);
    EXPECT_EQ(made, 1);
}

TEST(TableCache, ACodeOrALengthMakesAnotherList) {
    made = 0;
    TableCache<Sum, 2, 3> tables;
    tables.Of(kFirst, MakeSum);
    EXPECT_EQ(tables.Of(kOtherCode, MakeSum).codes, 9u);
    EXPECT_EQ(tables.Of(kOtherLength, MakeSum).lengths, 11u);
    EXPECT_EQ(made, 3);
}

TEST(TableCache, TheOldestMakesRoom) {
    made = 0;
    TableCache<Sum, 2, 2> tables;
    tables.Of(kFirst, MakeSum);
    tables.Of(kOtherCode, MakeSum);
    tables.Of(kOtherLength, MakeSum);
    EXPECT_EQ(tables.Of(kOtherCode, MakeSum).codes, 9u);
    EXPECT_EQ(made, 3);
    EXPECT_EQ(tables.Of(kFirst, MakeSum).codes, 4u);
    EXPECT_EQ(made, 4);
}

// As after an allocation that gives zeros: an empty place is not the list of zeros.
TEST(TableCache, ZerosAreAListToo) {
    made = 0;
    TableCache<Sum, 2, 2> tables;
    const HuffmanEntry zeros[2] = {};
    EXPECT_EQ(tables.Of(zeros, MakeSum).codes, 0u);
    EXPECT_EQ(made, 1);
}

} // namespace
} // namespace kowen
