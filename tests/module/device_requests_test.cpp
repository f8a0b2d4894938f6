// What a host asks of the raster device and of a setup besides pictures, through the loaded module:
// questions, errors, colours, values that it parks.
#include "module/hostile_host.h"

namespace {

using namespace kowen::test;

class DeviceRequests : public HostileHost {
protected:
    DeviceRequests() { EXPECT_EQ(raster.Initialise(setup, Path("out.jpg")), 0); }
    ~DeviceRequests() override { raster.Terminate(); }

    void BeginPicture() {
        ASSERT_EQ(raster.Run(kOpenDevice), 0);
        ASSERT_EQ(raster.Run(kBeginPicture), 0);
    }
    /// The first bytes of the device's answers as values.
    template <typename T, size_t count> std::array<T, count> Answers(size_t offset = 0) const {
        std::array<T, count> values;
        std::memcpy(values.data(), static_cast<const char *>(raster.record.returnArea) + offset,
                    sizeof values);
        return values;
    }
    /// Colour format 212, sequential, quality 90; the caller destroys it.
    MemoryHandle MakeSetupOf(int32_t colorMode) const {
        const std::string profile = host.directory.Write(
            "colours.ini", "[S]\nDriver=d\nColor Format=212\nQuality Mode=242\nQuality=90\n"
                           "Color Mode=" +
                               std::to_string(colorMode) + "\n");
        return host.createSetup(0, profile.c_str(), "S", nullptr);
    }
    /// A picture of one colour, drawn on the device.
    ExportBytes DrawFlat(int32_t colorMode, uint8_t red, uint8_t green, uint8_t blue) {
        const MemoryHandle with = MakeSetupOf(colorMode);
        RecordedExport flat = plain;
        flat.bitmap = MakeFlat(16, 8, red, green, blue);
        const ExportBytes jpeg = Draw(flat, with);
        host.destroySetup(with);
        return jpeg;
    }

