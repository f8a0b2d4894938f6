// Hosts whose pictures are empty, enormous, or not what their records say. All blocks end at a page
// that nobody may touch.
#include "module/hostile_host.h"
#include "support/hex.h"

namespace {

using namespace kowen::test;

/// What comes of a picture.
enum class Outcome {
    kNothing, ///< not a byte
    kCut,     ///< headers for the target's size, and no EOI
    kEmpty,   ///< the same with EOI: no columns, or nothing that could be drawn
    kBlack,   ///< a whole picture, black
    kWhole,   ///< the picture itself
};

struct Extreme {
    const char *what;
    int depth;
    int width;
    int height;
    uint32_t pixelBytes;
    int32_t targetWidth;
    int32_t targetHeight;
    Outcome outcome;
};

void PrintTo(const Extreme &extreme, std::ostream *out) {
    *out << extreme.what;
}

constexpr size_t kHeaderBytes = 607; // in sequential files with luminance and chroma
const ExportBytes kEoi = {0xFF, 0xD9};

/// The rows and columns of the frame header.
ExportBytes FrameSize(const ExportBytes &jpeg) {
    static constexpr uint8_t kFrame[] = {0xFF, 0xC0, 0, 17, 8};
    const auto frame = std::search(jpeg.begin(), jpeg.end(), std::begin(kFrame), std::end(kFrame));
    return jpeg.end() - frame < 9 ? ExportBytes{} : ExportBytes(frame + 5, frame + 9);
}

class HostilePictures : public HostileHost {
protected:
    /// A picture of guarded bytes, to memory.
    ExportRun ExportGuarded(const TestBitmap &picture, const CellRecord &cell) const {
        const auto wrap =
            host.module.Symbol<GlobalPointerToHandleFunction>("GlobalPointerToHandle");
        const GuardedBytes pixels(picture.pixels);
        const GuardedBytes palette(picture.palette);
        BitmapRecord bitmap = {};
        bitmap.depth = static_cast<uint16_t>(picture.depth);
        bitmap.width = static_cast<uint16_t>(picture.width);
        bitmap.height = static_cast<uint16_t>(picture.height);
        bitmap.pixels = wrap(pixels.Data(), pixels.Size());
        bitmap.palette = wrap(palette.Data(), palette.Size());
        const ExportRun run = host.ExportRecords("", bitmap, cell, setup);
        host.free(bitmap.palette);
        host.free(bitmap.pixels);
        return run;
    }
    static CellRecord CellOf(int32_t width, int32_t height) {
        CellRecord cell = CellFor(TestBitmap{});
        cell.targetWidth = width;
        cell.targetHeight = height;
        return cell;
    }
    /// What the reference implementation of the encoder makes of a picture.
    static ExportBytes Expected(const TestBitmap &picture, const CellRecord &cell) {
        return PlainExport(picture, MakeSettings(KOWEN_FORMAT_YCC422), cell);
    }
};

class ExtremePicture : public HostilePictures, public testing::WithParamInterface<Extreme> {};

TEST_P(ExtremePicture, GivesWhatThereIsToSee) {
    const Extreme &extreme = GetParam();
    TestBitmap picture{extreme.depth, extreme.width, extreme.height, {}, {}};
    picture.pixels.assign(extreme.pixelBytes, 0x5A);
    if (extreme.depth == 1 || extreme.depth == 4 || extreme.depth == 8)
        picture.palette = MakeIndexed(extreme.depth, 1, 1).palette;
    const CellRecord cell = CellOf(extreme.targetWidth, extreme.targetHeight);

    const ExportRun run = ExportGuarded(picture, cell);

    EXPECT_EQ(run.result, 0);
    if (extreme.outcome == Outcome::kNothing) {
        EXPECT_EQ(run.jpeg, ExportBytes{});
        return;
    }
    const int columns = extreme.targetWidth < 0 ? 0 : extreme.targetWidth & 0xFFFF;
    const int rows = (extreme.targetHeight & 1) + (extreme.targetHeight & 0xFFFF);
    EXPECT_EQ(FrameSize(run.jpeg), // truncated to 16 bits each
              (ExportBytes{static_cast<uint8_t>(rows >> 8), static_cast<uint8_t>(rows),
                           static_cast<uint8_t>(columns >> 8), static_cast<uint8_t>(columns)}));
    switch (extreme.outcome) {
    case Outcome::kCut:
        EXPECT_EQ(run.jpeg.size(), kHeaderBytes);
        break;
    case Outcome::kEmpty:
        EXPECT_EQ(run.jpeg.size(), kHeaderBytes + 2);
        EXPECT_TRUE(EndsWith(run.jpeg, kEoi));
        break;
    case Outcome::kBlack:
        EXPECT_EQ(run.jpeg, Expected(MakeBlank(columns, rows), CellOf(columns, rows)));
        break;
    default:
        EXPECT_EQ(run.jpeg, Expected(picture, cell));
        break;
    }
}

constexpr int kMost = 65535;
using enum Outcome;
const Extreme kExtremes[] = {
    {"nothing", 24, 0, 0, 0, 0, 0, kNothing},
    {"no columns", 24, 0, 8, 0, 0, 8, kEmpty},
    {"no rows", 24, 8, 0, 0, 8, 0, kNothing},
    {"no columns, to some", 24, 0, 8, 0, 16, 8, kBlack},
    {"no rows, to some", 24, 8, 0, 0, 8, 16, kBlack},
    {"nothing, to some", 24, 0, 0, 0, 8, 16, kBlack},
    {"something, to nothing", 24, 8, 8, 192, 0, 0, kNothing},
    {"one pixel", 24, 1, 1, 4, 1, 1, kWhole},
    {"one row", 24, 500, 1, 1500, 500, 1, kWhole},
    {"one column", 24, 1, 500, 2000, 1, 500, kWhole},
    {"the widest", 24, kMost, 2, 196608 * 2, kMost, 2, kWhole},
    {"one column more", 24, kMost, 2, 196608 * 2, kMost + 1, 2, kCut},
    {"the highest", 24, 1, kMost - 1, (kMost - 1) * 4, 1, kMost - 1, kWhole},
    {"both sides beyond everything", 24, 16, 8, 384, INT32_MAX, INT32_MAX - 1, kCut},
    {"bytes of a row beyond 32 bits", 24, 16, 8, 384, 0x55555556, 2, kCut},
    {"bytes of the picture beyond 32 bits", 24, 16, 8, 384, 65536, 21848, kCut},
    {"negative", 24, 16, 8, 384, -16, -8, kNothing},
    {"negative width", 24, 16, 8, 384, -16, 8, kEmpty},
    {"negative height", 24, 16, 8, 384, 16, -8, kNothing},
    {"as negative as can be", 24, 16, 8, 384, INT32_MIN, INT32_MIN, kNothing},
    {"one byte short", 24, 16, 8, 383, 16, 8, kCut},
    {"one byte short, shrunk", 24, 16, 8, 383, 8, 4, kCut},
    {"one byte short, stretched", 24, 16, 8, 383, 32, 16, kCut},
    {"no bytes", 24, 16, 8, 0, 16, 8, kCut},
    {"no bytes, shrunk", 24, 16, 8, 0, 8, 4, kCut},
    {"depth 0", 0, 16, 8, 384, 16, 8, kBlack},
    {"depth 2", 2, 16, 8, 384, 16, 8, kBlack},
    {"depth 3", 3, 16, 8, 384, 16, 8, kBlack},
    {"depth 16", 16, 16, 8, 384, 16, 8, kBlack},
    {"depth 64", 64, 16, 8, 1024, 16, 8, kBlack},
    {"depth 32768", 32768, 16, 8, 1024, 16, 8, kCut},
    {"depth 65535", 65535, 16, 8, 1024, 16, 8, kCut},
    {"65535 in every field", 65535, kMost, kMost, 1024, 16, 8, kCut},
    {"1 bit, a byte of padding short", 1, 33, 4, 31, 33, 4, kWhole},
    {"4 bits, a byte of padding short", 4, 33, 4, 79, 33, 4, kWhole},
    {"8 bits, a byte of padding short", 8, 33, 4, 143, 33, 4, kWhole},
    {"32 bits, one byte short", 32, 33, 4, 527, 33, 4, kCut},
    {"32 bits, one byte short, stretched", 32, 33, 4, 527, 66, 8, kCut},
    {"24 bits, a tiny block", 24, kMost, kMost, 4, kMost, 2, kCut},
    {"8 bits, a tiny block", 8, kMost, kMost, 4, 16, 16, kCut},
    {"32 bits, a tiny block", 32, kMost, kMost, 4, 16, 16, kCut},
};
INSTANTIATE_TEST_SUITE_P(Extremes, ExtremePicture, testing::ValuesIn(kExtremes));

// An odd height gains a row, so that the highest picture has a frame of 65536 rows, cut to 0.
TEST_F(HostilePictures, OneRowMoreThanAFrameCanSay) {
    TestBitmap picture = MakeBlank(1, kMost);
    const ExportRun run = ExportGuarded(picture, CellOf(1, kMost));
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(FrameSize(run.jpeg), (ExportBytes{0, 0, 0, 1}));
    EXPECT_TRUE(EndsWith(run.jpeg, kEoi));
}

TEST_F(HostilePictures, WithoutPixelsThereIsNoPicture) {
    for (const uint16_t depth : {1, 4, 8, 24, 32})
        for (const int32_t side : {8, 16, 32}) {
            BitmapRecord bitmap = {depth, 16, 8, 0, 0, 0, 0, 0};
            const ExportRun run = host.ExportRecords("", bitmap, CellOf(side, side), setup);
            EXPECT_EQ(run.result, 0);
            EXPECT_EQ(run.jpeg.size(), kHeaderBytes + 2) << depth << " bits to " << side;
            EXPECT_TRUE(EndsWith(run.jpeg, kEoi));
        }
}

// What is shrunk keeps its depth, and then its pixels are zeros like any other's.
TEST_F(HostilePictures, NothingShrunkHasTheFirstColourOfItsPalette) {
    const std::vector<uint8_t> palette = {200, 100, 50, 1, 2, 3};
    const TestBitmap nothing{1, 0, 16, {}, palette};
    const TestBitmap zeros{1, 8, 8, std::vector<uint8_t>(32), palette};
    const CellRecord cell = CellOf(8, 8);
    EXPECT_EQ(ExportGuarded(nothing, cell).jpeg, Expected(zeros, cell));
}

TEST_F(HostilePictures, MemoryThatIsNotThereIsNoPicture) {
    const auto wrap = host.module.Symbol<GlobalPointerToHandleFunction>("GlobalPointerToHandle");
    for (const uint32_t size : {0u, 384u, 0xFFFFFFFFu})
        for (const int32_t side : {8, 16, 32})
            for (const uint16_t depth : {1, 4, 8, 24, 32}) {
                const MemoryHandle nowhere = wrap(nullptr, size);
                BitmapRecord bitmap = {depth, 16, 8, 0, 0, 0, nowhere, nowhere};
                const ExportRun run = host.ExportRecords("", bitmap, CellOf(side, side), setup);
                EXPECT_EQ(run.result, 0);
                EXPECT_GE(run.jpeg.size(), kHeaderBytes);
                host.free(nowhere);
            }
}

// An entry that a palette lacks, or has in part only, is black.
TEST_F(HostilePictures, PalettesOfAnyLengthAreReadToTheirEnd) {
    for (const int depth : {1, 4, 8}) {
        const TestBitmap whole = MakeIndexed(depth, 21, 10);
        const auto full = static_cast<uint32_t>(whole.palette.size());
        for (const uint32_t bytes : {0u, 1u, 2u, 3u, 4u, full / 2, full - 1, full, full + 50}) {
            TestBitmap picture = whole;
            picture.palette.resize(bytes);
            TestBitmap padded = picture;
            padded.palette.resize(bytes / 3 * 3);
            padded.palette.resize(full);
            const CellRecord cell = CellOf(21, 10);
            EXPECT_EQ(ExportGuarded(picture, cell).jpeg, Expected(padded, cell))
                << depth << " bits, " << bytes << " bytes";
        }
    }
}

TEST_F(HostilePictures, PixelsAreReadToTheirEndAndNoFurther) {
    for (const int depth : {1, 4, 8, 24, 32})
        for (const int width : {1, 7, 8, 9, 31, 33})
            for (const int height : {1, 2, 9, 17}) {
                const TestBitmap picture = depth <= 8 ? MakeIndexed(depth, width, height)
                                                      : MakeNoise(width, height, 3, depth);
                for (const int scale : {1, 2, 3}) {
                    const CellRecord cell =
                        CellOf((width * scale + 1) / 2, (height * scale + 1) / 2);
                    ASSERT_EQ(ExportGuarded(picture, cell).jpeg, Expected(picture, cell))
                        << depth << " bits, " << width << " x " << height << " by " << scale;
                }
            }
}

TEST_F(HostilePictures, ReservedFieldsMayHoldAnything) {
    BitmapRecord bitmap;
    CellRecord cell;
    HostRecord record;
    ExportRecord exportRecord;
    std::memset(&bitmap, 0xA5, sizeof bitmap);
    std::memset(&cell, 0xA5, sizeof cell);
    std::memset(&record, 0xA5, sizeof record);
    std::memset(&exportRecord, 0xA5, sizeof exportRecord);
    bitmap.depth = 24;
    bitmap.width = 16;
    bitmap.height = 8;
    bitmap.palette = 0;
    bitmap.pixels = host.MakeBlock(plain.bitmap.pixels);
    cell.resolution = cell.targetResolution = 96;
    cell.targetWidth = 16;
    cell.targetHeight = 8;
    record.setup = setup;
    record.exportRecord = &exportRecord;
    exportRecord.statusCallback = nullptr;
    EXPECT_EQ(host.exportCellData(Path("a.jpg").c_str(), &bitmap, &cell, &record), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(exportRecord.reserved2, 0xA5A5A5A5u);
    host.free(bitmap.pixels);
}

TEST_F(HostilePictures, APageOfAnySizeIsNoConcernOfASizeFromThePicture) {
    for (const int32_t page : {0, 1, -1, INT32_MAX, INT32_MIN})
        for (const int resolution : {0, 1, -1, 32767, -32768}) {
            CellRecord cell = plain.cell;
            cell.pageWidth = page;
            cell.pageHeight = page;
            cell.resolution = static_cast<int16_t>(resolution);
            ExportRecord record = {};
            EXPECT_EQ(host.Export("", plain.bitmap, cell, setup, &record).jpeg, plain.jpeg);
        }
}

TEST_F(HostilePictures, ResolutionsOfAnyKindKeepAPictureOfItsOwnSize) {
    for (const int resolution : {1, 31, 401, 32767, 32768, 65535}) {
        CellRecord cell = plain.cell;
        cell.targetResolution = static_cast<uint16_t>(resolution);
        ExportRecord record = {};
        const MemoryHandle fresh = MakeSetup(plain);
        const ExportRun run = host.Export("", plain.bitmap, cell, fresh, &record);
        EXPECT_EQ(run.jpeg, Expected(plain.bitmap, cell)) << resolution;
        host.destroySetup(fresh);
    }
}

} // namespace
