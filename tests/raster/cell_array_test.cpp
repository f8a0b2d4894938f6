#include "raster/cell_array.h"

#include "raster/device.h"
#include "support/failing_memory.h"

#include <numeric>

namespace kowen {
namespace {

using namespace test;

/// Draws into a memory output, so that nothing is left behind.
class CellArray : public RasterDeviceTest {
protected:
    /// A picture of that many columns and rows in a window of the same size.
    void OpenPicture(uint32_t columns, uint32_t rows, int32_t precision) {
        DrawPicture(static_cast<int>(columns), static_cast<int>(rows));
        ASSERT_EQ(Run(OpenPictureRequest(columns, rows, precision)), 0);
    }
    /// The same with the window's rows running the other way.
    void OpenPictureUpward(uint32_t columns, uint32_t rows, int32_t precision) {
        Draw(0, rows - 1, columns - 1, 0);
        ASSERT_EQ(Run(OpenPictureRequest(columns, rows, precision)), 0);
    }
    uint32_t RowsDone() const { return lpEMData->rowsDone; }
};

/// 1, 2, 3, ...
std::vector<uint8_t> Counting(size_t count, uint8_t first = 1) {
    std::vector<uint8_t> bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

std::vector<uint8_t> Joined(std::initializer_list<std::vector<uint8_t>> parts) {
    std::vector<uint8_t> bytes;
    for (const auto &part : parts)
        bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

std::vector<uint8_t> Zeros(size_t count) {
    return std::vector<uint8_t>(count);
}

TEST_F(CellArray, StripsFollowOneAnother) {
    OpenPicture(2, 5, 24); // rows of 6 bytes, padded to 8
    EXPECT_EQ(Run(CellsRequest(2, 2, 24, Counting(16))), 0);
    EXPECT_EQ(RowsDone(), 2u);
    EXPECT_EQ(Run(CellsRequest(2, 3, 24, Counting(24, 100))), 0);
    EXPECT_EQ(RowsDone(), 5u);
    EXPECT_EQ(PictureBytes(), Joined({Counting(16), Counting(24, 100)}));
}

TEST_F(CellArray, EqualCornersAreDrawnTopDown) {
    OpenPicture(4, 2, 8);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8), 3.5, 3.5)), 0);
    EXPECT_EQ(PictureBytes(), Counting(8));
}

TEST_F(CellArray, StopsAtThePicturesHeight) {
    OpenPicture(4, 3, 8);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8))), 0);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8, 100))), 0);
    EXPECT_EQ(RowsDone(), 3u);
    EXPECT_EQ(PictureBytes(), Joined({Counting(8), Counting(4, 100)}));
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8, 200))), 0);
    EXPECT_EQ(RowsDone(), 3u);
    EXPECT_EQ(PictureBytes(), Joined({Counting(8), Counting(4, 100)}));
}

// Height 4: the counter starts at 3, its row is row 2; three of four rows find a place.
TEST_F(CellArray, BottomUpStartsAtTheLastRowButOne) {
    OpenPicture(4, 4, 8);
    EXPECT_EQ(Run(CellsRequest(4, 4, 8, Counting(16), 3, 0)), 0);
    EXPECT_EQ(PictureBytes(), Joined({Counting(4, 9), Counting(4, 5), Counting(4, 1), Zeros(4)}));
    EXPECT_EQ(RowsDone(), 0u);
}

TEST_F(CellArray, BottomUpStripsMoveDownAndStartAgainAtZero) {
    OpenPicture(4, 4, 8);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8), 3, 0)), 0);
    EXPECT_EQ(RowsDone(), 1u);
    EXPECT_EQ(PictureBytes(), Joined({Zeros(4), Counting(4, 5), Counting(4, 1), Zeros(4)}));
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8, 100), 3, 0)), 0);
    EXPECT_EQ(RowsDone(), 0u);
    EXPECT_EQ(PictureBytes(), Joined({Counting(4, 100), Counting(4, 5), Counting(4, 1), Zeros(4)}));
    EXPECT_EQ(Run(CellsRequest(4, 1, 8, Counting(4, 200), 3, 0)), 0);
    EXPECT_EQ(RowsDone(), 2u);
    EXPECT_EQ(PictureBytes(),
              Joined({Counting(4, 100), Counting(4, 5), Counting(4, 200), Zeros(4)}));
}

