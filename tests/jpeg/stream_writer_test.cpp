#include "jpeg/stream_writer.h"

#include "jpeg/bit_output.h"
#include "jpeg/header_state.h"
#include "picture_env.h"
#include "support/hex.h"
#include "support/memory_output.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using Bytes = std::vector<uint8_t>;

const Bytes kSoi = FromHex("FF D8");

// JFIF 1.02, 96 x 96 dots per inch.
const Bytes kApp0 = FromHex("FF E0 00 10 4A 46 49 46 00 01 02 01 00 60 00 60 00 00");

// T.81 tables K.1 and K.2 in zig-zag order.
const Bytes kDqtQuality75 = FromHex("FF DB 00 84"
                                    "00 10 0B 0C 0E 0C 0A 10 0E 0D 0E 12 11 10 13 18 28"
                                    "   1A 18 16 16 18 31 23 25 1D 28 3A 33 3D 3C 39 33"
                                    "   38 37 40 48 5C 4E 40 44 57 45 37 38 50 6D 51 57"
                                    "   5F 62 67 68 67 3E 4D 71 79 70 64 78 5C 65 67 63"
                                    "01 11 12 12 18 15 18 2F 1A 1A 2F 63 42 38 42 63 63"
                                    "   63 63 63 63 63 63 63 63 63 63 63 63 63 63 63 63"
                                    "   63 63 63 63 63 63 63 63 63 63 63 63 63 63 63 63"
                                    "   63 63 63 63 63 63 63 63 63 63 63 63 63 63 63 63");

// T.81 tables K.3 and K.4.
const Bytes kDcLists = FromHex("00 00 01 05 01 01 01 01 01 01 00 00 00 00 00 00 00"
                               "   00 01 02 03 04 05 06 07 08 09 0A 0B"
                               "01 00 03 01 01 01 01 01 01 01 01 01 00 00 00 00 00"
                               "   00 01 02 03 04 05 06 07 08 09 0A 0B");

// The values of T.81 tables K.5 and K.6.
const Bytes kAcLuminanceValues = FromHex(
    "01 02 03 00 04 11 05 12 21 31 41 06 13 51 61 07 22 71 14 32 81 91 A1 08 23 42 B1 C1 15 52 D1"
    "F0 24 33 62 72 82 09 0A 16 17 18 19 1A 25 26 27 28 29 2A 34 35 36 37 38 39 3A 43 44 45 46 47"
    "48 49 4A 53 54 55 56 57 58 59 5A 63 64 65 66 67 68 69 6A 73 74 75 76 77 78 79 7A 83 84 85 86"
    "87 88 89 8A 92 93 94 95 96 97 98 99 9A A2 A3 A4 A5 A6 A7 A8 A9 AA B2 B3 B4 B5 B6 B7 B8 B9 BA"
    "C2 C3 C4 C5 C6 C7 C8 C9 CA D2 D3 D4 D5 D6 D7 D8 D9 DA E1 E2 E3 E4 E5 E6 E7 E8 E9 EA F1 F2 F3"
    "F4 F5 F6 F7 F8 F9 FA");
const Bytes kAcChrominanceValues = FromHex(
    "00 01 02 03 11 04 05 21 31 06 12 41 51 07 61 71 13 22 32 81 08 14 42 91 A1 B1 C1 09 23 33 52"
    "F0 15 62 72 D1 0A 16 24 34 E1 25 F1 17 18 19 1A 26 27 28 29 2A 35 36 37 38 39 3A 43 44 45 46"
    "47 48 49 4A 53 54 55 56 57 58 59 5A 63 64 65 66 67 68 69 6A 73 74 75 76 77 78 79 7A 82 83 84"
    "85 86 87 88 89 8A 92 93 94 95 96 97 98 99 9A A2 A3 A4 A5 A6 A7 A8 A9 AA B2 B3 B4 B5 B6 B7 B8"
    "B9 BA C2 C3 C4 C5 C6 C7 C8 C9 CA D2 D3 D4 D5 D6 D7 D8 D9 DA E2 E3 E4 E5 E6 E7 E8 E9 EA F2 F3"
    "F4 F5 F6 F7 F8 F9 FA");
