#include "setup/escapes.h"

#include "platform/global_memory.h"
#include "setup/raster_query.h"
#include "setup/setup.h"
#include "setup/setup_fixture.h"
#include "setup/unlock_counter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <set>
#include <string>

namespace kowen {
namespace {

constexpr int32_t kHandled = 1;
constexpr int32_t kUnknown = 0;
constexpr int32_t kRejected = -1;
constexpr char kStart[] = "[S]\nDriver=d\n[T]\nQuality=3\n";

// A setup with a profile of the bytes kStart.
class EscapeTest : public SetupFixture {
protected:
    void SetUp() override {
        SetupFixture::SetUp();
        setup = Create(directory.Write("p.ini", kStart), "S");
    }

    template <typename T> int32_t Set(int32_t code, T value, bool persist = false) {
        return xEscapeSetup(handle, code, sizeof value, &value, nullptr, persist);
    }

    int32_t Get(int32_t code, void *out) { return xEscapeSetup(handle, code, 0, nullptr, out, 0); }

    std::string Profile() const { return directory.Read("p.ini"); }

    // Rejected, nothing changed, nothing persisted.
    template <typename T> void ExpectRejected(int32_t code, T value) {
        ExpectNothing(kRejected, code, sizeof value, &value);
    }

    void ExpectNothing(int32_t result, int32_t code, uint32_t size, const void *in) {
        SetupRecord before;
        std::memcpy(&before, setup, sizeof before);
        unsigned char out[64];
        std::memset(out, 0xA5, sizeof out);
        EXPECT_EQ(xEscapeSetup(handle, code, size, in, out, 1), result) << "code " << code;
        EXPECT_EQ(std::memcmp(&before, setup, sizeof before), 0) << "code " << code;
        EXPECT_EQ(Profile(), kStart) << "code " << code;
        for (const unsigned char byte : out)
            ASSERT_EQ(byte, 0xA5) << "code " << code;
    }

    // A setter of a value takes only its own size and needs an input.
    void ExpectRejectsOtherSizes(int32_t code, uint32_t right, const void *in) {
        for (const uint32_t size : {0u, 1u, 2u, 4u, 5u, 8u, 16u, 0xFFFFFFFFu})
            if (size != right)
                ExpectNothing(kRejected, code, size, in);
        ExpectNothing(kRejected, code, right, nullptr);
    }

