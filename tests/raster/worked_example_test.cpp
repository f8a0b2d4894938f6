// The worked example of docs/device.md, step by step.
#include "raster/device.h"
#include "support/temp_directory.h"

#include <bit>

namespace kowen {
namespace {

using namespace test;

const uint8_t kBottomRow[] = {
    0x09, 0x04, 0, 0, 0, 0, 0,    0, 0, 0, 0,    0, 0, 0, 0, 0, // opcode
    0,    0,    0, 0, 0, 0, 0,    0, 0, 0, 0,    0, 0, 0, 0, 0, // P
    0,    0,    0, 0, 0, 0, 0,    0, 0, 0, 0,    0, 0, 0, 0, 0, // Q
    0,    0,    0, 0, 0, 0, 0,    0, 0, 0, 0,    0, 0, 0, 0, 0, //
    0,    0,    0, 0, 0, 0, 0,    0, 0, 0, 0,    0, 0, 0, 0, 0, // R
    0,    0,    0, 0, 0, 0, 0,    0, 2, 0, 0,    0, 1, 0, 0, 0, // nx, ny
    0x18, 0,    0, 0, 0, 0, 0xFF, 0, 0, 0, 0xFF, 0, 0, 0,       // precision, cells
};

class WorkedExample : public RasterDeviceTest {
protected:
    void Step(Request request, int32_t state) {
        EXPECT_EQ(Run(std::move(request)), 0);
        EXPECT_EQ(lpEMData->stateWord, state);
    }
    TempDirectory directory;
};

TEST_F(WorkedExample, RunsAsItIsWritten) {
    NameOutput(directory.File("small.jpg"));
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
    Step(Request(1), 2);
    Step(Request(3), 4);
    Request window(518);
    window.PutDoubles(16, {0.0, 0.0, 0.0, 1.0, 1.0, 0.0});
    Step(window, 4);
    Request resolution(521);
    resolution.Put(16, int16_t{1}).Put(24, 0.254);
    Step(resolution, 4);
    EXPECT_EQ(lpEMData->resolution, 100);
    Step(Request(4), 8);
    Request open(1034);
    open.Put(16, int32_t{-5}).Put(20, uint32_t{0}).Put(24, uint32_t{28});
    open.Put(28, uint32_t{2}).Put(32, uint32_t{2}).Put(36, int32_t{24}).Put(52, uint32_t{0});
    Step(open, 8);

    const std::vector<uint8_t> bottom = {255, 0, 0, 0, 255, 0, 0, 0};
    Request bottomRow = CellsRequest(2, 1, 24, bottom);
    static_assert(sizeof kBottomRow == 110);
    EXPECT_TRUE(std::endian::native != std::endian::little ||
                std::memcmp(bottomRow.Data(), kBottomRow, sizeof kBottomRow) == 0);
    Step(bottomRow, 8);
    Step(CellsRequest(2, 1, 24, {0, 0, 255, 255, 255, 255, 0, 0}), 8);
    EXPECT_EQ(PictureBytes(), (std::vector<uint8_t>{255, 0, 0, 0, 255, 0, 0, 0, //
                                                    0, 0, 255, 255, 255, 255, 0, 0}));
    Request write(1034);
    write.Put(16, int32_t{-6}).Put(20, uint32_t{0}).Put(24, uint32_t{0});
    Step(write, 8);
    Step(Request(5), 16);
    Step(Request(2), 1);
    EXPECT_EQ(Terminate(), 0);

    const std::string file = directory.Read("small.jpg");
    ASSERT_GT(file.size(), 600u);
    EXPECT_EQ(file.substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(file.substr(file.size() - 2), "\xFF\xD9");
    const size_t frame = file.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    EXPECT_EQ(file.substr(frame + 5, 4), std::string("\0\2\0\2", 4));
}

} // namespace
} // namespace kowen