TEST_F(CellArray, TheWindowsDirectionDecidesToo) {
    const std::vector<uint8_t> flipped = Joined({Counting(4, 1), Zeros(4)});
    OpenPictureUpward(4, 2, 8);
    EXPECT_EQ(Run(CellsRequest(4, 1, 8, Counting(4), 0, 3)), 0);
    EXPECT_EQ(PictureBytes(), flipped); // Q above P, window upward: row 0 of two
    EXPECT_EQ(RowsDone(), 0u);
    OpenPictureUpward(4, 2, 8);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8), 3, 0)), 0);
    EXPECT_EQ(PictureBytes(), Counting(8));
    OpenPicture(4, 2, 8);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8), 0, 3)), 0);
    EXPECT_EQ(PictureBytes(), Counting(8));
}

TEST_F(CellArray, AWindowOfOneRowIsDrawnTopDown) {
    Draw(0, 5, 3, 5);
    ASSERT_EQ(Run(OpenPictureRequest(4, 2, 8)), 0);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8), 3, 0)), 0);
    EXPECT_EQ(PictureBytes(), Counting(8));
}

// Rows of 4 pixels take 12 bytes; a window of 2 takes 6 of them, padded to 8.
TEST_F(CellArray, CutRowsAdvanceByTheirFullLengthAt24Bits) {
    OpenPicture(2, 2, 24);
    EXPECT_EQ(Run(CellsRequest(4, 2, 24, Counting(24))), 0);
    EXPECT_EQ(PictureBytes(), Joined({Counting(8, 1), Counting(8, 13)}));
}

// Rows of 8 pixels take 8 bytes, but the second row is read 4 bytes after the first.
TEST_F(CellArray, CutRowsAdvanceByTheCutLengthBelow24Bits) {
    OpenPicture(4, 2, 8);
    EXPECT_EQ(Run(CellsRequest(8, 2, 8, Counting(16))), 0);
    EXPECT_EQ(PictureBytes(), Joined({Counting(4, 1), Counting(4, 5)}));
}

// Rows of 2 pixels are 8 bytes long, those of the picture 12: the second row lies at byte 8.
TEST_F(CellArray, NarrowRowsLieByTheirOwnLength) {
    OpenPicture(4, 2, 24);
    EXPECT_EQ(Run(CellsRequest(2, 2, 24, Counting(16))), 0);
    EXPECT_EQ(PictureBytes(), Joined({Counting(16), Zeros(8)}));
}

TEST_F(CellArray, OneBitCellsAreInTheRequest) {
    OpenPicture(33, 2, -32768); // 5 bytes, padded to 8
    EXPECT_EQ(Run(CellsRequest(33, 2, -32768, Counting(16))), 0);
    EXPECT_EQ(PictureBytes(), Counting(16));
}

TEST_F(CellArray, NegativePrecisionsReadTheCellsElsewhere) {
    const std::vector<uint8_t> cells = Counting(16);
    OpenPicture(8, 2, 8);
    EXPECT_EQ(Run(FarCellsRequest(8, 2, -8, cells.data())), 0);
    EXPECT_EQ(PictureBytes(), cells);
    OpenPicture(4, 1, 24);
    EXPECT_EQ(Run(FarCellsRequest(4, 1, -24, cells.data())), 0);
    EXPECT_EQ(PictureBytes(), Counting(12));
    OpenPicture(8, 1, 1);
    EXPECT_EQ(Run(FarCellsRequest(8, 1, -1, cells.data())), 0);
    EXPECT_EQ(PictureBytes(), Counting(4));
}

TEST_F(CellArray, TheColorModeChangesTrueColorPixelsOnly) {
    setup->colorMode = KOWEN_COLOR_INVERTED;
    OpenPicture(2, 1, 24);
    EXPECT_EQ(Run(CellsRequest(2, 1, 24, {0, 1, 2, 253, 254, 255, 7, 8})), 0);
    EXPECT_EQ(PictureBytes(), (std::vector<uint8_t>{255, 254, 253, 2, 1, 0, 7, 8}));
    const std::vector<uint8_t> far = {10, 20, 30, 0};
    OpenPicture(1, 1, 24);
    EXPECT_EQ(Run(FarCellsRequest(1, 1, -24, far.data())), 0);
    EXPECT_EQ(PictureBytes(), (std::vector<uint8_t>{245, 235, 225, 0}));
    EXPECT_EQ(far, (std::vector<uint8_t>{10, 20, 30, 0}));
    OpenPicture(4, 1, 8);
    EXPECT_EQ(Run(CellsRequest(4, 1, 8, Counting(4))), 0);
    EXPECT_EQ(PictureBytes(), Counting(4));
}

TEST_F(CellArray, NothingIsWrittenWhileAPictureIsOpen) {
    OpenPicture(4, 2, 8);
    host.calls.clear();
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8))), 0);
    EXPECT_TRUE(host.calls.empty());
    EXPECT_EQ(static_cast<const uint8_t *>(lpEMData->outputBlock)[0], 0);
}

