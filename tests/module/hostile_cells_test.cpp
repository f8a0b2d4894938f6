// Hosts whose requests to the raster device are cut short, or ask for pictures that cannot be. All
// requests end at a page that nobody may touch, where it matters.
#include "module/hostile_host.h"

namespace {

using namespace kowen::test;

class HostileCells : public HostileHost {
protected:
    HostileCells() { EXPECT_EQ(raster.Initialise(setup, ""), 0); }
    ~HostileCells() override { raster.Terminate(); }

    void BeginBody(double x2, double y2) {
        EXPECT_EQ(raster.Run(kOpenDevice), 0);
        EXPECT_EQ(raster.Run(kBeginPicture), 0);
        EXPECT_EQ(raster.Run(WindowRequest(0, 0, x2, y2)), 0);
        EXPECT_EQ(raster.Run(ResolutionRequest(96)), 0);
        EXPECT_EQ(raster.Run(kBeginBody), 0);
    }
    /// A request that ends right before a page that nobody may touch.
    int32_t RunGuarded(Request request, size_t bytes) {
        const GuardedBytes guarded(request.Data(), bytes);
        return raster.Call(KOWEN_DD_DISPATCH, guarded.Data());
    }

    HostileDevice raster{host.module, "RASTER_dd_entry"};
};

TEST_F(HostileCells, PicturesBeyond32BitsTakeNoCells) {
    BeginBody(65535, 10);
    const Request pictures[] = {
        OpenPictureRequest(65536, 65536, 24), OpenPictureRequest(65536, 0xFFFFFFFF, 1),
        OpenPictureRequest(65536, 2, INT32_MAX), OpenPictureRequest(65536, 2, INT32_MIN)};
    for (const Request &picture : pictures) {
        EXPECT_EQ(raster.Run(picture), 0);
        EXPECT_EQ(raster.Run(CellsRequest(1, 1, 24, {1, 2, 3, 0})), 300);
    }
    EXPECT_EQ(raster.Run(WritePictureRequest()), 0);
}

TEST_F(HostileCells, PicturesOfNothingAreWrittenAsSuch) {
    BeginBody(15, 7);
    for (const auto &[width, height, depth] :
         {std::array{0, 0, 24}, {0, 8, 24}, {16, 0, 24}, {16, 8, 0}, {0, 0, 0}}) {
        EXPECT_EQ(raster.Run(OpenPictureRequest(static_cast<uint32_t>(width),
                                                static_cast<uint32_t>(height), depth)),
                  0);
        EXPECT_EQ(raster.Run(CellsRequest(0, 0, depth, {})), 0);
        const int32_t answer = raster.Run(WritePictureRequest());
        EXPECT_TRUE(answer == 0 || answer == 27) << answer;
    }
}

TEST_F(HostileCells, OddDepthsDoNoHarm) {
    BeginBody(15, 7);
    for (const int32_t depth :
         {2, 3, 5, 7, 9, 12, 15, 16, 17, 25, 31, 33, 48, 64, -1, -24, -32768}) {
        EXPECT_EQ(raster.Run(OpenPictureRequest(16, 8, depth)), 0) << depth;
        const ExportBytes cells(16 * 8 * 16, 0x77);
        Request request = CellsRequest(16, 8, depth < 0 ? -depth : depth, cells);
        raster.Run(request);
        const int32_t answer = raster.Run(WritePictureRequest());
        EXPECT_TRUE(answer == 0 || answer == 27 || answer == 300) << depth << ": " << answer;
    }
}

TEST_F(HostileCells, CellsAtNoAddressAreRefused) {
    BeginBody(15, 7);
    EXPECT_EQ(raster.Run(OpenPictureRequest(16, 8, 24)), 0);
    EXPECT_EQ(raster.Run(FarCellsRequest(16, 8, -24, nullptr)), 300);
    EXPECT_EQ(raster.Run(WritePictureRequest()), 0);
}

TEST_F(HostileCells, CellsElsewhereAreReadToTheirEndAndNoFurther) {
    BeginBody(15, 7);
    const GuardedBytes cells(plain.bitmap.pixels);
    EXPECT_EQ(raster.Run(OpenPictureRequest(16, 8, 24)), 0);
    EXPECT_EQ(RunGuarded(FarCellsRequest(16, 8, -24, cells.Data()), 102 + sizeof(void *)), 0);
    EXPECT_EQ(raster.Run(WritePictureRequest()), 0);
}

TEST_F(HostileCells, RequestsAreReadToTheirEndAndNoFurther) {
    EXPECT_EQ(RunGuarded(Request(kOpenDevice), 16), 0);
    EXPECT_EQ(RunGuarded(Request(kBeginPicture), 16), 0);
    EXPECT_EQ(RunGuarded(WindowRequest(0, 0, 15, 7), 64), 0);
    EXPECT_EQ(RunGuarded(Request(kSetViewport).PutDoubles(16, {1, 2, 3, 4, 5, 6}), 64), 0);
    EXPECT_EQ(RunGuarded(Request(kSetBackground).Put(16, uint16_t{0}).Put(18, uint8_t{0}), 19), 0);
    EXPECT_EQ(RunGuarded(ResolutionRequest(96), 32), 0);
    EXPECT_EQ(RunGuarded(Request(kBeginBody), 16), 0);
    EXPECT_EQ(RunGuarded(OpenPictureRequest(16, 8, 24), 56), 0);
    EXPECT_EQ(RunGuarded(CellsRequest(16, 8, 24, plain.bitmap.pixels), 102 + 384), 0);
    EXPECT_EQ(RunGuarded(WritePictureRequest(), 28), 0);
    EXPECT_EQ(RunGuarded(Request(kQueryWindow), 16), 0);
    EXPECT_EQ(RunGuarded(Request(kPopErrors).Put(16, INT32_MIN), 20), 0);
    EXPECT_EQ(RunGuarded(Request(kEndPicture), 16), 0);
    EXPECT_EQ(RunGuarded(Request(kCloseDevice), 16), 0);
}

TEST_F(HostileCells, ColourCountsThatAreTooSmallMeanNoColours) {
    BeginBody(15, 7);
    for (const uint32_t count : {0u, 1u, 2u, 3u, 4u})
        for (const uint32_t start : {0u, 255u, 256u, 0xFFFFFFFFu})
            EXPECT_EQ(RunGuarded(Request(kSetColors, count).Put(16, start), 20), 0) << count;
}

TEST_F(HostileCells, PictureDataShorterThanItShouldBeCountsAsZero) {
    BeginBody(15, 7);
    for (uint32_t length = 0; length <= 28; ++length) {
        Request request = OpenPictureRequest(16, 8, 24);
        request.Put(24, length);
        EXPECT_EQ(RunGuarded(request, 28 + length), 0) << length;
    }
    EXPECT_EQ(raster.Run(OpenPictureRequest(16, 8, 24, 0, 0xFFFFFFFF % 3)), 0);
    Request endless(kPrimitive);
    EXPECT_EQ(RunGuarded(endless.Put(16, -5).Put(20, 0xFFFFFFFFu), 24), 0);
    EXPECT_EQ(raster.Run(CellsRequest(16, 1, 24, std::vector<uint8_t>(48))), 300);
}

TEST_F(HostileCells, TheReturnAreaIsNeverLeft) {
    for (const uint32_t size : {0u, 1u, 47u, 48u, 49u}) {
        raster.record.returnAreaSize = size;
        ASSERT_EQ(raster.Call(KOWEN_DD_INITIALISE, &raster.record), 0);
        EXPECT_NE(raster.record.returnArea, nullptr);
        BeginBody(15, 7);
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(raster.Run(i % 2 == 0 ? kQueryWindow : kQueryViewport), 0);
        const double x2 = 15;
        const auto *answers = static_cast<const char *>(raster.record.returnArea);
        EXPECT_TRUE(size < 48 || std::memcmp(answers + 24, &x2, 8) == 0);
    }
}

TEST_F(HostileCells, AReturnAreaLargerThanMemoryIsRefused) {
    testing::internal::CaptureStdout();
    raster.record.returnAreaSize = 0xFFFFFFFF;
    const int32_t answer = raster.Call(KOWEN_DD_INITIALISE, &raster.record);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(answer, 300);
    EXPECT_EQ(raster.Run(kOpenDevice), 0);
}

TEST_F(HostileCells, SixtyCapabilitiesAreWrittenAndNoMore) {
    const std::vector<int32_t> words(60, 1234);
    const GuardedBytes capabilities(words.data(), 240);
    raster.record.capabilities = reinterpret_cast<int32_t *>(capabilities.Data());
    ASSERT_EQ(raster.Call(KOWEN_DD_INITIALISE, &raster.record), 0);
    EXPECT_EQ(raster.record.capabilities[0], 100);
    EXPECT_EQ(raster.record.capabilities[6], 1234);
    EXPECT_EQ(raster.record.capabilities[59], -1);
}

} // namespace
