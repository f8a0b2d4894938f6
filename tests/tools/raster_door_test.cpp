// kowen export --door raster: the same files as through the bitmap door, and how it fails.
#include "host/raster_door.h"

#include "host/error.h"
#include "support/jpeg_decode.h"
#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/png_file.h"
#include "tools/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <map>
#include <memory>

namespace kowen::test {
namespace {

using Options = std::vector<std::string>;

class RasterDoor : public testing::Test {
protected:
    // Exports bytes as a picture and returns the file.
    std::vector<uint8_t> Export(const std::string &picture, const std::string &door,
                                Options options) {
        const std::string output = directory.File("out.jpg");
        std::filesystem::remove(output);
        options.insert(options.begin(),
                       {"export", directory.Write("in", picture), output, "--door", door});
        result = RunKowen(options);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return ReadJpegFile(output);
    }

    DecodedJpeg ExpectSame(const std::string &picture, const Options &options = {}) {
        const std::vector<uint8_t> drawn = Export(picture, "raster", options);
        EXPECT_GT(drawn.size(), 600U);
        EXPECT_TRUE(drawn == Export(picture, "bitmap", options)) << testing::PrintToString(options);
        return DecodeJpeg(drawn);
    }

    const TempDirectory directory;
    ProgramResult result;
};

// Three strips, the last one short, and an odd height.
constexpr int kWidth = 97;
constexpr int kHeight = 149;

TEST_F(RasterDoor, MakesTheBitmapDoorsFileOf24Bits) {
    const TestPicture picture = MakeSoftPicture(kWidth, kHeight);
    const DecodedJpeg jpeg = ExpectSame(Ppm(picture));
    EXPECT_TRUE(jpeg.Clean());
    EXPECT_EQ(jpeg.height, kHeight + 1);
    EXPECT_GT(Psnr(jpeg, picture), 30);
    ExpectSame(Ppm(picture), {"--progressive"});
    ExpectSame(Ppm(picture), {"--colour", "grey"});
    ExpectSame(Ppm(picture), {"--colour", "rgb444", "--quality", "60"});
    ExpectSame(Ppm(picture), {"--output-to", "callback"});
}

TEST_F(RasterDoor, MakesTheBitmapDoorsFileOf8Bits) {
    PngPicture png = {40, 70, 8, kPngPalette, {}, "", 0, 0};
    for (int i = 0; i < 200; ++i)
        png.palette += {static_cast<char>(i), static_cast<char>(255 - i), static_cast<char>(i / 2)};
    for (int y = 0; y < 70; ++y) {
        std::string row;
        for (int x = 0; x < 40; ++x)
            row += static_cast<char>((x * 3 + y) % 200);
        png.rows.push_back(row);
    }
    ExpectSame(Png(png));
    ExpectSame(Png(png), {"--progressive"});
    ExpectSame(Png(png), {"--colour", "grey"});
    ExpectSame(Png(png), {"--json"});
    png.colours = kPngGrey;
    png.palette.clear();
    ExpectSame(Png(png));
}

TEST_F(RasterDoor, MakesTheBitmapDoorsFileOfEveryDepth) {
    for (const char *depth : {"1", "4", "8", "24", "32"})
        ExpectSame(Ppm(MakeSoftPicture(61, 66)), {"--depth", depth});
}

// The device changes the colours of 24-bit pixels and of palettes itself; once is enough.
TEST_F(RasterDoor, ChangesTheColoursOnce) {
    for (const char *mode : {"inverted", "greys-inverted", "grey", "grey-inverted"}) {
        for (const char *depth : {"8", "24", "32"})
            ExpectSame(Ppm(MakeSoftPicture(32, 20)), {"--colour-mode", mode, "--depth", depth});
    }
}

TEST_F(RasterDoor, FitsIntoTheSameSizes) {
    const std::string picture = Ppm(MakeSoftPicture(120, 80));
    ExpectSame(picture, {"--size", "1x1in"});
    ExpectSame(picture, {"--size", "2x1in", "--dpi", "100"});
    ExpectSame(picture, {"--size", "page", "--dpi", "page", "--page", "300x200px@72"});
    EXPECT_EQ(ExpectSame(picture, {"--dpi", "80"}).xDensity, 80);
    const DecodedJpeg jpeg = ExpectSame(picture, {"--size", "60x60px"});
    EXPECT_EQ(jpeg.width, 60);
    EXPECT_EQ(jpeg.height, 40);
}

// 55 pixels at 75 dpi come to 54.99 pixels, of which the filter makes 54.
TEST_F(RasterDoor, KeepsThePixelsRatherThanTheResolution) {
    PngPicture png = {55, 56,   8, kPngRgb, std::vector<std::string>(56, std::string(165, 'x')),
                      "", 2953, 0};
    const DecodedJpeg jpeg = DecodeJpeg(Export(Png(png), "raster", {}));
    EXPECT_EQ(jpeg.width, 55);
    EXPECT_EQ(jpeg.height, 56);
    EXPECT_NEAR(jpeg.xDensity, 75, 3);
    EXPECT_NE(jpeg.xDensity, 75);
}

TEST_F(RasterDoor, IsInTheReport) {
    Export(Ppm(MakeSoftPicture(16, 16)), "raster", {"--json"});
    EXPECT_EQ(nlohmann::json::parse(result.output)["door"], "raster");
    Export(Ppm(MakeSoftPicture(16, 16)), "bitmap", {"--json"});
    EXPECT_EQ(nlohmann::json::parse(result.output)["door"], "bitmap");
}

TEST_F(RasterDoor, AFailingWriteKeepsTheOldFile) {
    const std::string picture = directory.Write("in.ppm", Ppm(MakeSoftPicture(200, 150)));
    const std::string output = directory.Write("out.jpg", "precious");
    ProgramSetting setting;
    setting.beforeStart = [path = directory.Path()] {
        setenv("TMPDIR", path.c_str(), 1);
        const rlimit limit = {1500, 1500};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
    };
    for (const char *way : {"file", "callback"}) {
        result =
            RunKowen({"export", picture, output, "--door", "raster", "--output-to", way}, setting);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.errors, "kowen: " + output + ": File too large\n");
        EXPECT_EQ(directory.Read("out.jpg"), "precious");
        size_t files = 0;
        for ([[maybe_unused]] const auto &entry :
             std::filesystem::directory_iterator(directory.Path()))
            ++files;
        EXPECT_EQ(files, 2U);
    }
}

// A door that answers a code to one opcode, and counts what it is sent.
struct FakeDoor {
    static int32_t Device(uint32_t, uint16_t function, void *record) {
        if (function == KOWEN_DD_INITIALISE)
            return initialiseResult;
        if (function == KOWEN_DD_TERMINATE) {
            ++terminated;
            return KOWEN_OK;
        }
        DdRequest request = {};
        std::memcpy(&request, record, sizeof request);
        ++sent[request.opcode];
        return request.opcode == failingOpcode ? failure : KOWEN_OK;
    }