    SetupRecord *setup = nullptr;
};

using EscapeSetColorMode = EscapeTest;
using EscapeGetColorMode = EscapeTest;
using EscapeSetColorFormat = EscapeTest;
using EscapeSetResolution = EscapeTest;
using EscapeSetWidth = EscapeTest;
using EscapeSetHeight = EscapeTest;
using EscapeGetResolution = EscapeTest;
using EscapeGetSize = EscapeTest;
using EscapeSetResolutionMode = EscapeTest;
using EscapeSetSizeMode = EscapeTest;
using EscapeHostValue = EscapeTest;
using EscapeSetQuality = EscapeTest;
using EscapeGetQuality = EscapeTest;
using EscapeSetQualityMode = EscapeTest;
using EscapeRasterQuery = EscapeTest;
using EscapeSetHostIo = EscapeTest;

TEST_F(EscapeTest, UnknownCodesChangeNothing) {
    const std::set<int32_t> known = {1,  9,  11, 12, 13, 14, 16, 17, 18,
                                     19, 25, 26, 44, 45, 46, 56, 57, 81};
    const double input = 1.0;
    for (int32_t code = -3; code <= 120; ++code)
        if (known.count(code) == 0)
            ExpectNothing(kUnknown, code, 4, &input);
    for (const int32_t code : {INT32_MIN, INT32_MAX, 65537, 0x10001})
        ExpectNothing(kUnknown, code, 4, &input);
}

TEST_F(EscapeTest, HandleZeroIsRejected) {
    const int32_t input = 101;
    int32_t out = 7;
    for (int32_t code = 0; code <= 82; ++code)
        EXPECT_EQ(xEscapeSetup(0, code, 4, &input, &out, 1), kRejected) << code;
    EXPECT_EQ(out, 7);
    EXPECT_EQ(lpRaster, setup);
}

// A handle of wrapped memory that is not there locks to nothing.
TEST_F(EscapeTest, AHandleThatCannotBeLockedIsRejected) {
    const MemoryHandle nothing = GlobalPointerToHandle(nullptr, 100);
    const int32_t input = 101;
    EXPECT_EQ(xEscapeSetup(nothing, 1, 4, &input, nullptr, 1), kRejected);
    EXPECT_EQ(xEscapeSetup(nothing, 3, 4, &input, nullptr, 1), kRejected);
    GlobalFree(nothing);
}

TEST_F(EscapeTest, TheCurrentSetupStaysCurrent) {
    const MemoryHandle other = CreateSetup(0, directory.File("absent").c_str(), nullptr, nullptr);
    SetupRecord *current = lpRaster;
    EXPECT_EQ(Set(1, 102), kHandled);
    EXPECT_EQ(lpRaster, current);
    EXPECT_EQ(hRaster, other);
    EXPECT_EQ(setup->colorMode, 104);
    EXPECT_EQ(current->colorMode, 103);
    DestroySetup(other);
    EXPECT_EQ(Set(1, 103), kHandled);
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_EQ(setup->colorMode, 105);
}

TEST_F(EscapeTest, InputsAndOutputsNeedNoAlignment) {
    alignas(8) unsigned char memory[40] = {};
    const int32_t resolution = 72;
    std::memcpy(memory + 1, &resolution, 4);
    EXPECT_EQ(xEscapeSetup(handle, 11, 4, memory + 1, nullptr, 0), kHandled);
    EXPECT_EQ(setup->header.xResolution, 72);
    const double width = 2.5;
    std::memcpy(memory + 3, &width, 8);
    EXPECT_EQ(xEscapeSetup(handle, 13, 8, memory + 3, nullptr, 0), kHandled);
    EXPECT_EQ(setup->width, 2.5);
    EXPECT_EQ(Get(45, memory + 1), kHandled);
    setup->sizeMode = 603;
    EXPECT_EQ(Get(17, memory + 5), kHandled);
    double out;
    std::memcpy(&out, memory + 5, 8);
    EXPECT_EQ(out, 2.5);
    const RasterQuery query = {96, 0, 0, 10, 10, 0, 0};
    std::memcpy(memory + 1, &query, sizeof query);
    EXPECT_EQ(xEscapeSetup(handle, 56, 0, memory + 1, memory + 3, 0), kHandled)
        << "the areas may even overlap";
}

TEST_F(EscapeTest, OnlyThePersistFlagPersists) {
    EXPECT_EQ(Set(1, 102), kHandled);
    EXPECT_EQ(Set(9, 140), kHandled);
    EXPECT_EQ(Set(11, 72), kHandled);
    EXPECT_EQ(Set(12, 72), kHandled);
    EXPECT_EQ(Set(13, 2.0), kHandled);
    EXPECT_EQ(Set(14, 2.0), kHandled);
    EXPECT_EQ(Set(44, 50), kHandled);
    EXPECT_EQ(Profile(), kStart);
}

TEST_F(EscapeTest, AnyNonZeroPersistFlagPersists) {
    const int32_t quality = 50;
    EXPECT_EQ(xEscapeSetup(handle, 44, 4, &quality, nullptr, INT32_MIN), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nQuality=50\n[T]\nQuality=3\n");
}

TEST_F(EscapeTest, ModesAreNeverPersisted) {
    EXPECT_EQ(Set(18, 3, true), kHandled);
    EXPECT_EQ(Set(19, 3, true), kHandled);
    EXPECT_EQ(Set(46, 1, true), kHandled);
    EXPECT_EQ(Profile(), kStart);
    EXPECT_EQ(setup->resolutionMode, 310);
    EXPECT_EQ(setup->sizeMode, 603);
    EXPECT_EQ(setup->qualityMode, 242);
}

// What a host writes, and what a profile has for the same.
TEST_F(EscapeTest, EachInputHasAName) {
    const std::initializer_list<std::pair<int32_t, int32_t>> resolutions = {
        {KOWEN_ESCAPE_RESOLUTION_FROM_DISPLAY, 307},
        {KOWEN_ESCAPE_RESOLUTION_FROM_PRINTER, 308},
        {KOWEN_ESCAPE_RESOLUTION_FROM_PICTURE, 309},
        {KOWEN_ESCAPE_RESOLUTION_USER, 310}};
    for (const auto &[input, stored] : resolutions) {
        EXPECT_EQ(Set(KOWEN_ESCAPE_SET_RESOLUTION_MODE, input), kHandled);
        EXPECT_EQ(setup->resolutionMode, stored);
    }
    const std::initializer_list<std::pair<int32_t, int32_t>> sizes = {
        {KOWEN_ESCAPE_SIZE_FROM_DISPLAY, 600},
        {KOWEN_ESCAPE_SIZE_FROM_PRINTER, 601},
        {KOWEN_ESCAPE_SIZE_FROM_PICTURE, 602},
        {KOWEN_ESCAPE_SIZE_USER, 603}};
    for (const auto &[input, stored] : sizes) {
        EXPECT_EQ(Set(KOWEN_ESCAPE_SET_SIZE_MODE, input), kHandled);
        EXPECT_EQ(setup->sizeMode, stored);
    }
    const std::initializer_list<std::pair<int32_t, int32_t>> colors = {
        {KOWEN_ESCAPE_COLOR_UNCHANGED, 103},
        {KOWEN_ESCAPE_COLOR_INVERTED, 104},
        {KOWEN_ESCAPE_COLOR_GREYS_INVERTED, 105},
        {KOWEN_ESCAPE_COLOR_GREY_SCALE, 106},
        {KOWEN_ESCAPE_COLOR_GREY_SCALE_INVERTED, 107}};
    for (const auto &[input, stored] : colors) {
        EXPECT_EQ(Set(KOWEN_ESCAPE_SET_COLOR_MODE, input), kHandled);
        EXPECT_EQ(setup->colorMode, stored);
    }
    EXPECT_EQ(Set(KOWEN_ESCAPE_SET_QUALITY_MODE, KOWEN_ESCAPE_QUALITY_USER), kHandled);
    EXPECT_EQ(setup->qualityMode, 242);
    EXPECT_EQ(Set(KOWEN_ESCAPE_SET_QUALITY_MODE, KOWEN_ESCAPE_QUALITY_FIXED), kHandled);
    EXPECT_EQ(setup->qualityMode, 241);
}

TEST_F(EscapeTest, WithoutProfileNothingIsPersisted) {
    setup = CreateWithoutProfile();
    EXPECT_EQ(Set(44, 50, true), kHandled);
    EXPECT_EQ(setup->quality, 50);
    EXPECT_EQ(Profile(), kStart);
    EXPECT_FALSE(directory.Has("absent.ini"));
}

TEST_F(EscapeTest, AFailedWriteIsNotReported) {
    std::snprintf(setup->profilePath, sizeof setup->profilePath, "%s",
                  directory.File("missing/p.ini").c_str());
    EXPECT_EQ(Set(44, 50, true), kHandled);
    EXPECT_EQ(setup->quality, 50);
}

TEST_F(EscapeTest, OneUnlockPerCall) {
    unlockCount = 0;
    EXPECT_EQ(Set(44, 50), kHandled);
    EXPECT_EQ(unlockCount, 1);
    EXPECT_EQ(Set(44, 500), kRejected);
    EXPECT_EQ(unlockCount, 2);
    EXPECT_EQ(Set(3, 50), kUnknown);
    EXPECT_EQ(unlockCount, 3);
    EXPECT_EQ(xEscapeSetup(0, 44, 4, nullptr, nullptr, 0), kRejected);
    EXPECT_EQ(unlockCount, 3) << "handle 0 is not locked";
}

TEST_F(EscapeSetColorMode, StoresTheHostsModePlusTwo) {
    for (int32_t mode = 101; mode <= 105; ++mode) {
        EXPECT_EQ(Set(1, mode), kHandled);
        EXPECT_EQ(setup->colorMode, mode + 2);
    }
}

TEST_F(EscapeSetColorMode, OtherModesAreRejected) {
    for (const int32_t mode : {0, 100, 106, 107, -101, INT32_MIN, INT32_MAX})
        ExpectRejected(1, mode);
}

TEST_F(EscapeSetColorMode, TheStoredModeIsPersisted) {
    EXPECT_EQ(Set(1, 105, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nColor Mode=107\n[T]\nQuality=3\n");
}

TEST_F(EscapeSetColorMode, OtherSizesAreRejected) {
    const int32_t input[2] = {101, 0};
    ExpectRejectsOtherSizes(1, 4, input);
}

TEST_F(EscapeGetColorMode, GivesTheHostsMode) {
    for (int32_t mode = 103; mode <= 107; ++mode) {
        setup->colorMode = mode;
        int32_t out = 0;
        EXPECT_EQ(xEscapeSetup(handle, 57, 4, nullptr, &out, 0), kHandled);
        EXPECT_EQ(out, mode - 2);
    }
}

TEST_F(EscapeGetColorMode, WritesFourBytes) {
    unsigned char out[8];
    std::memset(out, 0xA5, sizeof out);
    EXPECT_EQ(xEscapeSetup(handle, 57, 4, nullptr, out, 0), kHandled);
    EXPECT_EQ(out[4], 0xA5);
}

TEST_F(EscapeGetColorMode, AnotherStoredModeIsRejected) {
    for (const int32_t mode : {0, 102, 108, INT32_MIN, INT32_MAX}) {
        setup->colorMode = mode;
        ExpectNothing(kRejected, 57, 4, nullptr);
    }
}

TEST_F(EscapeGetColorMode, OtherSizesDoNothing) {
    for (const uint32_t size : {0u, 2u, 8u, 0xFFFFFFFFu})
        ExpectNothing(kHandled, 57, size, nullptr);
    setup->colorMode = 0;
    ExpectNothing(kHandled, 57, 8, nullptr);
}

TEST_F(EscapeSetColorFormat, TranslatesTheHostsFormats) {
    EXPECT_EQ(Set(9, 140), kHandled);
    EXPECT_EQ(setup->colorFormat, 215);
    EXPECT_EQ(Set(9, 146), kHandled);
    EXPECT_EQ(setup->colorFormat, 222);
    EXPECT_EQ(Set(9, 147), kHandled);
    EXPECT_EQ(setup->colorFormat, 212);
}

TEST_F(EscapeSetColorFormat, OtherFormatsAreRejected) {
    for (const int32_t format : {0, 139, 141, 145, 148, 212, 215, 222, -140})
        ExpectRejected(9, format);
}

TEST_F(EscapeSetColorFormat, TheStoredFormatIsPersisted) {
    EXPECT_EQ(Set(9, 140, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nColor Format=215\n[T]\nQuality=3\n");
    EXPECT_EQ(Set(9, 147, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nColor Format=212\n[T]\nQuality=3\n");
}

TEST_F(EscapeSetColorFormat, OtherSizesAreRejected) {
    const int32_t input[2] = {140, 0};
    ExpectRejectsOtherSizes(9, 4, input);
}

TEST_F(EscapeSetResolution, TheRangeIsTaken) {
    EXPECT_EQ(Set(11, 400), kHandled);
    EXPECT_EQ(Set(12, 32), kHandled);
    EXPECT_EQ(setup->header.xResolution, 400);
    EXPECT_EQ(setup->header.yResolution, 32);
    EXPECT_EQ(Set(11, 32), kHandled);
    EXPECT_EQ(Set(12, 400), kHandled);
    EXPECT_EQ(setup->header.xResolution, 32);
    EXPECT_EQ(setup->header.yResolution, 400);
}

TEST_F(EscapeSetResolution, OutOfRangeIsRejected) {
    for (const int32_t code : {11, 12})
        for (const int32_t value : {401, 31, 0, -32, 65536 + 96, INT32_MIN, INT32_MAX})
            ExpectRejected(code, value);
}

TEST_F(EscapeSetResolution, EachIsPersistedUnderItsKey) {
    EXPECT_EQ(Set(11, 72, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nX Resolution=72\n[T]\nQuality=3\n");
    EXPECT_EQ(Set(12, 300, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nX Resolution=72\nY Resolution=300\n[T]\nQuality=3\n");
}

TEST_F(EscapeSetResolution, OtherSizesAreRejected) {
    const int32_t input[2] = {96, 0};
    ExpectRejectsOtherSizes(11, 4, input);
    ExpectRejectsOtherSizes(12, 4, input);
}

constexpr double kJustBelow = 0.03124999;
constexpr double kJustAbove = 22.000001;

TEST_F(EscapeSetWidth, TheRangeIsTaken) {
    for (const double inches : {0.03125, 6.67, 22.0}) {
        EXPECT_EQ(Set(13, inches), kHandled);
        EXPECT_EQ(setup->width, inches);
        EXPECT_EQ(setup->height, 5.0);
    }
}

TEST_F(EscapeSetWidth, OutOfRangeIsRejected) {
    for (const double inches : {kJustBelow, kJustAbove, 0.0, -1.0, std::nan("")})
        ExpectRejected(13, inches);
    ExpectRejected(13, std::numeric_limits<double>::infinity());
}

// Kept deliberately: the format is ".3%g".
TEST_F(EscapeSetWidth, PersistedWidthLoadsAsAnother) {
    EXPECT_EQ(Set(13, 6.67, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nWidth=.36.67\n[T]\nQuality=3\n");
    EXPECT_EQ(setup->width, 6.67);
    lpRaster = setup;
    EXPECT_EQ(LoadProfile(1), 1);
    EXPECT_EQ(setup->width, 0.36);
}

TEST_F(EscapeSetWidth, ThePersistedTextHasSixDigits) {
    EXPECT_EQ(Set(13, 10.0 / 3, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nWidth=.33.33333\n[T]\nQuality=3\n");
    EXPECT_EQ(Set(13, 22.0, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nWidth=.322\n[T]\nQuality=3\n");
}

TEST_F(EscapeSetWidth, OtherSizesAreRejected) {
    const double input[2] = {1.0, 1.0};
    ExpectRejectsOtherSizes(13, 8, input);
}

TEST_F(EscapeSetHeight, TheRangeIsTaken) {
    for (const double inches : {0.03125, 5.0, 22.0}) {
        EXPECT_EQ(Set(14, inches), kHandled);
        EXPECT_EQ(setup->height, inches);
        EXPECT_EQ(setup->width, 6.67);
    }
}

TEST_F(EscapeSetHeight, OutOfRangeIsRejected) {
    for (const double inches : {kJustBelow, kJustAbove, 0.0, -1.0, std::nan("")})
        ExpectRejected(14, inches);
    ExpectRejected(14, -std::numeric_limits<double>::infinity());
}

TEST_F(EscapeSetHeight, ThePersistedTextHasThreeDigits) {
    EXPECT_EQ(Set(14, 6.67, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nHeight=6.67\n[T]\nQuality=3\n");
    EXPECT_EQ(Set(14, 10.0 / 3, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nHeight=3.33\n[T]\nQuality=3\n");
    lpRaster = setup;
    EXPECT_EQ(LoadProfile(1), 1);
    EXPECT_EQ(setup->height, 3.33);
}

TEST_F(EscapeSetHeight, OtherSizesAreRejected) {
    const double input[2] = {1.0, 1.0};
    ExpectRejectsOtherSizes(14, 8, input);
}

TEST_F(EscapeGetResolution, GivesBothUnlessThePictureDecides) {
    setup->header.xResolution = 72;
    setup->header.yResolution = 300;
    for (const int32_t mode : {307, 308, 310, 0}) {
        setup->resolutionMode = mode;
        int32_t out[3] = {7, 7, 7};
        EXPECT_EQ(Get(16, out), kHandled);
        EXPECT_EQ(out[0], 72);
        EXPECT_EQ(out[1], 300);
        EXPECT_EQ(out[2], 7);
    }
}

TEST_F(EscapeGetResolution, IsZeroFromThePicture) {
    EXPECT_EQ(Set(18, 2), kHandled);
    int32_t out[3] = {7, 7, 7};
    EXPECT_EQ(Get(16, out), kHandled);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 7);
}

TEST_F(EscapeGetSize, GivesBothUnlessThePictureDecides) {
    setup->width = 2.5;
    setup->height = 3.5;
    for (const int32_t mode : {600, 601, 603, 0}) {
        setup->sizeMode = mode;
        double out[3] = {7, 7, 7};
        EXPECT_EQ(Get(17, out), kHandled);
        EXPECT_EQ(out[0], 2.5);
        EXPECT_EQ(out[1], 3.5);
        EXPECT_EQ(out[2], 7);
    }
}

TEST_F(EscapeGetSize, IsZeroFromThePicture) {
    EXPECT_EQ(Set(19, 2), kHandled);
    double out[3] = {7, 7, 7};
    EXPECT_EQ(Get(17, out), kHandled);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_EQ(out[1], 0.0);
    EXPECT_EQ(out[2], 7);
}

TEST_F(EscapeTest, GettersNeedAnOutput) {
    for (const int32_t code : {16, 17, 26, 45})
        EXPECT_EQ(Get(code, nullptr), kRejected) << code;
    EXPECT_EQ(xEscapeSetup(handle, 57, 4, nullptr, nullptr, 0), kRejected);
}

TEST_F(EscapeTest, GettersIgnoreSizeAndInput) {
    int32_t out[4] = {};
    for (const int32_t code : {16, 17, 26, 45})
        EXPECT_EQ(xEscapeSetup(handle, code, 12345, out, out, 1), kHandled) << code;
    EXPECT_EQ(Profile(), kStart);
}

// codes are what the inputs 0, 1, ... set.
void ExpectMode(MemoryHandle handle, int32_t code, int32_t *mode,
                std::initializer_list<int32_t> codes) {
    int32_t input = 0;
    for (const int32_t expected : codes) {
        EXPECT_EQ(xEscapeSetup(handle, code, 4, &input, nullptr, 0), kHandled);
        EXPECT_EQ(*mode, expected);
        ++input;
    }
    const int32_t last = *mode;
    for (const int32_t other : {input, -1, last, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(xEscapeSetup(handle, code, 4, &other, nullptr, 0), kHandled);
        EXPECT_EQ(*mode, last) << other;
    }
}

TEST_F(EscapeSetResolutionMode, CountsTheModesFromZero) {
    ExpectMode(handle, 18, &setup->resolutionMode, {307, 308, 309, 310});
}

TEST_F(EscapeSetSizeMode, CountsTheModesFromZero) {
    ExpectMode(handle, 19, &setup->sizeMode, {600, 601, 602, 603});
}

TEST_F(EscapeSetQualityMode, CountsTheModesFromZero) {
    ExpectMode(handle, 46, &setup->qualityMode, {241, 242});
}

TEST_F(EscapeSetQualityMode, LeavesTheQuality) {
    EXPECT_EQ(Set(44, 50), kHandled);
    EXPECT_EQ(Set(46, 0), kHandled);
    EXPECT_EQ(setup->quality, 50);
}

TEST_F(EscapeTest, ModesOfAnotherSizeDoNothing) {
    const int32_t input[2] = {1, 1};
    for (const int32_t code : {18, 19, 46}) {
        for (const uint32_t size : {0u, 2u, 8u, 0xFFFFFFFFu})
            ExpectNothing(kHandled, code, size, input);
        ExpectNothing(kHandled, code, 8, nullptr);
        ExpectNothing(kRejected, code, 4, nullptr);
    }
}

TEST_F(EscapeHostValue, ThePointersOwnValueIsParked) {
    const auto value = static_cast<uintptr_t>(0x12345678FEDCBA98);
    EXPECT_EQ(xEscapeSetup(handle, 25, 99, reinterpret_cast<const void *>(value), nullptr, 1),
              kHandled);
    EXPECT_EQ(setup->hostValue, 0xFEDCBA98u);
    uint32_t out[2] = {7, 7};
    EXPECT_EQ(Get(26, out), kHandled);
    EXPECT_EQ(out[0], 0xFEDCBA98u);
    EXPECT_EQ(out[1], 7u);
    EXPECT_EQ(xEscapeSetup(handle, 25, 0, nullptr, nullptr, 0), kHandled);
    EXPECT_EQ(setup->hostValue, 0u);
    EXPECT_EQ(Profile(), kStart);
}

TEST_F(EscapeSetQuality, TheRangeIsTaken) {
    for (const int32_t quality : {1, 50, 100}) {
        EXPECT_EQ(Set(44, quality), kHandled);
        EXPECT_EQ(setup->quality, quality);
    }
    EXPECT_EQ(setup->qualityMode, 241) << "the mode stays fixed";
}

TEST_F(EscapeSetQuality, OutOfRangeIsRejected) {
    for (const int32_t quality : {0, 101, -1, 65536 + 50, INT32_MIN, INT32_MAX})
        ExpectRejected(44, quality);
}

TEST_F(EscapeSetQuality, IsPersisted) {
    EXPECT_EQ(Set(44, 7, true), kHandled);
    EXPECT_EQ(Profile(), "[S]\nDriver=d\nQuality=7\n[T]\nQuality=3\n");
}

TEST_F(EscapeSetQuality, OtherSizesAreRejected) {
    const int32_t input[2] = {50, 0};
    ExpectRejectsOtherSizes(44, 4, input);
}

TEST_F(EscapeGetQuality, GivesOneWord) {
    setup->quality = -5;
    int32_t out[2] = {7, 7};
    EXPECT_EQ(Get(45, out), kHandled);
    EXPECT_EQ(out[0], -5);
    EXPECT_EQ(out[1], 7);
}

TEST_F(EscapeRasterQuery, AnswersPixels) {
    int32_t out[4] = {7, 7, 7, 7};
    EXPECT_EQ(xEscapeSetup(handle, 56, 0, &kQuery, out, 0), kHandled);
    EXPECT_EQ(out[0], 200);
    EXPECT_EQ(out[1], 100);
    EXPECT_EQ(out[2], 24);
    EXPECT_EQ(out[3], 7);
    EXPECT_EQ(setup->header.xResolution, 100);
    EXPECT_EQ(setup->width, 2.0);
}

// Kept deliberately.
TEST_F(EscapeRasterQuery, AnswersForTheCurrentSetup) {
    const MemoryHandle other = CreateSetup(0, directory.File("absent").c_str(), nullptr, nullptr);
    lpRaster->sizeMode = 603;
    lpRaster->resolutionMode = 310;
    lpRaster->width = 1.0;
    lpRaster->height = 0.5;
    int32_t out[3] = {};
    EXPECT_EQ(xEscapeSetup(handle, 56, 0, &kQuery, out, 0), kHandled);
    // A page of 96 x 48 pixels, p = 201/101: 48 - trunc(48 - 48.24) = 48 and 96 - 0.
    EXPECT_EQ(out[0], 96);
    EXPECT_EQ(out[1], 48);
    EXPECT_EQ(setup->width, 6.67) << "the setup that was given stays";
    DestroySetup(other);
}

TEST_F(EscapeRasterQuery, WithoutCurrentSetupNothingIsWritten) {
    lpRaster = nullptr;
    ExpectNothing(kHandled, 56, 0, &kQuery);
}

TEST_F(EscapeRasterQuery, NeedsInputAndOutput) {
    int32_t out[3] = {7, 7, 7};
    EXPECT_EQ(xEscapeSetup(handle, 56, 0, nullptr, out, 0), kRejected);
    EXPECT_EQ(out[0], 7);
    EXPECT_EQ(xEscapeSetup(handle, 56, 0, &kQuery, nullptr, 0), kRejected);
    EXPECT_EQ(setup->width, 6.67);
}

intptr_t Procedure(uintptr_t, int32_t, void *, int32_t) {
    return 0;
}

TEST_F(EscapeSetHostIo, ThePointersOwnValueIsTheProcedure) {
    const auto *address = reinterpret_cast<const void *>(&Procedure);
    EXPECT_EQ(xEscapeSetup(handle, 81, 4, address, nullptr, 1), kHandled);
    EXPECT_EQ(setup->ioProcedure, &Procedure);
    EXPECT_EQ(Profile(), kStart);
    EXPECT_EQ(xEscapeSetup(handle, 81, 4, nullptr, nullptr, 0), kHandled);
    EXPECT_EQ(setup->ioProcedure, nullptr);
}

TEST_F(EscapeSetHostIo, OtherSizesDoNothing) {
    for (const uint32_t size : {0u, 2u, 8u, 16u})
        ExpectNothing(kHandled, 81, size, reinterpret_cast<const void *>(&Procedure));
}

// Kept deliberately.
TEST_F(EscapeSetHostIo, UnlocksTwice) {
    unlockCount = 0;
    EXPECT_EQ(xEscapeSetup(handle, 81, 4, nullptr, nullptr, 0), kHandled);
    EXPECT_EQ(unlockCount, 2);
}

} // namespace
} // namespace kowen
