#include "raster/primitives.h"

#include "export/offscreen.h"
#include "raster/device.h"
#include "support/failing_memory.h"
#include "support/hex.h"
#include "support/temp_directory.h"

#include <algorithm>

namespace kowen {
namespace {

using namespace test;

using Bytes = std::vector<uint8_t>;

class Primitive : public RasterDeviceTest {
protected:
    Primitive() { NameOutput(directory.File("out.jpg")); }

    /// The file's bytes, once the device is closed.
    Bytes Written() {
        EXPECT_EQ(Run(kCloseDevice), 0);
        const std::string file = directory.Read("out.jpg");
        return {file.begin(), file.end()};
    }
    bool IsFinished() { return EndsWith(Written(), FromHex("FF D9")); }

    static bool Holds(const Bytes &bytes, const char *hex) {
        const Bytes part = FromHex(hex);
        return std::search(bytes.begin(), bytes.end(), part.begin(), part.end()) != bytes.end();
    }

    TempDirectory directory;
};

using OpenPicture = Primitive;
using WritePicture = Primitive;

/// Sizes of the blocks that are allocated while it lives.
class AllocationSizes {
public:
    AllocationSizes() {
        sizes.clear();
        allocationGate = [](uint64_t bytes) noexcept {
            sizes.push_back(bytes);
            return true;
        };
    }
    ~AllocationSizes() { allocationGate = nullptr; }
    static inline std::vector<uint64_t> sizes;
};

TEST_F(OpenPicture, MakesTheBitmap) {
    DrawPicture(10, 6);
    lpEMData->rowsDone = 3;
    ASSERT_EQ(Run(OpenPictureRequest(5, 4, 24, 0x8001)), 0);
    EXPECT_EQ(lpEMData->pictureOpen, 1u);
    EXPECT_EQ(lpEMData->pictureFlags, 0x8001);
    EXPECT_EQ(lpEMData->pictureWidth, 5u);
    EXPECT_EQ(lpEMData->pictureHeight, 4u);
    EXPECT_EQ(lpEMData->pictureDepth, 24u);
    EXPECT_EQ(lpEMData->rowsDone, 0u);
    EXPECT_EQ(PictureBytes(), std::vector<uint8_t>(64)); // 4 rows of 16 bytes
}

TEST_F(OpenPicture, IsCutToTheWindow) {
    DrawPicture(10, 6);
    ASSERT_EQ(Run(OpenPictureRequest(11, 7, 8)), 0);
    EXPECT_EQ(lpEMData->pictureWidth, 10u);
    EXPECT_EQ(lpEMData->pictureHeight, 7u); // rows are not
    EXPECT_EQ(PictureBytes().size(), 84u);  // 7 rows of 12 bytes
}

TEST_F(OpenPicture, TakesDepthsByTheirPrecision) {
    DrawPicture(10, 6);
    ASSERT_EQ(Run(OpenPictureRequest(10, 6, -32768)), 0);
    EXPECT_EQ(lpEMData->pictureDepth, 1u);
    EXPECT_EQ(PictureBytes().size(), 24u);
    ASSERT_EQ(Run(OpenPictureRequest(10, 6, -8)), 0);
    EXPECT_EQ(lpEMData->pictureDepth, 8u);
    EXPECT_EQ(PictureBytes().size(), 72u);
}

TEST_F(OpenPicture, ReadsItsDataBehindThePoints) {
    DrawPicture(10, 6);
    ASSERT_EQ(Run(OpenPictureRequest(5, 4, 24, 7, 3)), 0);
    EXPECT_EQ(lpEMData->pictureWidth, 5u);
    EXPECT_EQ(lpEMData->pictureFlags, 7);
}

TEST_F(OpenPicture, DataThatIsCutShortCountsAsZero) {
    DrawPicture(10, 6);
    Request request(kPrimitive);
    request.Put(16, int32_t{-5}).Put(20, uint32_t{0}).Put(24, uint32_t{8});
    request.Put(28, uint32_t{5}).Put(32, uint32_t{4});
    ASSERT_EQ(Run(request), 0);
    EXPECT_EQ(lpEMData->pictureWidth, 5u);
    EXPECT_EQ(lpEMData->pictureHeight, 4u);
    EXPECT_EQ(lpEMData->pictureDepth, 0u);
    EXPECT_EQ(PictureBytes().size(), 0u);
}

TEST_F(OpenPicture, BehindPointsThatDoNotFitThereIsNoBitmap) {
    DrawPicture(10, 6);
    Request request(kPrimitive);
    request.Put(16, int32_t{-5}).Put(20, uint32_t{0x0AAAAAAA});
    EXPECT_EQ(Run(request), 0);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_EQ(Run(CellsRequest(10, 1, 8, Bytes(12))), 300);
}

TEST_F(OpenPicture, OfSizesThatWrapTheNextCellArrayReports) {
    Draw(-2e9, 0, 2e9, 5);
    EXPECT_EQ(Run(OpenPictureRequest(0x10000000, 1, 24)), 0);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_EQ(lpEMData->pictureOpen, 1u);
    EXPECT_EQ(lpEMData->pictureWidth, 0x10000000u);
    EXPECT_EQ(Run(CellsRequest(1, 1, 24, Bytes(4))), 300);
    EXPECT_EQ(Run(OpenPictureRequest(0x1000, 0x100000, 8)), 0);
    EXPECT_EQ(Run(CellsRequest(1, 1, 8, Bytes(4))), 300);
    EXPECT_EQ(Run(OpenPictureRequest(1, 1, INT32_MIN)), 0);
    EXPECT_EQ(PictureBytes().size(), 0x10000000u);
    EXPECT_EQ(Run(CellsRequest(1, 1, 8, {1, 2, 3, 4})), 0);
}

// A width of 2^31 and more is negative as a signed word: the window is the greater one.
TEST_F(OpenPicture, AHugeWidthIsComparedSigned) {
    DrawPicture(10, 6);
    EXPECT_EQ(Run(OpenPictureRequest(0x80000000, 1, 24)), 0);
    EXPECT_EQ(lpEMData->pictureWidth, 0x80000000u);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_EQ(Run(OpenPictureRequest(0x7FFFFFFF, 1, 24)), 0);
    EXPECT_EQ(lpEMData->pictureWidth, 10u);
}

TEST_F(OpenPicture, WithoutMemoryTheNextCellArrayReportsIt) {
    DrawPicture(10, 6);
    {
        FailingMemory memory(1);
        EXPECT_EQ(Run(OpenPictureRequest(10, 6, 8)), 0);
    }
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_EQ(Run(CellsRequest(10, 1, 8, std::vector<uint8_t>(12))), 300);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
}

TEST_F(OpenPicture, TwiceStartsAnew) {
    DrawPicture(4, 6);
    ASSERT_EQ(Run(OpenPictureRequest(4, 6, 8)), 0);
    ASSERT_EQ(Run(CellsRequest(4, 1, 8, {1, 2, 3, 4})), 0);
    ASSERT_EQ(Run(OpenPictureRequest(4, 2, 8)), 0); // a leak checker sees the first one go
    EXPECT_EQ(lpEMData->rowsDone, 0u);
    EXPECT_EQ(PictureBytes(), std::vector<uint8_t>(8));
}

TEST_F(Primitive, OthersAreAcceptedAndChangeNothing) {
    DrawPicture(10, 6);
    ASSERT_EQ(Run(OpenPictureRequest(10, 6, 8)), 0);
    const EMData before = *lpEMData;
    for (int32_t primitive : {0, -1, -2, -3, -4, -7, -8, 5, 6, INT32_MIN, INT32_MAX})
        EXPECT_EQ(Run(PrimitiveRequest(primitive)), 0) << primitive;
    EXPECT_EQ(std::memcmp(&before, lpEMData, sizeof before), 0);
}

TEST_F(Primitive, ReturnsTheRequest) {
    DrawPicture(10, 6);
    Request request = PrimitiveRequest(-1);
    EXPECT_EQ(d_gdp(request.Data()), request.Data());
}

TEST_F(WritePicture, WritesAndFreesThePicture) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    ASSERT_EQ(Run(CellsRequest(16, 8, 24, std::vector<uint8_t>(16 * 8 * 3, 9))), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(lpEMData->pictureOpen, 0u);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_EQ(setup->header.imageWidth, 16u);
    EXPECT_EQ(setup->header.imageHeight, 8u);
    EXPECT_TRUE(IsFinished());
}

TEST_F(WritePicture, TellsItsProgress) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    host.calls.clear();
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(host.calls, (std::vector<StatusCall>{{0x1234, 0, 0, 0, 100, 0}}));
}

TEST_F(WritePicture, TellsItsProgressAfterAnotherExportToo) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    setup->exportRecord = nullptr; // as the bitmap door leaves it
    host.calls.clear();
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(host.calls.size(), 1u);
}

