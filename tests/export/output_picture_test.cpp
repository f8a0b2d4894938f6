#include "export/output_picture.h"

#include "export/draw_cell.h"
#include "platform/global_memory.h"
#include "reference/jpeg/encoder.h"
#include "support/bitmaps.h"
#include "support/current_setup.h"
#include "support/failing_memory.h"
#include "support/heap_use.h"
#include "support/hex.h"
#include "support/memory_output.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using Bytes = std::vector<uint8_t>;

/// A picture that a drawing routine of the test's own hands over in bands.
struct BandedPicture {
    explicit BandedPicture(const TestBitmap &picture) : bitmap(picture) {}
    BandedPicture(const BandedPicture &) = delete;
    BandedPicture &operator=(const BandedPicture &) = delete;
    ~BandedPicture() { GlobalFree(band); }

    // What the routine answers.
    TestBitmap bitmap;
    int32_t resolution = 100;
    double extraWidth = 0;   ///< pixels
    double extraHeight = 0;  ///< pixels
    uint32_t bandHeight = 8; ///< 0: open fails
    uint16_t pixelOrder = kPixelOrderRgb;
    bool drawsNothing = false;   ///< answers handle 0
    uint32_t blockBytesLess = 0; ///< of the band's block
    bool growsPalette = false;

    // What it was asked.
    std::vector<std::string> calls;
    OffscreenFormat format = {};
    Bytes palette;
    MemoryHandle band = 0;

    static uintptr_t Routine(int32_t operation, void *record, uintptr_t argument1,
                             uintptr_t argument2) {
        if (operation == kDrawQuery)
            return static_cast<BandedPicture *>(record)->AnswerQuery(
                *reinterpret_cast<PictureQuery *>(argument1));
        auto &offscreen = *static_cast<OffscreenRecord *>(record);
        auto &self = *static_cast<BandedPicture *>(offscreen.picture);
        switch (operation) {
        case kDrawOpen:
            return self.Open(offscreen, *reinterpret_cast<OffscreenFormat *>(argument1));
        case kDrawBand:
            EXPECT_EQ(offscreen.bandHeight, self.bandHeight);
            return self.Draw(static_cast<int>(argument1), static_cast<int>(argument2));
        default:
            self.calls.push_back("close");
            return 0;
        }
    }

private:
    uintptr_t AnswerQuery(PictureQuery &query) {
        calls.push_back("query");
        query.width = (bitmap.width + extraWidth) / resolution;
        query.height = (bitmap.height + extraHeight) / resolution;
        query.resolution = resolution;
        query.pixelOrder = pixelOrder;
        return 0;
    }

    uintptr_t Open(OffscreenRecord &offscreen, const OffscreenFormat &given) {
        calls.push_back("open");
        format = given;
        EXPECT_EQ(offscreen.width, given.width);
        EXPECT_EQ(offscreen.bandHeight, given.bandHeight);
        EXPECT_EQ(offscreen.depth, given.depth);
        EXPECT_EQ(offscreen.palette, given.palette);
        EXPECT_EQ(offscreen.paletteCount, given.paletteCount);
        EXPECT_EQ(offscreen.routine, &Routine);
        EXPECT_EQ(offscreen.flag, 0);
        if (given.palette != nullptr)
            palette.assign(given.palette, given.palette + given.paletteCount * 3);
        if (growsPalette) {
            // At another place for certain.
            auto *grown = static_cast<uint8_t *>(qivPtrGlobalAlloc(3 * 300));
            qivPtrGlobalFree(offscreen.palette);
            offscreen.palette = grown;
            offscreen.paletteCount = 300;
        }
        return bandHeight;
    }

    // Rows of the picture, the band's bottom row first; rows below the bitmap are blank.
    uintptr_t Draw(int first, int last) {
        calls.push_back("draw " + std::to_string(first) + ".." + std::to_string(last));
        GlobalFree(band);
        band = 0;
        if (drawsNothing)
            return 0;
        const auto stride = static_cast<size_t>(bitmap.Stride());
        Bytes bytes(stride * static_cast<size_t>(last - first));
        for (int y = first; y < std::min(last, bitmap.height); ++y)
            std::copy_n(bitmap.Pixel(0, bitmap.height - 1 - y), stride,
                        bytes.begin() + static_cast<std::ptrdiff_t>(stride) * (last - 1 - y));
        bytes.resize(bytes.size() - blockBytesLess);
        band = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), Lock<uint8_t>(band));
        return band;
    }
};