TEST_F(CellArray, WithoutMemoryForThePictureThereIsAnError) {
    DrawPicture(4, 2);
    {
        FailingMemory memory(1);
        EXPECT_EQ(Run(OpenPictureRequest(4, 2, 8)), 0);
    }
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8))), 300);
    EXPECT_EQ(RowsDone(), 0u);
}

TEST_F(CellArray, WithoutMemoryForItsOwnBitmapThereIsAnError) {
    DrawPicture(4, 2);
    FailingMemory memory(1);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8))), 300);
}

TEST_F(CellArray, NoCellsAreAnError) {
    OpenPicture(4, 2, 8);
    EXPECT_EQ(Run(FarCellsRequest(4, 2, -8, nullptr)), 300);
    EXPECT_EQ(RowsDone(), 0u);
}

TEST_F(CellArray, SizesThatWrapAreAnError) {
    Draw(-2e9, 0, 2e9, 1);
    ASSERT_EQ(Run(OpenPictureRequest(4, 2, 8)), 0);
    const uint8_t cell = 1;
    EXPECT_EQ(Run(FarCellsRequest(0x10000000, 1, -24, &cell)), 300); // bits of a row
    EXPECT_EQ(Run(FarCellsRequest(4, 1, INT32_MIN, &cell)), 300);    // bits of a pixel
    EXPECT_EQ(RowsDone(), 0u);
    EXPECT_EQ(Run(FarCellsRequest(0x1FFFFFFF, 9, -8, &cell)), 0); // no room for a row
    EXPECT_EQ(RowsDone(), 2u);
    EXPECT_EQ(PictureBytes(), Zeros(8));
}

TEST_F(CellArray, ItsOwnBitmapMustFit) {
    Draw(-2e9, 0, 2e9, 1);
    const uint8_t cell = 1;
    EXPECT_EQ(Run(FarCellsRequest(0x1FFFFFFF, 9, -8, &cell)), 300); // bytes of all rows
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
}

TEST_F(CellArray, FullRowsThatWrapAreAnErrorToo) {
    OpenPicture(4, 2, 24);
    const uint8_t cell = 1;
    EXPECT_EQ(Run(FarCellsRequest(0x10000000, 1, -24, &cell)), 300);
    EXPECT_EQ(RowsDone(), 0u);
    DrawPicture(4, 2);
    EXPECT_EQ(Run(FarCellsRequest(0x08000000, 11, -24, &cell)), 300);
}

// Rows that go into an open picture are as many as it takes of them, whatever their number.
TEST_F(CellArray, AnOpenPictureTakesItsRowsOfAnyNumber) {
    for (const uint32_t rows : {8u, 0x10000000u, 0xFFFFFFFFu}) {
        OpenPicture(16, 8, 24);
        const std::vector<uint8_t> cells = Counting(8 * 48);
        EXPECT_EQ(Run(FarCellsRequest(16, rows, -24, cells.data())), 0) << rows;
        EXPECT_EQ(RowsDone(), 8u) << rows;
        EXPECT_EQ(PictureBytes(), cells) << rows;
        Terminate();
    }
}

// Compared as a signed word, 2^32 - 1 rows are fewer than the 3 that are left: rows 2, 1 and 0 are
// drawn, and the counter goes round to 4. Row 7 would then be source row 4294967291.
TEST_F(CellArray, SourceRowsBeyondFourGibibytesAreNotRead) {
    OpenPicture(4, 8, 8);
    lpEMData->rowsDone = 3;
    const std::vector<uint8_t> cells = Counting(3 * 4);
    Request request = CellsRequest(4, 0xFFFFFFFF, -8, {}, 3, 0);
    EXPECT_EQ(Run(request.Put(102, cells.data())), 0);
    EXPECT_EQ(RowsDone(), 4u);
    EXPECT_EQ(PictureBytes(), Joined({Counting(4, 9), Counting(4, 5), Counting(4, 1), Zeros(20)}));
}

// Two 8-byte rows into a bitmap of 8 bytes: the second has no place, the counter moves by two.
TEST_F(CellArray, RowsOutsideTheBitmapAreNotWritten) {
    OpenPicture(4, 2, 8);
    EXPECT_EQ(Run(CellsRequest(2, 2, 24, Counting(16))), 0);
    EXPECT_EQ(PictureBytes(), Counting(8));
    EXPECT_EQ(RowsDone(), 2u);
}

TEST_F(CellArray, BottomUpRowsOutsideTheBitmapAreNotWrittenEither) {
    OpenPicture(4, 4, 8); // 16 bytes hold two rows of 8: numbers 0 and 1
    EXPECT_EQ(Run(CellsRequest(2, 4, 24, Counting(32), 3, 0)), 0);
    EXPECT_EQ(PictureBytes(), Joined({Counting(8, 17), Counting(8, 9)}));
    EXPECT_EQ(RowsDone(), 0u);
}

