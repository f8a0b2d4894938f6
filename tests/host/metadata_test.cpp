#include "stream/metadata.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(AppendExif, WritesOneSegment) {
    Bytes segments;
    AppendExif(Bytes{'I', 'I', 42, 0}, &segments);
    EXPECT_EQ(segments, (Bytes{0xFF, 0xE1, 0, 12, 'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0}));
}

TEST(AppendComment, WritesOneSegment) {
    Bytes segments;
    AppendComment("Hi", &segments);
    EXPECT_EQ(segments, (Bytes{0xFF, 0xFE, 0, 4, 'H', 'i'}));
}

TEST(AppendIcc, WritesAShortProfileAsTheFirstOfOne) {
    Bytes segments;
    AppendIcc(Bytes{7}, &segments);
    EXPECT_EQ(segments, (Bytes{0xFF, 0xE2, 0, 17, 'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L',
                               'E', 0, 1, 1, 7}));
}

TEST(AppendIcc, PartsALongProfile) {
    Bytes segments;
    AppendIcc(Bytes(65519 + 2, 9), &segments);
    ASSERT_EQ(segments.size(), 2U * 18 + 65519 + 2);
    EXPECT_EQ(segments[2], 0xFF); // the longest segment
    EXPECT_EQ(segments[3], 0xFF);
    EXPECT_EQ(segments[16], 1);
    EXPECT_EQ(segments[17], 2);
    const size_t second = 18 + 65519;
    EXPECT_EQ(segments[second], 0xFF);
    EXPECT_EQ(segments[second + 1], 0xE2);
    EXPECT_EQ(segments[second + 3], 18);
    EXPECT_EQ(segments[second + 16], 2);
    EXPECT_EQ(segments[second + 17], 2);
}

TEST(Metadata, KnowsWhatFits) {
    EXPECT_TRUE(ExifFits(65527));
    EXPECT_FALSE(ExifFits(65528));
    EXPECT_TRUE(CommentFits(65533));
    EXPECT_FALSE(CommentFits(65534));
    EXPECT_TRUE(IccFits(size_t{65519} * 255));
    EXPECT_FALSE(IccFits(size_t{65519} * 255 + 1));
}

} // namespace
} // namespace kowen::host