/// A host's status procedure that keeps its calls and refuses when it is told to.
struct StatusHost {
    explicit StatusHost(const CurrentSetup &setup) {
        record.context = reinterpret_cast<uintptr_t>(this);
        record.statusCallback = &Callback;
        setup->exportRecord = &record;
    }

    int refusedCall = 0; ///< the progress call that is refused, from 1; 0 none
    int32_t confirmation = 1;
    std::vector<int32_t> percents;
    int confirmations = 0;
    ExportRecord record = {};

private:
    static int32_t Callback(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                            int32_t value2, int32_t value3, void *reply) {
        auto &self = *reinterpret_cast<StatusHost *>(context);
        EXPECT_EQ(value1, 0);
        EXPECT_EQ(value3, 0);
        if (command == KOWEN_STATUS_CONFIRM_STOP) {
            EXPECT_EQ(code, KOWEN_STATUS_CODE_CONFIRM);
            EXPECT_NE(reply, nullptr);
            ++self.confirmations;
            return self.confirmation;
        }
        EXPECT_EQ(command, KOWEN_STATUS_PROGRESS);
        EXPECT_EQ(code, 0);
        EXPECT_EQ(reply, nullptr);
        self.percents.push_back(value2);
        return static_cast<int>(self.percents.size()) == self.refusedCall ? 5 : 0;
    }
};

int32_t Output(const MemoryOutput &output, BandedPicture &picture) {
    return OutputPicture(output.File(), &picture, &BandedPicture::Routine);
}

Bytes Reference(const TestBitmap &bitmap, int operation = KOWEN_OPERATION_SEQUENTIAL) {
    return reference::ReferenceExport(bitmap.pixels, bitmap.width, bitmap.height,
                                      KOWEN_FORMAT_YCC422, operation, 75, 100, 100);
}

/// Height and width in the frame header: where they stand for three components.
constexpr size_t kFrameSize = 20 + 134 + 5;

TEST(OutputPicture, DrawsBandAfterBand) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(21, 20));
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"query", "open", "draw 0..8", "draw 8..16",
                                                       "draw 16..20", "close"}));
    EXPECT_EQ(output.Bytes(), Reference(picture.bitmap));
}

TEST(OutputPicture, OpensAnOffscreenOfThePicturesSize) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(21, 20));
    Output(output, picture);
    EXPECT_EQ(picture.format.width, 21u);
    EXPECT_EQ(picture.format.bandHeight, 20u);
    EXPECT_EQ(picture.format.depth, 24);
    EXPECT_EQ(picture.format.paletteCount, 0);
    EXPECT_EQ(picture.format.palette, nullptr);
}

TEST(OutputPicture, OneBandMayHoldTheWholePicture) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const CurrentSetup setup(KOWEN_FORMAT_YCC422, operation);
        const MemoryOutput output;
        BandedPicture picture(MakeNoise(21, 20));
        picture.bandHeight = 20;
        EXPECT_EQ(Output(output, picture), 0);
        EXPECT_EQ(picture.calls,
                  (std::vector<std::string>{"query", "open", "draw 0..20", "close"}));
        EXPECT_EQ(output.Bytes(), Reference(picture.bitmap, operation));
    }
}

TEST(OutputPicture, OddHeightGainsOneRow) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 101));
    picture.bandHeight = 102;
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(picture.format.bandHeight, 102u);
    const Bytes bytes = output.Bytes();
    ASSERT_GT(bytes.size(), kFrameSize + 4);
    EXPECT_EQ(bytes[kFrameSize], 0);
    EXPECT_EQ(bytes[kFrameSize + 1], 102);
    EXPECT_EQ(bytes[kFrameSize + 3], 16);
}

TEST(OutputPicture, FractionsOfAPixelAreCutOff) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 7));
    picture.extraWidth = 0.9;
    picture.extraHeight = 0.9;
    picture.bandHeight = 8;
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(picture.format.width, 16u);
    EXPECT_EQ(picture.format.bandHeight, 8u); // 7.9 is 7, and 7 is odd
}

// The first band is what the routine asked for, even beyond the picture.
TEST(OutputPicture, BandTallerThanThePictureIsDrawnWhole) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 20));
    picture.bandHeight = 24;
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"query", "open", "draw 0..24", "close"}));
    EXPECT_TRUE(EndsWith(output.Bytes(), kEndOfImage));
}

