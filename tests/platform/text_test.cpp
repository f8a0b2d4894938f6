#include "platform/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace kowen {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(Strupr, ConvertsInPlaceAndReturnsTheText) {
    char text[] = "aZ[`{z09 \xE9\xFF";
    EXPECT_EQ(strupr(text), text);
    EXPECT_STREQ(text, "AZ[`{Z09 \xE9\xFF");
    char empty[] = "";
    EXPECT_EQ(strupr(empty), empty);
}

TEST(Strlower, ConvertsInPlaceAndReturnsTheText) {
    char text[] = "aZ[`{A09 \xC9\xFF";
    EXPECT_EQ(strlower(text), text);
    EXPECT_STREQ(text, "az[`{a09 \xC9\xFF");
    char again[] = "MiXed";
    EXPECT_EQ(strlwr(again), again);
    EXPECT_STREQ(again, "mixed");
}

TEST(Stricmp, IgnoresCase) {
    EXPECT_EQ(stricmp("abc", "ABC"), 0);
    EXPECT_EQ(stricmp("", ""), 0);
    EXPECT_EQ(stricmp("JPG Export", "jpg eXPORT"), 0);
}

TEST(Stricmp, SignIsReversed) {
    EXPECT_EQ(stricmp("abc", "abd"), 1);
    EXPECT_EQ(stricmp("abd", "abc"), -1);
    EXPECT_EQ(stricmp("", "x"), 88);
    EXPECT_EQ(stricmp("x", ""), -88);
    EXPECT_EQ(stricmp("ab", "abc"), 67);
    EXPECT_EQ(stricmp("_", "a"), 'A' - '_'); // the upper case counts: "A" is before "_"
}

TEST(Stricmp, BytesAreSignedCharacters) {
    EXPECT_EQ(stricmp("\x80", "A"), 65 + 128);
    EXPECT_EQ(stricmp("A", "\xFF"), -1 - 65);
    EXPECT_EQ(stricmp("\xE9", "\xE9"), 0);
}

TEST(Strnicmp, ComparesExactlyNBytes) {
    EXPECT_EQ(strnicmp("abX", "ABy", 2), 0);
    EXPECT_EQ(strnicmp("abX", "ABy", 3), 1);
    EXPECT_EQ(strnicmp("abY", "ABx", 3), -1);
    EXPECT_EQ(strnicmp("a", "b", 0), 0);
    EXPECT_EQ(strnicmp("a", "b", -1), 0);
}

TEST(Strnicmp, ComparesPastTheTerminators) {
    const char first[5] = {'a', 'b', 0, 'c', 'd'};
    const char same[5] = {'A', 'B', 0, 'C', 'D'};
    const char other[5] = {'A', 'B', 0, 'C', 'F'};
    EXPECT_EQ(strnicmp(first, same, 5), 0);
    EXPECT_EQ(strnicmp(first, other, 4), 0);
    EXPECT_EQ(strnicmp(first, other, 5), 2);
}

TEST(QivHugeMemcpy, CopiesExactlyCountBytes) {
    char target[] = "......";
    qivHugeMemcpy(target + 1, "abcd", 3);
    EXPECT_STREQ(target, ".abc..");
    qivHugeMemcpy(target, "x", 0);
    EXPECT_STREQ(target, ".abc..");
    qivHugeMemcpy(nullptr, nullptr, 0);
}

TEST(QivHugeMemcpy, RunsForwardThroughAnOverlap) {
    char repeat[] = "abcdefgh";
    qivHugeMemcpy(repeat + 2, repeat, 6);
    EXPECT_STREQ(repeat, "abababab");
    char shift[] = "abcdefgh";
    qivHugeMemcpy(shift, shift + 2, 6);
    EXPECT_STREQ(shift, "cdefghgh");
    char touching[] = "abcdefgh";
    qivHugeMemcpy(touching + 4, touching, 4);
    EXPECT_STREQ(touching, "abcdabcd");
    std::vector<unsigned char> large(5000, 0);
    large[0] = 9;
    qivHugeMemcpy(large.data() + 1, large.data(), 4999);
    EXPECT_EQ(large, std::vector<unsigned char>(5000, 9));
}

TEST(QivHugeMemcmp, EqualBuffersGiveZero) {
    const unsigned char bytes[] = {0x41, 0x58, 0x63};
    const unsigned char same[] = {0x41, 0x58, 0x63};
    EXPECT_EQ(qivHugeMemcmp(bytes, same, 3), 0);
    EXPECT_EQ(qivHugeMemcmp(bytes, "zzz", 0), 0);
    EXPECT_EQ(qivHugeMemcmp(nullptr, nullptr, 0), 0);
}

TEST(QivHugeMemcmp, TheByteAfterTheDifferenceDecides) {
    const unsigned char a1[] = {0x41, 0x58, 0x63}, b1[] = {0x41, 0x59, 0x61};
    EXPECT_EQ(qivHugeMemcmp(a1, b1, 3), -1);
    const unsigned char a2[] = {0x41, 0x58, 0x61}, b2[] = {0x41, 0x59, 0x63};
    EXPECT_EQ(qivHugeMemcmp(a2, b2, 3), 1);
    // The first difference counts, and the same byte after it gives -1 on both sides.
    const unsigned char a3[] = {0x41, 0x58, 0x61}, b3[] = {0x42, 0x58, 0x63};
    EXPECT_EQ(qivHugeMemcmp(a3, b3, 3), -1);
    EXPECT_EQ(qivHugeMemcmp(b3, a3, 3), -1);
    // Unsigned: 0x80 is above 0x7F.
    const unsigned char a4[] = {1, 0x80}, b4[] = {2, 0x7F};
    EXPECT_EQ(qivHugeMemcmp(a4, b4, 1), -1);
    EXPECT_EQ(qivHugeMemcmp(b4, a4, 1), 1);
}