TEST_F(WritePicture, ACancelIsReportedAndTheCloseDeletesTheFile) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(Run(WritePictureRequest()), 901);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_TRUE(directory.Has("out.jpg"));
    EXPECT_EQ(Run(kCloseDevice), 901);
    EXPECT_FALSE(directory.Has("out.jpg"));
}

TEST_F(WritePicture, BeforeAnyPictureThereIsAnError) {
    DrawPicture(16, 8);
    EXPECT_EQ(Run(WritePictureRequest()), 27); // no rows
    EXPECT_TRUE(Written().empty());
}

// SOI and JFIF 20 bytes, quantisers 134, frame 19, Huffman tables 420, scan 14, EOI 2.
TEST_F(WritePicture, WithoutABitmapThereAreHeadersAndTheEnd) {
    DrawPicture(16, 8);
    {
        FailingMemory memory(1);
        ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    }
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(lpEMData->pictureOpen, 0u);
    const Bytes file = Written();
    EXPECT_EQ(file.size(), 609u);
    EXPECT_TRUE(Holds(file, "FF C0 00 11 08 00 08 00 10 03"));
    EXPECT_TRUE(EndsWith(file, FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 3F 00 FF D9")));
}

// The quantisers and the tables of a progressive file: of a scan there is nothing.
TEST_F(WritePicture, WithoutABitmapAProgressiveFileHasNoScans) {
    setup->operation = KOWEN_OPERATION_PROGRESSIVE;
    DrawPicture(16, 8);
    {
        FailingMemory memory(1);
        ASSERT_EQ(Run(OpenPictureRequest(16, 8, 8)), 0);
    }
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    const Bytes file = Written();
    EXPECT_TRUE(Holds(file, "FF C2 00 11 08 00 08 00 10 03"));
    EXPECT_FALSE(Holds(file, "FF DA"));
    EXPECT_TRUE(EndsWith(file, FromHex("FF D9")));
}

TEST_F(WritePicture, ASecondTimeItsSizeIsWrittenWithoutItsPixels) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    const Bytes file = Written();
    EXPECT_TRUE(std::equal(file.end() - 609, file.end() - 589, file.begin())); // SOI and JFIF
    EXPECT_TRUE(EndsWith(file, FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 3F 00 FF D9")));
}

TEST_F(WritePicture, WithoutABitmapEveryFormatIsHarmless) {
    for (int32_t format = 210; format <= 223; ++format)
        for (const int32_t depth : {0, 1, 4, 8, 16, 24, 32}) {
            setup->colorFormat = format;
            DrawPicture(16, 8);
            {
                FailingMemory memory(1);
                ASSERT_EQ(Run(OpenPictureRequest(16, 8, depth)), 0);
            }
            const int32_t code = Run(WritePictureRequest());
            EXPECT_TRUE(code == 0 || code == 27 || code == 303) << format << ", " << depth;
            Terminate();
        }
}

// Its four scans have a header each and no data.
TEST_F(WritePicture, AProgressivePictureWithoutColumnsHasItsScanHeaders) {
    setup->operation = KOWEN_OPERATION_PROGRESSIVE;
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(0, 8, 24)), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    const Bytes file = Written();
    EXPECT_TRUE(Holds(file, "FF C2 00 11 08 00 08 00 00 03"));
    EXPECT_TRUE(EndsWith(file, FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 00 00"
                                       "FF DA 00 08 01 01 00 01 3F 00"
                                       "FF DA 00 08 01 02 11 01 3F 00"
                                       "FF DA 00 08 01 03 11 01 3F 00 FF D9")));
}

TEST_F(WritePicture, ASequentialPictureWithoutColumnsHasNoData) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(0, 8, 24)), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    const Bytes file = Written();
    EXPECT_EQ(file.size(), 609u);
    EXPECT_TRUE(EndsWith(file, FromHex("FF DA 00 0C 03 01 00 02 11 03 11 00 3F 00 FF D9")));
}

