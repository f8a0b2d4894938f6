#include "setup/string_table.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kowen {
namespace {

constexpr int32_t kNotKnown = 0;

struct Row {
    int32_t id;
    const char *text;
    int32_t length;
};

const Row kRows[] = {
    {0, "~Defaults", 9},
    {1, "~Mode", 5},
    {2, "~Header", 7},
    {3, "~Default Mode", 13},
    {4, "Driver", 6},
    {6, "DefaultFileSpec", 15},
    {7, "Font", 4},
    {11, "Color Mode", 10},
    {15, "User-Defined Patterns", 21},
    {17, "Color Format", 12},
    {18, "Resolution Mode", 15},
    {19, "X Resolution", 12},
    {20, "Y Resolution", 12},
    {21, "Width", 5},
    {22, "Height", 6},
    {23, "File Type", 9},
    {13, "JPG Export", 10},
    {26, "Size Mode", 9},
    {24, "Quality Mode", 12},
    {25, "Quality", 7},
    {27, "Operation", 9},
    {28, "Line Mode", 9},
    {-1, "Not Defined", 11},
};

TEST(LoadString, FindsEveryText) {
    for (const Row &row : kRows) {
        char buffer[144];
        std::memset(buffer, '#', sizeof buffer);
        EXPECT_EQ(LoadString(0, row.id, buffer, sizeof buffer), row.length) << row.id;
        EXPECT_STREQ(buffer, row.text);
        EXPECT_EQ(buffer[row.length + 1], '#') << "only the text and its zero are written";
    }
}

TEST(LoadString, FindsNothingElse) {
    for (int32_t id = -32768; id <= 32767; ++id) {
        bool known = false;
        for (const Row &row : kRows)
            known = known || row.id == id;
        char buffer[144] = {};
        if (known)
            continue;
        ASSERT_EQ(LoadString(0, id, buffer, sizeof buffer), kNotKnown) << id;
        ASSERT_STREQ(buffer, "Not Defined");
    }
}

TEST(LoadString, UnknownIdGivesNotDefinedAndZero) {
    char buffer[144];
    EXPECT_EQ(LoadString(0, 5, buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "Not Defined");
}

TEST(LoadString, TheLastEntryIsFoundUnderBothFormsOfItsId) {
    char buffer[144];
    EXPECT_EQ(LoadString(0, 65535, buffer, sizeof buffer), 11);
    EXPECT_STREQ(buffer, "Not Defined");
    EXPECT_EQ(LoadString(0, -1, buffer, sizeof buffer), 11);
}

TEST(LoadString, OnlyTheLow16BitsOfTheIdCount) {
    char buffer[144];
    EXPECT_EQ(LoadString(0, 0x12340004, buffer, sizeof buffer), 6);
    EXPECT_STREQ(buffer, "Driver");
    EXPECT_EQ(LoadString(0, 65536, buffer, sizeof buffer), 9);
    EXPECT_STREQ(buffer, "~Defaults");
}

TEST(LoadString, IgnoresTheModule) {
    char buffer[144];
    EXPECT_EQ(LoadString(0xFFFFFFFF, 4, buffer, sizeof buffer), 6);
    EXPECT_STREQ(buffer, "Driver");
}

TEST(LoadString, CutsWithoutTerminator) {
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(LoadString(0, 26, buffer, 4), 9);
    EXPECT_EQ(std::memcmp(buffer, "Size####", 8), 0);
}

TEST(LoadString, ASizeOfTheTextAloneLeavesOutTheTerminator) {
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(LoadString(0, 4, buffer, 6), 6);
    EXPECT_EQ(std::memcmp(buffer, "Driver##", 8), 0);
    EXPECT_EQ(LoadString(0, 4, buffer, 7), 6);
    EXPECT_EQ(std::memcmp(buffer, "Driver\0#", 8), 0);
}

TEST(LoadString, UnknownIdIsCutByTheSameRule) {
    char buffer[8];
    std::memset(buffer, '#', sizeof buffer);
    EXPECT_EQ(LoadString(0, 5, buffer, 3), 0);
    EXPECT_EQ(std::memcmp(buffer, "Not#####", 8), 0);
}

TEST(LoadString, NoRoomCopiesNothing) {
    char buffer[1] = {'#'};
    EXPECT_EQ(LoadString(0, 4, buffer, 0), 6);
    EXPECT_EQ(LoadString(0, 4, buffer, -1), 6);
    EXPECT_EQ(LoadString(0, 4, buffer, INT32_MIN), 6);
    EXPECT_EQ(buffer[0], '#');
}

} // namespace
} // namespace kowen