TEST(OutputPicture, PixelOrderOfTheQueryReachesTheCellWriter) {
    const CurrentSetup setup;
    const MemoryOutput output;
    const MemoryOutput exchanged;
    BandedPicture rgb(MakeNoise(16, 8));
    BandedPicture bgr(rgb.bitmap);
    for (int row = 0; row < 8; ++row)
        for (int x = 0; x < 16; ++x)
            std::swap(bgr.bitmap.Pixel(x, row)[0], bgr.bitmap.Pixel(x, row)[2]);
    bgr.pixelOrder = kPixelOrderBgr;
    EXPECT_EQ(Output(output, rgb), 0);
    EXPECT_EQ(Output(exchanged, bgr), 0);
    EXPECT_EQ(exchanged.Bytes(), output.Bytes());
}

TEST(OutputPicture, ReportsThePercentageAfterEachBand) {
    const CurrentSetup setup;
    StatusHost host(setup);
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(host.percents, (std::vector<int32_t>{33, 66, 100}));
    EXPECT_EQ(host.confirmations, 0);
}

TEST(OutputPicture, CancelInTheFirstBandLeavesNoEoi) {
    const CurrentSetup setup;
    StatusHost host(setup);
    host.refusedCall = 1;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    EXPECT_EQ(Output(output, picture), 901);
    EXPECT_EQ(host.percents, std::vector<int32_t>{33});
    EXPECT_EQ(host.confirmations, 1);
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"query", "open", "draw 0..8", "close"}));

    // Headers and the whole bytes of the first band.
    const Bytes bytes = output.Bytes();
    const Bytes whole = Reference(picture.bitmap);
    ASSERT_LT(bytes.size(), whole.size());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), whole.begin()));
    EXPECT_FALSE(EndsWith(bytes, kEndOfImage));
    EXPECT_GT(bytes.size(), 20u + 134 + 19 + 420 + 14);
}

TEST(OutputPicture, CancelInTheLastBandLeavesNoEoi) {
    const CurrentSetup setup;
    StatusHost host(setup);
    host.refusedCall = 3;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    EXPECT_EQ(Output(output, picture), 901);
    EXPECT_EQ(host.percents, (std::vector<int32_t>{33, 66, 100}));
    EXPECT_FALSE(EndsWith(output.Bytes(), kEndOfImage));
}

TEST(OutputPicture, RefusalThatIsNotConfirmedGoesOn) {
    const CurrentSetup setup;
    StatusHost host(setup);
    host.refusedCall = 2;
    host.confirmation = 0;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(host.percents, (std::vector<int32_t>{33, 66, 100}));
    EXPECT_EQ(host.confirmations, 1);
    EXPECT_EQ(output.Bytes(), Reference(picture.bitmap));
}

TEST(OutputPicture, BandHeightZeroGives27) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    picture.bandHeight = 0;
    EXPECT_EQ(Output(output, picture), 27);
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"query", "open", "close"}));
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(OutputPicture, WithoutAQueryBlockGives27) {
    const CurrentSetup setup;
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    const FailingMemory memory(1);
    EXPECT_EQ(Output(output, picture), 27);
    EXPECT_TRUE(picture.calls.empty());
    EXPECT_TRUE(output.Bytes().empty());
}

TEST(OutputPicture, WithoutAPaletteOrAnOffscreenGives27) {
    for (const int failing : {2, 3}) {
        const CurrentSetup setup(221, KOWEN_OPERATION_SEQUENTIAL);
        const MemoryOutput output;
        BandedPicture picture(MakeNoise(16, 24));
        const FailingMemory memory(failing);
        EXPECT_EQ(Output(output, picture), 27);
        EXPECT_EQ(picture.calls, std::vector<std::string>{"query"}) << failing;
        EXPECT_TRUE(output.Bytes().empty());
    }
}

TEST(OutputPicture, BandsWithoutPixelsCodeNothing) {
    const CurrentSetup setup;
    StatusHost host(setup);
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    picture.drawsNothing = true;
    EXPECT_EQ(Output(output, picture), 0);
    EXPECT_EQ(host.percents, (std::vector<int32_t>{33, 66, 100}));
    const Bytes bytes = output.Bytes();
    EXPECT_EQ(bytes.size(), 20u + 134 + 19 + 420 + 14 + 2);
    EXPECT_TRUE(EndsWith(bytes, FromHex("00 3F 00 FF D9")));
}