    HostileDevice raster{host.module, "RASTER_dd_entry"};
};

// The viewport is answered as x1, y2, anything, y1, x2, anything. The device was given an area of
// 64 bytes, so the second answer is cut to 16.
TEST_F(DeviceRequests, TheViewportAndTheWindowAreAnswered) {
    BeginPicture();
    EXPECT_EQ(raster.Run(WindowRequest(1, 2, 4, 5)), 0);
    EXPECT_EQ(raster.Run(Request(kSetViewport).PutDoubles(16, {11, 12, 13, 14, 15, 16})), 0);
    EXPECT_EQ(raster.Run(kQueryViewport), 0);
    const auto viewport = Answers<double, 6>();
    EXPECT_EQ(viewport[0], 11);
    EXPECT_EQ(viewport[1], 15);
    EXPECT_EQ(viewport[3], 12);
    EXPECT_EQ(viewport[4], 14);
    EXPECT_EQ(raster.Run(kQueryWindow), 0);
    EXPECT_EQ((Answers<double, 2>(48)), (std::array<double, 2>{1, 2}));
}

TEST_F(DeviceRequests, ABackgroundChangesNoPicture) {
    std::vector<Request> requests = DrawingRequests(plain.bitmap);
    Request background(kSetBackground);
    background.PutBytes(16, "\x01\x02\x03", 3);
    requests.insert(requests.begin() + 2, background);
    EXPECT_EQ(RunAll(raster, requests), std::vector<int32_t>(requests.size()));
    EXPECT_EQ(FileBytes("out.jpg"), plain.jpeg);
}

// Errors are counted as too many for a stack of none, so that there is none to take back.
TEST_F(DeviceRequests, ErrorsCannotBeTakenBackAndAreForgotten) {
    BeginPicture();
    ASSERT_EQ(raster.Run(WindowRequest(0, 0, 65535, 10)), 0);
    ASSERT_EQ(raster.Run(ResolutionRequest(96)), 0);
    ASSERT_EQ(raster.Run(kBeginBody), 0);
    ASSERT_EQ(raster.Run(OpenPictureRequest(65536, 65536, 24)), 0);
    EXPECT_EQ(raster.Run(CellsRequest(1, 1, 24, {1, 2, 3, 0})), KOWEN_ERR_MEMORY);
    std::memset(raster.record.returnArea, 0x55, 64);
    EXPECT_EQ(raster.Run(Request(kPopErrors).Put(16, int32_t{5})), 0);
    EXPECT_EQ((Answers<uint32_t, 2>()), (std::array<uint32_t, 2>{0, 0x55555555}));
    EXPECT_EQ(raster.Run(kEmptyErrors), 0);
    EXPECT_EQ((Answers<uint32_t, 2>()), (std::array<uint32_t, 2>{0, 0x55555555}));
    EXPECT_EQ(raster.Run(Request(kPopErrors).Put(16, int32_t{-2})), 0);
    EXPECT_EQ((Answers<uint32_t, 3>()), (std::array<uint32_t, 3>{0, 0xFFFFFFFE, 0x55555555}));
}

TEST_F(DeviceRequests, TheShortDoorsTellTheVersion) {
    for (const char *door : {"RASTER_dd_entry", "dd_entry"}) {
        uint32_t words[2] = {7, 7};
        const auto call = host.module.Entry<ShortDoorFunction>(door);
        EXPECT_EQ(call(KOWEN_DOOR_VERSION, words, 0), 0);
        EXPECT_EQ(words[0], 0x02000005u);
        EXPECT_EQ(words[1], 7u);
    }
}

// The pointer's own value is parked, of which 32 bits are kept.
TEST_F(DeviceRequests, AHostParksAValueInTheSetup) {
    const auto value = reinterpret_cast<const void *>(static_cast<uintptr_t>(0x12345678FEDCBA98));
    EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_SET_HOST_VALUE, 0, value, nullptr, 0), 1);
    uint32_t words[2] = {7, 7};
    EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_GET_HOST_VALUE, 0, nullptr, words, 0), 1);
    EXPECT_EQ(words[0], 0xFEDCBA98u);
    EXPECT_EQ(words[1], 7u);
    EXPECT_EQ(host.escapeSetup(otherSetup, KOWEN_ESCAPE_GET_HOST_VALUE, 0, nullptr, words, 0), 1);
    EXPECT_EQ(words[0], 0u) << "another setup";
}

// (3 x 200 + 6 x 100 + 50) / 10 = 125, and 255 - 125 = 130.
TEST_F(DeviceRequests, GreyColourModesChangeTheCells) {
    raster.Terminate();
    const auto grey = [](uint8_t value) {
        return PlainExport(MakeFlat(16, 8, value, value, value),
                           MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 90));
    };
    EXPECT_EQ(DrawFlat(KOWEN_COLOR_GREY_SCALE, 200, 100, 50), grey(125));
    EXPECT_EQ(DrawFlat(KOWEN_COLOR_GREY_SCALE_INVERTED, 200, 100, 50), grey(130));
    EXPECT_EQ(DrawFlat(KOWEN_COLOR_GREYS_INVERTED, 100, 105, 100),
              PlainExport(MakeFlat(16, 8, 155, 150, 155),
                          MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 90)));
}

// A host's own colours are changed in place, red (255, 0, 0) to 765 / 10 = 76.
TEST_F(DeviceRequests, GreyColourModesChangeTheColourTable) {
    raster.Terminate();
    for (const auto &[mode, expected] :
         {std::pair(KOWEN_COLOR_GREY_SCALE, 76), std::pair(KOWEN_COLOR_GREY_SCALE_INVERTED, 179)}) {
        const MemoryHandle with = MakeSetupOf(mode);
        ASSERT_EQ(raster.Initialise(with, Path("out.jpg")), 0);
        BeginPicture();
        ASSERT_EQ(raster.Run(kBeginBody), 0);
        Request colors = ColorsRequest(0, {255, 0, 0});
        EXPECT_EQ(raster.Call(KOWEN_DD_DISPATCH, colors.Data()), 0);
        for (size_t channel = 0; channel < 3; ++channel)
            EXPECT_EQ(*colors.At(20 + channel), expected);
        raster.Terminate();
        host.destroySetup(with);
    }
}

} // namespace