const Bytes kBandEnds = FromHex("10 20 30 40 50 60 70 80 90 A0 B0 C0 D0 E0");

Bytes Dht(bool sequential) {
    if (sequential)
        return FromHex("FF C4 01 A2") + kDcLists +
               FromHex("10 00 02 01 03 03 02 04 03 05 05 04 04 00 00 01 7D") + kAcLuminanceValues +
               FromHex("11 00 02 01 02 04 04 03 04 07 05 04 04 00 01 02 77") + kAcChrominanceValues;
    return FromHex("FF C4 01 BE") + kDcLists +
           FromHex("10 00 02 01 03 03 02 04 03 05 05 04 00 00 00 00 90") + kAcLuminanceValues +
           kBandEnds + FromHex("11 00 02 01 02 04 04 03 04 07 05 04 00 00 00 00 8C") +
           kAcChrominanceValues + kBandEnds;
}

/// An environment, and a header state with an output in memory.
class Headers {
public:
    Headers(int32_t colorFormat, int32_t operation, int quality = 75, uint32_t width = 17,
            uint32_t height = 9)
        : env(colorFormat, operation, quality, width, height),
          record{output.File(), width, height, 96, 96, PictureEnv::Components(colorFormat)} {}

    PictureEnv env;
    MemoryOutput output;
    JpegHeaderState record;
    JpegHeaderState *state = &record;
};

struct HeaderCase {
    int32_t colorFormat;
    int32_t operation;
    const char *frame;
};

class WriteJPGHdrCases : public testing::TestWithParam<HeaderCase> {};

TEST_P(WriteJPGHdrCases, WritesEverythingBeforeTheFirstScan) {
    const HeaderCase &each = GetParam();
    Headers headers(each.colorFormat, each.operation);
    EXPECT_EQ(WriteJPGHdr(headers.state, headers.env.Get()), 0);
    EXPECT_EQ(headers.output.Bytes(), kSoi + kApp0 + kDqtQuality75 + FromHex(each.frame) +
                                          Dht(each.operation == KOWEN_OPERATION_SEQUENTIAL));
}

INSTANTIATE_TEST_SUITE_P(
    AllForms, WriteJPGHdrCases,
    testing::Values(HeaderCase{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL,
                               "FF C0 00 11 08 00 09 00 11 03 01 21 00 02 11 01 03 11 01"},
                    HeaderCase{KOWEN_FORMAT_RGB444, KOWEN_OPERATION_SEQUENTIAL,
                               "FF C0 00 11 08 00 09 00 11 03 01 11 00 02 11 01 03 11 01"},
                    HeaderCase{KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL,
                               "FF C0 00 0B 18 00 09 00 11 01 01 11 00"},
                    HeaderCase{KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE,
                               "FF C2 00 11 08 00 09 00 11 03 01 21 00 02 11 01 03 11 01"},
                    HeaderCase{KOWEN_FORMAT_RGB444, KOWEN_OPERATION_PROGRESSIVE,
                               "FF C2 00 11 08 00 09 00 11 03 01 11 00 02 11 01 03 11 01"},
                    HeaderCase{KOWEN_FORMAT_GREY, KOWEN_OPERATION_PROGRESSIVE,
                               "FF C2 00 0B 18 00 09 00 11 01 01 11 00"}));

TEST(WriteJFIFHdr, CarriesBothResolutionsHighByteFirst) {
    Headers headers(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL);
    headers.state->xResolution = 0x0123;
    headers.state->yResolution = 400;
    EXPECT_EQ(WriteJFIFHdr(headers.output.File(), headers.state), 0);
    EXPECT_EQ(headers.output.Bytes(),
              FromHex("FF E0 00 10 4A 46 49 46 00 01 02 01 01 23 01 90 00 00"));
}