TEST_F(CellArray, ABitmapWithoutRoomForARowTakesNone) {
    OpenPicture(1, 1, 1);
    EXPECT_EQ(Run(CellsRequest(1, 1, 64, Counting(8))), 0);
    EXPECT_EQ(PictureBytes(), Zeros(4));
    EXPECT_EQ(RowsDone(), 1u);
}

// Height 0, bottom-up: the counter is set to -1 and runs down once around to 0.
TEST_F(CellArray, ACounterThatRunsAroundEnds) {
    DrawPicture(4, 2);
    ASSERT_EQ(Run(OpenPictureRequest(4, 0, 8)), 0);
    EXPECT_EQ(Run(CellsRequest(4, 2, 8, Counting(8), 3, 0)), 0);
    EXPECT_EQ(RowsDone(), 0u);
}

TEST_F(CellArray, ARunThatStartsOutsideComesIn) {
    OpenPicture(4, 3, 8);
    lpEMData->rowsDone = 0xFFFFFFFF; // one row before row 0
    EXPECT_EQ(Run(CellsRequest(4, 3, 8, Counting(12))), 0);
    EXPECT_EQ(PictureBytes(), Joined({Counting(4, 5), Counting(4, 9), Zeros(4)}));
    EXPECT_EQ(RowsDone(), 2u);
}

TEST_F(CellArray, ABottomUpRunThatStartsOutsideComesIn) {
    OpenPicture(4, 3, 8);
    lpEMData->rowsDone = 5; // its row is row 4
    EXPECT_EQ(Run(CellsRequest(4, 4, 8, Counting(16), 3, 0)), 0);
    EXPECT_EQ(PictureBytes(), Joined({Zeros(4), Counting(4, 13), Counting(4, 9)}));
    EXPECT_EQ(RowsDone(), 1u);
}

TEST_F(CellArray, HugeCountersEndAtOnce) {
    DrawPicture(4, 2);
    ASSERT_EQ(Run(OpenPictureRequest(0, 0x90000000, 8)), 0); // no columns, no bytes
    const uint8_t cell = 1;
    EXPECT_EQ(Run(FarCellsRequest(1, 0x3FFFFFFF, -8, &cell)), 0);
    EXPECT_EQ(RowsDone(), 0x3FFFFFFFu);
    EXPECT_EQ(Run(FarCellsRequest(0, 0xFFFFFFFF, -8, &cell)), 0);
    EXPECT_EQ(RowsDone(), 0x90000000u);
    EXPECT_EQ(Run(FarCellsRequest(0, 0xFFFFFFFF, -8, &cell)), 0);
    EXPECT_EQ(RowsDone(), 0x90000000u);
}

TEST_F(CellArray, WithoutAPictureTheImageIsBlank) {
    setup->header.xResolution = 0;
    DrawPicture(16, 8);
    const std::vector<uint8_t> cells(16 * 8 * 3, 200);
    EXPECT_EQ(Run(CellsRequest(16, 8, 24, cells)), 0);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
    EXPECT_EQ(RowsDone(), 0u);
    ASSERT_EQ(Run(kCloseDevice), 0);
    const auto *block = static_cast<const uint8_t *>(lpEMData->outputBlock);
    const std::vector<uint8_t> white(block, block + GlobalSize(GlobalHandle(block)));
    // Black cells give the same file.
    DrawPicture(16, 8);
    EXPECT_EQ(Run(CellsRequest(16, 8, 24, std::vector<uint8_t>(16 * 8 * 3))), 0);
    ASSERT_EQ(Run(kCloseDevice), 0);
    block = static_cast<const uint8_t *>(lpEMData->outputBlock);
    EXPECT_EQ(white, std::vector<uint8_t>(block, block + GlobalSize(GlobalHandle(block))));
}

TEST_F(CellArray, AnEarlierPicturesHeightCountsWithoutAPicture) {
    OpenPicture(16, 8, 24);
    EXPECT_EQ(Run(CellsRequest(16, 2, 24, std::vector<uint8_t>(96))), 0);
    EXPECT_EQ(Run(WritePictureRequest()), 0);
    EXPECT_EQ(Run(CellsRequest(16, 4, 24, std::vector<uint8_t>(192))), 0);
    EXPECT_EQ(RowsDone(), 6u);
    EXPECT_EQ(lpEMData->pictureBitmap, 0u);
}

TEST_F(CellArray, ReturnsTheRequest) {
    OpenPicture(4, 2, 8);
    Request request = CellsRequest(4, 2, 8, Counting(8));
    EXPECT_EQ(d_ca(request.Data()), request.Data());
}

} // namespace
} // namespace kowen