TEST(OutputPicture, FailedBandEndsThePictureAtOnce) {
    const CurrentSetup setup;
    StatusHost host(setup);
    const MemoryOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    picture.blockBytesLess = 1;
    EXPECT_EQ(Output(output, picture), 300);
    EXPECT_TRUE(host.percents.empty());
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"query", "open", "draw 0..8", "close"}));
    EXPECT_FALSE(EndsWith(output.Bytes(), kEndOfImage));
}

TEST(OutputPicture, SmallDepthsHaveABlankPalette) {
    const struct {
        int32_t colorFormat;
        uint16_t depth;
        uint16_t count;
    } cases[] = {{218, 3, 8}, {219, 4, 16}, {221, 8, 256}, {0, 0, 1}};
    for (const auto &c : cases) {
        const CurrentSetup setup(c.colorFormat, 245);
        const MemoryOutput output;
        BandedPicture picture(MakeNoise(16, 8));
        EXPECT_EQ(Output(output, picture), 0);
        EXPECT_EQ(picture.format.depth, c.depth) << c.colorFormat;
        EXPECT_EQ(picture.format.paletteCount, c.count) << c.colorFormat;
        EXPECT_EQ(picture.palette, Bytes(c.count * 3u, 0)) << c.colorFormat;
    }
}

TEST(OutputPicture, NegativeDepthCodesHaveNoPalette) {
    for (const int32_t colorFormat : {216, 217}) {
        const CurrentSetup setup(colorFormat, KOWEN_OPERATION_SEQUENTIAL);
        const MemoryOutput output;
        BandedPicture picture(MakeNoise(16, 8));
        EXPECT_EQ(Output(output, picture), 0);
        EXPECT_EQ(picture.format.depth, colorFormat == 216 ? 65532 : 65528);
        EXPECT_EQ(picture.format.paletteCount, 0);
    }
}

TEST(OutputPicture, EveryFailedAllocationEndsTidily) {
    for (const bool withPalette : {false, true}) {
        int failures = 0;
        for (int k = 1;; ++k) {
            const CurrentSetup setup(withPalette ? 221 : KOWEN_FORMAT_YCC422,
                                     KOWEN_OPERATION_SEQUENTIAL);
            const HostOutput output;
            BandedPicture picture(MakeNoise(16, 24));
            picture.drawsNothing = withPalette; // the fake checks no allocation of its own
            const FailingMemory memory(k);
            const int32_t result = OutputPicture(output.File(), &picture, &BandedPicture::Routine);
            if (!memory.Failed())
                break;
            ++failures;
            EXPECT_TRUE(result == 0 || result == 27 || result == 300 || result == -1)
                << k << ": " << result;
            if (std::find(picture.calls.begin(), picture.calls.end(), "open") !=
                picture.calls.end()) {
                EXPECT_EQ(picture.calls.back(), "close") << k;
            }
            if (!picture.drawsNothing && k >= 3)
                break; // from here on the bands themselves fail
        }
        EXPECT_GE(failures, 3);
    }
}

void ExpectNoLeak(int32_t expected, const std::function<void(BandedPicture &)> &prepare,
                  int refusedCall = 0, int32_t colorFormat = KOWEN_FORMAT_YCC422, int failing = 0) {
    const CurrentSetup setup(colorFormat, KOWEN_OPERATION_SEQUENTIAL);
    const TestBitmap bitmap = MakeNoise(16, 24);
    ExpectNothingLeaks([&] {
        StatusHost host(setup);
        host.refusedCall = refusedCall;
        BandedPicture picture(bitmap);
        prepare(picture);
        const FailingMemory memory(failing);
        EXPECT_EQ(OutputPicture(0, &picture, &BandedPicture::Routine), expected);
    });
}

TEST(OutputPicture, LeaksNothingOnAnyExit) {
    ExpectNoLeak(0, [](BandedPicture &) {});
    ExpectNoLeak(
        0, [](BandedPicture &) {}, 0, 221);
    ExpectNoLeak(
        0, [](BandedPicture &picture) { picture.growsPalette = true; }, 0, 221);
    ExpectNoLeak(
        901, [](BandedPicture &) {}, 1);
    ExpectNoLeak(
        901, [](BandedPicture &) {}, 3, 221);
    ExpectNoLeak(300, [](BandedPicture &picture) { picture.blockBytesLess = 1; });
    ExpectNoLeak(27, [](BandedPicture &picture) { picture.bandHeight = 0; });
    ExpectNoLeak(
        27, [](BandedPicture &picture) { picture.bandHeight = 0; }, 0, 221);
    ExpectNoLeak(
        27, [](BandedPicture &) {}, 0, KOWEN_FORMAT_YCC422, 1);
    ExpectNoLeak(
        27, [](BandedPicture &) {}, 0, KOWEN_FORMAT_YCC422, 2);
    ExpectNoLeak(
        27, [](BandedPicture &picture) { picture.drawsNothing = true; }, 0, KOWEN_FORMAT_YCC422, 3);
}

