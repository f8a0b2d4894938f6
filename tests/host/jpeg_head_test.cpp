#include "stream/jpeg_head.h"

#include <gtest/gtest.h>

namespace kowen::host {
namespace {

using Bytes = std::vector<uint8_t>;

// A head as the filter writes it, with short tables: SOI, APP0, DQT, SOF0 of 300 x 202 pixels and
// one component of "24 bits", the marker of SOS.
const Bytes kHead = {0xFF, 0xD8, // SOI
                     0xFF, 0xE0, 0,  16, 'J', 'F', 'I', 'F', 0,  1, 2, 1,    0,
                     96,   0,    72, 0,  0,                                     // APP0
                     0xFF, 0xDB, 0,  4,  1,   2,                                // DQT
                     0xFF, 0xC0, 0,  11, 24,  0,   202, 1,   44, 1, 1, 0x11, 0, // SOF0
                     0xFF, 0xDA};                                               // SOS

TEST(EditHead, WritesTheTrueHeight) {
    Bytes head = kHead;
    HeadEdits edits;
    edits.height = 201;
    EXPECT_TRUE(EditHead(edits, &head));
    Bytes expected = kHead;
    expected[32] = 201;
    EXPECT_EQ(head, expected);
    edits.height = 65535;
    EXPECT_TRUE(EditHead(edits, &head));
    expected[31] = 0xFF;
    expected[32] = 0xFF;
    EXPECT_EQ(head, expected);
}

TEST(EditHead, SaysEightBitsASample) {
    Bytes head = kHead;
    HeadEdits edits;
    edits.eightBits = true;
    EXPECT_TRUE(EditHead(edits, &head));
    Bytes expected = kHead;
    expected[30] = 8;
    EXPECT_EQ(head, expected);
}

TEST(EditHead, StatesTheResolution) {
    Bytes head = kHead;
    HeadEdits edits;
    edits.xDpi = 600;
    edits.yDpi = 1200;
    EXPECT_TRUE(EditHead(edits, &head));
    Bytes expected = kHead;
    expected[14] = 2; // 600 = 0x0258
    expected[15] = 0x58;
    expected[16] = 4; // 1200 = 0x04B0
    expected[17] = 0xB0;
    EXPECT_EQ(head, expected);
}

TEST(EditHead, PutsSegmentsBehindTheJfifHeader) {
    Bytes head = kHead;
    HeadEdits edits;
    edits.height = 201;
    edits.segments = {0xFF, 0xFE, 0, 3, 'x'};
    EXPECT_TRUE(EditHead(edits, &head));
    Bytes expected = kHead;
    expected[32] = 201;
    expected.insert(expected.begin() + 20, {0xFF, 0xFE, 0, 3, 'x'});
    EXPECT_EQ(head, expected);
}

TEST(EditHead, TakesAProgressiveFrameToo) {
    Bytes head = kHead;
    head[27] = 0xC2;
    HeadEdits edits;
    edits.height = 201;
    EXPECT_TRUE(EditHead(edits, &head));
    EXPECT_EQ(head[32], 201);
}

TEST(EditHead, LeavesAHeadOfAnotherKindAlone) {
    HeadEdits edits;
    edits.height = 1;
    edits.segments = {1, 2, 3};
    for (const Bytes &other : {Bytes{}, Bytes{0xFF, 0xD8}, Bytes{0xFF, 0xD8, 0xFF, 0xDA},
                               Bytes(kHead.begin(), kHead.begin() + 26)}) {
        Bytes head = other;
        EXPECT_FALSE(EditHead(edits, &head));
        EXPECT_EQ(head, other);
    }
}

TEST(HeadIsWhole, WantsTheMarkerOfAScan) {
    for (size_t size = 0; size < kHead.size(); ++size)
        EXPECT_FALSE(HeadIsWhole(Bytes(kHead.begin(), kHead.begin() + ptrdiff_t(size)))) << size;
    EXPECT_TRUE(HeadIsWhole(kHead));
}

} // namespace
} // namespace kowen::host