TEST(WriteQTblHdr, WritesTheTablesInZigZagOrder) {
    Headers headers(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL);
    EXPECT_EQ(WriteQTblHdr(headers.state, headers.env.Get()), 0);
    EXPECT_EQ(headers.output.Bytes(), kDqtQuality75);
}

// The base value 121 stands in row 6, column 5: position 56 of the zig-zag order.
constexpr size_t kFirstQuantiser = 5;
constexpr size_t kZigZagOf121 = 56;

TEST(WriteQTblHdr, WritesQuantisersModulo256) {
    const struct {
        int quality;
        int quantiser;
        int written;
    } cases[] = {{1, 444, 188}, {44, 257, 1}, {45, 252, 252}, {100, 13, 13}, {0, 448, 192}};
    for (const auto &c : cases) {
        Headers headers(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, c.quality);
        EXPECT_EQ(WriteQTblHdr(headers.state, headers.env.Get()), 0);
        const Bytes bytes = headers.output.Bytes();
        ASSERT_EQ(bytes.size(), 134u);
        EXPECT_EQ(headers.env->quantTable[0][6 * 8 + 5], c.quantiser);
        EXPECT_EQ(bytes[kFirstQuantiser + kZigZagOf121], c.written) << c.quality;
    }
}

TEST(WriteFrameHdr, GreyPrecisionIs24) {
    Headers headers(KOWEN_FORMAT_GREY, KOWEN_OPERATION_SEQUENTIAL);
    EXPECT_EQ(WriteFrameHdr(headers.state, headers.env.Get()), 0);
    EXPECT_EQ(headers.output.Bytes(), FromHex("FF C0 00 0B 18 00 09 00 11 01 01 11 00"));
}

TEST(WriteFrameHdr, WithoutComponentsPrecisionIsZero) {
    Headers headers(0, 0);
    EXPECT_EQ(WriteFrameHdr(headers.state, headers.env.Get()), 0);
    EXPECT_EQ(headers.output.Bytes(), FromHex("FF C2 00 08 00 00 09 00 11 00"));
}

TEST(WriteFrameHdr, AnyOperationButSequentialIsProgressive) {
    for (const int32_t operation : {246, 0, 244, 247, -1}) {
        Headers headers(KOWEN_FORMAT_YCC422, operation);
        EXPECT_EQ(WriteFrameHdr(headers.state, headers.env.Get()), 0);
        EXPECT_EQ(headers.output.Bytes()[1], 0xC2) << operation;
    }
}

TEST(WriteFrameHdr, CarriesTheLowSixteenBitsOfTheSize) {
    Headers headers(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75, 0x12345, 0x6789A);
    EXPECT_EQ(WriteFrameHdr(headers.state, headers.env.Get()), 0);
    EXPECT_EQ(headers.output.Bytes(),
              FromHex("FF C0 00 11 08 78 9A 23 45 03 01 21 00 02 11 01 03 11 01"));
}

TEST(WriteHuffHdr, FollowsTheEnvironmentsOperation) {
    for (const int32_t operation : {245, 246, 0}) {
        Headers headers(KOWEN_FORMAT_YCC422, operation);
        EXPECT_EQ(WriteHuffHdr(headers.state, headers.env.Get()), 0);
        const Bytes bytes = headers.output.Bytes();
        EXPECT_EQ(bytes, Dht(operation == KOWEN_OPERATION_SEQUENTIAL)) << operation;
        EXPECT_EQ(bytes.size(), operation == KOWEN_OPERATION_SEQUENTIAL ? 420u : 448u);
    }
}

struct Scan {
    int32_t count;
    int32_t index;
    int32_t ss;
    int32_t se;
    int32_t ah;
    int32_t al;
    const char *bytes;
};