/// A host's bitmap as ExportCellData hands it to the drawing routine.
class CellPicture {
public:
    explicit CellPicture(const TestBitmap &bitmap) {
        record.depth = static_cast<uint16_t>(bitmap.depth);
        record.width = static_cast<uint16_t>(bitmap.width);
        record.height = static_cast<uint16_t>(bitmap.height);
        record.resolution = 100;
        record.targetWidth = bitmap.width;
        record.targetHeight = bitmap.height;
        record.pixels = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bitmap.pixels.size()));
        std::copy(bitmap.pixels.begin(), bitmap.pixels.end(), Lock<uint8_t>(record.pixels));
    }
    ~CellPicture() { GlobalFree(record.pixels); }
    CellPicture(const CellPicture &) = delete;
    CellPicture &operator=(const CellPicture &) = delete;

    BitmapRecord record = {};
};

TEST(OutputPicture, BitmapThatNeedsNoConversionIsPassedThroughWithoutACopy) {
    const CurrentSetup setup;
    const MemoryOutput output;
    const TestBitmap bitmap = MakeNoise(20, 16);
    CellPicture picture(bitmap);
    EXPECT_EQ(OutputPicture(output.File(), &picture.record, DrawExportCellData), 0);
    EXPECT_EQ(output.Bytes(), Reference(bitmap));
    // The colours were mapped where they stood.
    TestBitmap after = bitmap;
    std::copy_n(Lock<uint8_t>(picture.record.pixels), after.pixels.size(), after.pixels.begin());
    const uint8_t *before = bitmap.Pixel(3, 5);
    const uint8_t *mapped = after.Pixel(3, 5);
    EXPECT_EQ((reference::Pixel{mapped[0], mapped[1], mapped[2]}),
              reference::Mapped({before[0], before[1], before[2]}, KOWEN_FORMAT_YCC422));
}

// Its third allocation; the host is not told that anything was written.
TEST(OutputPicture, WithoutAnEnvironmentGives27) {
    const CurrentSetup setup;
    StatusHost host(setup);
    const HostOutput output;
    BandedPicture picture(MakeNoise(16, 24));
    const FailingMemory memory(3);
    EXPECT_EQ(OutputPicture(output.File(), &picture, &BandedPicture::Routine), 27);
    EXPECT_TRUE(host.percents.empty());
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"query", "open", "close"}));
    EXPECT_FALSE(EndsWith(output.Bytes(), FromHex("FF D9")));
}

// The three steps of a conversion each need a bitmap of their own.
TEST(OutputPicture, ABitmapThatCannotBeConvertedGives27AndNoEoi) {
    for (int k = 1;; ++k) {
        const CurrentSetup setup;
        StatusHost host(setup);
        const HostOutput output;
        CellPicture picture(MakeNoise(20, 16, 1, 32));
        picture.record.targetWidth = 10;
        picture.record.targetHeight = 32;
        const FailingMemory memory(k);
        const int32_t result = OutputPicture(output.File(), &picture.record, DrawExportCellData);
        if (!memory.Failed()) {
            EXPECT_GT(k, 9);
            EXPECT_TRUE(EndsWith(output.Bytes(), FromHex("FF D9")));
            break;
        }
        EXPECT_TRUE(result == 27 || result == 300) << k << ": " << result;
        EXPECT_TRUE(host.percents.empty()) << k;
        EXPECT_FALSE(EndsWith(output.Bytes(), FromHex("FF D9"))) << k;
    }
}

TEST(OutputPicture, BitmapOfOddHeightIsConvertedAndStaysAsItWas) {
    const CurrentSetup setup;
    const MemoryOutput output;
    const TestBitmap bitmap = MakeNoise(20, 15);
    CellPicture picture(bitmap);
    EXPECT_EQ(OutputPicture(output.File(), &picture.record, DrawExportCellData), 0);
    const auto *pixels = Lock<uint8_t>(picture.record.pixels);
    EXPECT_EQ(Bytes(pixels, pixels + bitmap.pixels.size()), bitmap.pixels);
    EXPECT_EQ(output.Bytes()[kFrameSize + 1], 16);
}

} // namespace
} // namespace kowen