// The picture takes the rows that it has room for, however many are sent.
TEST_F(WritePicture, RowsThatAreSentTooManyChangeNothing) {
    const Bytes cells(16 * 8 * 3, 9);
    Bytes files[3];
    const uint32_t rows[] = {8, 0x10000000, 0xFFFFFFFF};
    for (int i = 0; i < 3; ++i) {
        DrawPicture(16, 8);
        EXPECT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
        EXPECT_EQ(Run(FarCellsRequest(16, rows[i], -24, cells.data())), 0);
        EXPECT_EQ(Run(WritePictureRequest()), 0);
        files[i] = Written();
    }
    EXPECT_GT(files[0].size(), 609u);
    EXPECT_EQ(files[1], files[0]);
    EXPECT_EQ(files[2], files[0]);
}

TEST_F(WritePicture, WithoutAnOutputThereIsAnError) {
    NameOutput("/nonexistent/directory/a.jpg");
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 303);
    BeginBody(0, 0, 15, 7);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 303);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
}

TEST_F(WritePicture, WithoutASetupThereIsAnError) {
    record.setup = 0;
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 300);
}

class PaletteOf : public WritePicture, public testing::WithParamInterface<uint32_t> {};

// 1 << depth entries of 3 bytes: the first block that the primitive takes.
TEST_P(PaletteOf, HasAnEntryForEveryValue) {
    const uint32_t depth = GetParam();
    DrawPicture(16, 8);
    std::vector<uint8_t> colors(768, 0xC0);
    ASSERT_EQ(Run(ColorsRequest(0, colors)), 0);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, static_cast<int32_t>(depth))), 0);
    AllocationSizes allocations;
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(allocations.sizes[0], GlobalBlockBytes(3u << depth));
}