const Scan kScans[] = {
    {3, 0, 0, 63, 0, 0, "FF DA 00 0C 03 01 00 02 11 03 11 00 3F 00"},
    {3, 2, 0, 0, 0, 0, "FF DA 00 0C 03 01 00 02 11 03 11 00 00 00"}, // the index does not count
    {2, 0, 0, 63, 0, 0, "FF DA 00 0A 02 01 00 02 11 00 3F 00"},
    {1, 0, 0, 63, 0, 0, "FF DA 00 08 01 01 00 00 3F 00"},
    {1, 1, 1, 63, 0, 0, "FF DA 00 08 01 02 11 01 3F 00"},
    {1, 2, 1, 63, 3, 2, "FF DA 00 08 01 03 11 01 3F 32"},
    {0, 0, 0, 63, 0, 0, "FF DA 00 06 00 01 00 00 3F 00"}, // below 2: one component is listed
};

TEST(WriteSHdr, WritesTheSegmentToTheFile) {
    for (const Scan &scan : kScans) {
        const MemoryOutput output;
        EXPECT_EQ(
            WriteSHdr(output.File(), scan.count, scan.index, scan.ss, scan.se, scan.ah, scan.al),
            0);
        EXPECT_EQ(output.Bytes(), FromHex(scan.bytes));
    }
}

TEST(OutputScanHeader, BuildsTheSegmentAndRaisesTheFillCount) {
    for (const Scan &scan : kScans) {
        uint8_t segment[kMaxScanHeaderBytes + 1];
        std::fill(std::begin(segment), std::end(segment), uint8_t{0xA5});
        uint32_t fill = 1000;
        EXPECT_EQ(OutputScanHeader(segment, &fill, scan.count, scan.index, scan.ss, scan.se,
                                   scan.ah, scan.al),
                  0);
        const Bytes expected = FromHex(scan.bytes);
        EXPECT_EQ(fill, 1000 + expected.size());
        EXPECT_EQ(Bytes(segment, segment + expected.size()), expected);
        EXPECT_EQ(segment[expected.size()], 0xA5);
    }
}

TEST(OutputSHORT, StoresTheHighByteFirst) {
    uint8_t bytes[3] = {0, 0, 9};
    EXPECT_EQ(OutputSHORT(bytes, 0xFFDA), 0);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xDA);
    EXPECT_EQ(OutputSHORT(bytes + 1, 0x0102), 0);
    EXPECT_EQ(bytes[1], 1);
    EXPECT_EQ(bytes[2], 2);
}

TEST(WriteScanPad, CompletesTheByteWithOnes) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 16, 8);
    uint32_t fill = 0;
    OutputBits(nullptr, &fill, 0b010, 3, env.Get());
    EXPECT_EQ(WriteScanPad(nullptr, &fill, env.Get()), 0);
    EXPECT_EQ(env.Bytes(fill), FromHex("5F"));
    EXPECT_EQ(env->bitMask, 128);
}

TEST(WriteScanPad, WritesNothingAtAByteBoundary) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 16, 8);
    uint32_t fill = 0;
    EXPECT_EQ(WriteScanPad(nullptr, &fill, env.Get()), 0);
    EXPECT_EQ(fill, 0u);
}

TEST(WriteScanPad, StuffsAByteThatBecomes255) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 16, 8);
    uint32_t fill = 0;
    OutputBits(nullptr, &fill, 0b1111, 4, env.Get());
    EXPECT_EQ(WriteScanPad(nullptr, &fill, env.Get()), 0);
    EXPECT_EQ(env.Bytes(fill), FromHex("FF 00"));
}

TEST(WriteScanPad, ReportsABufferThatCannotGrow) {
    PictureEnv env(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75, 16, 8, 0);
    uint32_t fill = 0;
    OutputBits(nullptr, &fill, 0b1, 1, env.Get());
    EXPECT_EQ(WriteScanPad(nullptr, &fill, env.Get()), 300);
    EXPECT_EQ(env->bitMask, 128);
}

} // namespace
} // namespace kowen