TEST(QivHugeMemset, FillsWithTheLowByte) {
    unsigned char bytes[5] = {1, 2, 3, 4, 5};
    qivHugeMemset(bytes + 1, 0x1234, 3);
    const unsigned char expected[5] = {1, 0x34, 0x34, 0x34, 5};
    EXPECT_EQ(std::memcmp(bytes, expected, 5), 0);
    qivHugeMemset(nullptr, 7, 0);
}

TEST(Dabs, IsTheAbsoluteValue) {
    EXPECT_EQ(dabs(2.5), 2.5);
    EXPECT_EQ(dabs(-2.5), 2.5);
    EXPECT_EQ(dabs(-kInfinity), kInfinity);
    EXPECT_TRUE(std::isnan(dabs(kNaN)));
}

TEST(Dabs, TurnsTheSignOfZero) {
    EXPECT_TRUE(std::signbit(dabs(0.0)));
    EXPECT_FALSE(std::signbit(dabs(-0.0)));
}

TEST(Roundd, RoundsHalfAwayFromZero) {
    EXPECT_EQ(roundd(2.5), 3);
    EXPECT_EQ(roundd(-2.5), -3);
    EXPECT_EQ(roundd(0.5), 1);
    EXPECT_EQ(roundd(-0.5), -1);
    EXPECT_EQ(roundd(0.0), 0);
    EXPECT_EQ(roundd(-0.0), 0);
    EXPECT_EQ(roundd(0.49999), 0);
    EXPECT_EQ(roundd(-0.49999), 0);
    EXPECT_EQ(roundd(1e9 + 0.25), 1000000000);
}

TEST(Roundd, Saturates) {
    EXPECT_EQ(roundd(2147483646.4), 2147483646);
    EXPECT_EQ(roundd(2147483647.5), 2147483647);
    EXPECT_EQ(roundd(1e300), 2147483647);
    EXPECT_EQ(roundd(kInfinity), 2147483647);
    EXPECT_EQ(roundd(-2147483648.6), INT32_MIN);
    EXPECT_EQ(roundd(-1e300), INT32_MIN);
    EXPECT_EQ(roundd(kNaN), 0);
}

TEST(Feqi, ComparesWithinTheTolerance) {
    EXPECT_EQ(feqi(3, 5, 2), 1);
    EXPECT_EQ(feqi(5, 3, 2), 1);
    EXPECT_EQ(feqi(3, 6, 2), 0);
    EXPECT_EQ(feqi(-1, 1, 1), 0);
    EXPECT_EQ(feqi(4, 4, 0), 1);
}

TEST(Feqi, TheToleranceIsUnsigned) {
    EXPECT_EQ(feqi(0, 1000000, -1), 1);
    EXPECT_EQ(feqi(0, INT32_MIN, INT32_MIN), 1);
}

TEST(Feqi, ExtremesDoNotOverflow) {
    EXPECT_EQ(feqi(INT32_MIN, INT32_MAX, INT32_MAX), 0);
    EXPECT_EQ(feqi(INT32_MAX, INT32_MIN, INT32_MAX), 0);
    EXPECT_EQ(feqi(INT32_MIN, INT32_MAX, -1), 1);
    EXPECT_EQ(feqi(INT32_MIN, 1, INT32_MAX), 0);
    EXPECT_EQ(feqi(INT32_MIN, 0, INT32_MAX), 0);
}

TEST(TruncateToInt32, TruncatesSaturatesAndTakesNaNAsZero) {
    EXPECT_EQ(TruncateToInt32(1.99), 1);
    EXPECT_EQ(TruncateToInt32(-1.99), -1);
    EXPECT_EQ(TruncateToInt32(-0.9), 0);
    EXPECT_EQ(TruncateToInt32(2147483646.9), 2147483646);
    EXPECT_EQ(TruncateToInt32(2147483647.0), 2147483647);
    EXPECT_EQ(TruncateToInt32(2147483648.0), 2147483647);
    EXPECT_EQ(TruncateToInt32(-2147483647.9), -2147483647);
    EXPECT_EQ(TruncateToInt32(-2147483648.0), INT32_MIN);
    EXPECT_EQ(TruncateToInt32(-2147483649.0), INT32_MIN);
    EXPECT_EQ(TruncateToInt32(kInfinity), 2147483647);
    EXPECT_EQ(TruncateToInt32(-kInfinity), INT32_MIN);
    EXPECT_EQ(TruncateToInt32(kNaN), 0);
}

TEST(TruncateToUInt32, TruncatesSaturatesAndTakesNaNAsZero) {
    EXPECT_EQ(TruncateToUInt32(1.99), 1u);
    EXPECT_EQ(TruncateToUInt32(-0.9), 0u);
    EXPECT_EQ(TruncateToUInt32(-5.0), 0u);
    EXPECT_EQ(TruncateToUInt32(4294967294.9), 4294967294u);
    EXPECT_EQ(TruncateToUInt32(4294967295.0), 4294967295u);
    EXPECT_EQ(TruncateToUInt32(4294967296.0), 4294967295u);
    EXPECT_EQ(TruncateToUInt32(kInfinity), 4294967295u);
    EXPECT_EQ(TruncateToUInt32(-kInfinity), 0u);
    EXPECT_EQ(TruncateToUInt32(kNaN), 0u);
}

} // namespace
} // namespace kowen