    static int32_t Hand(int16_t, void *out, int16_t) {
        const DeviceDoorFunction device = Device;
        std::memcpy(out, &device, sizeof device);
        return 0;
    }

    static inline std::map<uint32_t, int> sent;
    static inline int terminated;
    static inline int32_t initialiseResult;
    static inline uint32_t failingOpcode;
    static inline int32_t failure;
};

class RasterDoorCodes : public testing::Test {
protected:
    static void SetUpTestSuite() { host::StartPictureLibrary(); }

    // Plays a picture to the fake door and returns the message of the failure.
    std::string Play(uint32_t failingOpcode, int32_t failure, int32_t initialiseResult = KOWEN_OK) {
        FakeDoor::sent.clear();
        FakeDoor::terminated = 0;
        FakeDoor::failingOpcode = failingOpcode;
        FakeDoor::failure = failure;
        FakeDoor::initialiseResult = initialiseResult;
        host::FilterModule module(KOWEN_MODULE);
        module.rasterDoor = FakeDoor::Hand;
        const host::Setup setup(module, "", "");
        host::Picture picture(directory.Write("in.ppm", Ppm(MakeSoftPicture(8, 130))), 24);
        const host::Bitmap bitmap(module, &picture, KOWEN_COLOR_UNCHANGED);
        host::Progress progress(false);
        try {
            host::RasterDoor door(module, setup, &progress, "out.jpg");
            door.ToStore(bitmap, 96, {}, store.get());
        } catch (const host::HostError &error) {
            EXPECT_EQ(error.Status(), host::kExitFailure);
            return error.what();
        }
        return "";
    }

    const TempDirectory directory;
    std::unique_ptr<host::ByteStore> store = std::make_unique<host::MemoryStore>();
};

TEST_F(RasterDoorCodes, SuccessIsEveryRequestOnceAndThreeStrips) {
    EXPECT_EQ(Play(0, 0), "");
    const std::map<uint32_t, int> expected = {{1, 1},   {2, 1},   {3, 1},    {4, 1},   {5, 1},
                                              {518, 1}, {521, 1}, {1033, 3}, {1034, 2}};
    EXPECT_EQ(FakeDoor::sent, expected);
    EXPECT_EQ(FakeDoor::terminated, 1);
}

TEST_F(RasterDoorCodes, AreReportedWithFileAndReason) {
    EXPECT_EQ(Play(1033, 300), "out.jpg: not enough memory for the export (code 300)");
    EXPECT_EQ(Play(1034, 27), "out.jpg: not enough memory for the export (code 27)");
    EXPECT_EQ(Play(1034, -1), "out.jpg: not enough memory for the export (code -1)");
    EXPECT_EQ(Play(1, 303), "out.jpg: the filter could not open or close its output (code 303)");
    EXPECT_EQ(Play(2, 901), "out.jpg: the export was stopped (code 901)");
    EXPECT_EQ(Play(1034, 5), "out.jpg: the filter gave up the export (code 5)");
}

TEST_F(RasterDoorCodes, AFailureEndsTheDeviceAtOnce) {
    Play(1033, 300);
    EXPECT_EQ(FakeDoor::sent[1033], 1);
    EXPECT_EQ(FakeDoor::sent[2], 0);
    EXPECT_EQ(FakeDoor::terminated, 1);
}

TEST_F(RasterDoorCodes, ADeviceThatDoesNotBeginIsNotEnded) {
    EXPECT_EQ(Play(0, 0, 300), "out.jpg: not enough memory for the export (code 300)");
    EXPECT_TRUE(FakeDoor::sent.empty());
    EXPECT_EQ(FakeDoor::terminated, 0);
}

// What the store met is the reason, whatever the device makes of it.
TEST_F(RasterDoorCodes, TheStoresErrorComesFirst) {
    class FailedStore : public host::MemoryStore {
        int Finish() noexcept override { return ENOSPC; }
    };
    store = std::make_unique<FailedStore>();
    EXPECT_EQ(Play(2, 303), "out.jpg: No space left on device");
}

} // namespace
} // namespace kowen::test