INSTANTIATE_TEST_SUITE_P(EveryIndexedDepth, PaletteOf, testing::Range(0u, 24u));

TEST_F(WritePicture, TrueColorHasNoPalette) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    AllocationSizes allocations;
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(allocations.sizes[0], GlobalBlockBytes(sizeof(PictureQuery)));
}

TEST_F(WritePicture, WithoutMemoryForThePaletteThePictureIsKept) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 8)), 0);
    const MemoryHandle bitmap = lpEMData->pictureBitmap;
    {
        FailingMemory memory(1);
        EXPECT_EQ(Run(WritePictureRequest()), 300);
    }
    EXPECT_EQ(lpEMData->pictureBitmap, bitmap);
    EXPECT_EQ(lpEMData->pictureOpen, 0u);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_TRUE(IsFinished());
}

TEST_F(WritePicture, ACellArrayAfterAFailedWriteDoesNotLoseThePicture) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 8)), 0);
    {
        FailingMemory memory(1);
        EXPECT_EQ(Run(WritePictureRequest()), 300);
    }
    EXPECT_EQ(Run(CellsRequest(16, 8, 24, std::vector<uint8_t>(384))), 0);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u); // a leak checker sees both bitmaps go
    EXPECT_EQ(Run(WritePictureRequest()), 0);
}

TEST_F(WritePicture, EveryMissingBlockIsAnErrorAndNothingIsLost) {
    int refused = 0;
    for (int k = 1;; ++k) {
        DrawPicture(16, 8);
        ASSERT_EQ(Run(OpenPictureRequest(16, 8, 8)), 0);
        int32_t code;
        bool failed;
        {
            FailingMemory memory(k);
            code = Run(WritePictureRequest());
            failed = memory.Failed();
        }
        Run(WritePictureRequest());
        EXPECT_EQ(lpEMData->pictureBitmap, 0u);
        Terminate();
        if (!failed) {
            EXPECT_EQ(code, 0);
            break;
        }
        refused += code != 0;
    }
    EXPECT_GE(refused, 3);
}

TEST_F(WritePicture, DepthsAndSizesBeyondAWordAreHarmless) {
    DrawPicture(16, 8);
    for (int32_t precision : {25, 31, 32, 33, 48, 65535, 65536, 65544, 0x10001, 0x7FFFF}) {
        Run(OpenPictureRequest(3, 2, precision));
        Run(WritePictureRequest());
        EXPECT_EQ(lpEMData->pictureBitmap, 0u) << precision;
    }
    Run(OpenPictureRequest(16, 65537, 1));
    Run(WritePictureRequest());
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
}

} // namespace
} // namespace kowen
