// The bitmap door as a host meets it: through the loaded module, its table and its memory.
#include "module/export_host.h"
#include "support/hex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <string>
#include <vector>

namespace {

using Bytes = ExportBytes;

#ifdef KOWEN_SANITIZED
constexpr int kManyExports = 300;
#else
constexpr int kManyExports = 10000;
#endif

class ExportCellDataTest : public testing::Test {
protected:
    ExportHost host;
};

TEST_F(ExportCellDataTest, FileEqualsTheReference) {
    for (const int colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
        for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
            for (const int quality : {1, 44, 75, 100}) {
                const TestBitmap bitmap = MakeSoft(33, 18);
                const ExportSettings settings = MakeSettings(colorFormat, operation, quality);
                const ExportRun run = host.ExportToFile("a.jpg", bitmap, settings);
                EXPECT_EQ(run.result, 0);
                ASSERT_EQ(run.jpeg, PlainExport(bitmap, settings))
                    << colorFormat << ", " << operation << ", " << quality;
            }
}

TEST_F(ExportCellDataTest, EverySmallSizeEqualsTheReference) {
    for (int width = 1; width <= 20; ++width)
        for (int height = 1; height <= 20; ++height) {
            const TestBitmap bitmap = MakeNoise(width, height, static_cast<uint32_t>(width));
            const ExportSettings settings =
                MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL + width % 2, 90);
            const ExportRun run = host.ExportToMemory(bitmap, settings);
            ASSERT_EQ(run.jpeg, PlainExport(bitmap, settings)) << width << " x " << height;
        }
}

TEST_F(ExportCellDataTest, PaletteAndDeepBitmapsEqualTheReference) {
    for (const int depth : {1, 4, 8, 32})
        for (const int colorFormat :
             {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
            const TestBitmap bitmap =
                depth == 32 ? MakeNoise(37, 22, 5, 32) : MakeIndexed(depth, 37, 22);
            const ExportSettings settings = MakeSettings(colorFormat);
            const ExportRun run = host.ExportToMemory(bitmap, settings);
            ASSERT_EQ(run.jpeg, PlainExport(bitmap, settings)) << depth << ", " << colorFormat;
            EXPECT_EQ(run.pixelsAfter, bitmap.pixels); // converted: the host's stay
        }
}

TEST_F(ExportCellDataTest, SizesAndResolutionsOfTheSettingsEqualTheReference) {
    const TestBitmap bitmap = MakeSoft(40, 24);
    for (const int sizeMode : {600, 601, 602, 603})
        for (const int resolutionMode : {307, 308, 309, 310})
            for (const int resolution : {0, 75, 300}) {
                ExportSettings settings = MakeSettings(KOWEN_FORMAT_YCC422);
                settings.sizeMode = sizeMode;
                settings.resolutionMode = resolutionMode;
                settings.xResolution = 50;
                settings.yResolution = 64;
                settings.width = 1.5;
                settings.height = 0.75;
                const CellRecord cell = CellFor(bitmap, resolution);
                const ExportRun run = host.ExportToMemory(bitmap, settings, cell);
                // A profile's printer modes load as the display's.
                settings.sizeMode = sizeMode == 601 ? 600 : sizeMode;
                settings.resolutionMode = resolutionMode == 308 ? 307 : resolutionMode;
                ASSERT_EQ(run.jpeg, PlainExport(bitmap, settings, cell))
                    << sizeMode << ", " << resolutionMode << ", " << resolution;
            }
}

TEST_F(ExportCellDataTest, DisplayModesTakeTheCellsPage) {
    const TestBitmap bitmap = MakeSoft(40, 24);
    ExportSettings settings = MakeSettings(KOWEN_FORMAT_YCC422);
    settings.sizeMode = 600;
    settings.resolutionMode = 307;
    CellRecord cell = CellFor(bitmap);
    cell.resolution = 50;
    cell.pageWidth = 100;
    cell.pageHeight = 90;
    const ExportRun run = host.ExportToMemory(bitmap, settings, cell);
    EXPECT_EQ(run.jpeg, PlainExport(bitmap, settings, cell));
    // 100 x 90 pixels at 50; 40 : 24 fits as 100 x 60.
    EXPECT_TRUE(BeginsWith(run.jpeg, FromHex("FF D8 FF E0 00 10 4A 46 49 46 00 01 02 01"
                                             "00 32 00 32 00 00 FF DB")));
    EXPECT_EQ(Bytes(run.jpeg.begin() + 154, run.jpeg.begin() + 163),
              FromHex("FF C0 00 11 08 00 3C 00 64"));
}

TEST_F(ExportCellDataTest, ShrunkAndStretchedBitmapsEqualTheReference) {
    const int targets[][2] = {{20, 12}, {80, 48}, {40, 25}, {33, 24}, {61, 24},
                              {13, 60}, {90, 10}, {1, 1},   {200, 2}};
    for (const int depth : {1, 4, 8, 24, 32})
        for (const auto &target : targets) {
            const TestBitmap bitmap = depth < 24    ? MakeIndexed(depth, 40, 24)
                                      : depth == 24 ? MakeSoft(40, 24)
                                                    : MakeNoise(40, 24, 2, 32);
            CellRecord cell = CellFor(bitmap);
            cell.targetWidth = target[0];
            cell.targetHeight = target[1];
            const ExportRun run =
                host.ExportToMemory(bitmap, MakeSettings(KOWEN_FORMAT_YCC422), cell);
            ASSERT_EQ(run.jpeg, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422), cell))
                << depth << ": " << target[0] << " x " << target[1];
            EXPECT_EQ(run.pixelsAfter, bitmap.pixels);
        }
}

// A host that asked for the file twice gets the same file: nothing of the first export is left.
TEST_F(ExportCellDataTest, ExportsOfOneSetupDoNotDisturbEachOther) {
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_RGB444));
    const TestBitmap bitmap = MakeNoise(19, 12);
    const Bytes expected = PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_RGB444));
    for (int i = 0; i < 3; ++i) {
        ExportRecord record = {};
        EXPECT_EQ(host.Export("", bitmap, CellFor(bitmap), setup, &record).jpeg, expected) << i;
    }
    host.destroySetup(setup);
}

TEST_F(ExportCellDataTest, FileIsReplacedWhole) {
    host.directory.Write("a.jpg", std::string(100000, 'x'));
    const TestBitmap bitmap = MakeNoise(16, 8);
    const ExportRun run = host.ExportToFile("a.jpg", bitmap, MakeSettings(KOWEN_FORMAT_YCC422));
    EXPECT_EQ(run.jpeg, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
}

TEST_F(ExportCellDataTest, PassedThroughPixelsAreMappedInTheHostsMemory) {
    const TestBitmap bitmap = MakeNoise(5, 4);
    const ExportRun run = host.ExportToMemory(bitmap, MakeSettings(KOWEN_FORMAT_RGB444));
    TestBitmap after = bitmap;
    after.pixels = run.pixelsAfter;
    for (int row = 0; row < 4; ++row) {
        for (int x = 0; x < 5; ++x) {
            EXPECT_EQ(after.Pixel(x, row)[0], bitmap.Pixel(x, row)[2]);
            EXPECT_EQ(after.Pixel(x, row)[1], bitmap.Pixel(x, row)[1]);
            EXPECT_EQ(after.Pixel(x, row)[2], bitmap.Pixel(x, row)[0]);
        }
        EXPECT_EQ(*after.Pixel(5, row), *bitmap.Pixel(5, row)); // the row's padding
    }
}

// ---- Progress and cancel

TEST_F(ExportCellDataTest, StatusIsCalledOnceWithTheWholeBand) {
    StatusRecorder status;
    const TestBitmap bitmap = MakeNoise(40, 40);
    const ExportRun run =
        host.ExportToFile("a.jpg", bitmap, MakeSettings(KOWEN_FORMAT_YCC422), &status);
    EXPECT_EQ(run.result, 0);
    ASSERT_EQ(status.calls.size(), 1u);
    const auto context = reinterpret_cast<intptr_t>(&status);
    EXPECT_EQ(status.calls[0], (StatusCall{context, 0, 0, 0, 100, 0}));
    EXPECT_FALSE(status.replyWasClearTenWords[0]);
    EXPECT_TRUE(EndsWith(run.jpeg, kEndOfImage));
}

TEST_F(ExportCellDataTest, RefusalIsAskedOnceMoreWithAClearReply) {
    StatusRecorder status;
    status.answers = {5, 0}; // refused, then taken back
    const TestBitmap bitmap = MakeNoise(40, 40);
    const ExportRun run =
        host.ExportToFile("a.jpg", bitmap, MakeSettings(KOWEN_FORMAT_YCC422), &status);
    ASSERT_EQ(status.calls.size(), 2u);
    const auto context = reinterpret_cast<intptr_t>(&status);
    EXPECT_EQ(status.calls[1], (StatusCall{context, 2, 61, 0, 0, 0}));
    EXPECT_TRUE(status.replyWasClearTenWords[1]);
    EXPECT_EQ(run.jpeg, PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
}

/// Headers and the whole bytes of the first and only band: no last bits, no EOI.
Bytes CancelledFile(const TestBitmap &bitmap, const ExportSettings &settings) {
    namespace reference = kowen::reference;
    const reference::Header header = {bitmap.width,
                                      bitmap.height,
                                      settings.colorFormat,
                                      settings.operation,
                                      settings.quality,
                                      96,
                                      96};
    reference::Coder coder(settings.operation, settings.quality);
    const auto picture =
        reference::MappedPicture(bitmap.pixels, bitmap.width, bitmap.height, settings.colorFormat);
    Bytes file = reference::FileHeader(header);
    if (settings.operation == KOWEN_OPERATION_PROGRESSIVE) {
        reference::CodeProgressive(coder, picture);
        return file + coder.bits.Bytes();
    }
    for (int top = 0; top < picture.height; top += 8)
        reference::CodeBand422(coder, picture.Rows(top, std::min(8, picture.height - top)));
    return file + reference::ScanHeader(3, 0, 0, 63) + coder.bits.Bytes();
}

TEST(ExportCellData, ReturnsZeroWhenCancelled) {
    const ExportHost host;
    for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        StatusRecorder status;
        status.answers = {1, 1};
        const TestBitmap bitmap = MakeNoise(40, 40);
        const ExportRun run = host.ExportToFile(
            "a.jpg", bitmap, MakeSettings(KOWEN_FORMAT_YCC422, operation), &status);
        EXPECT_EQ(run.result, 0);
        EXPECT_EQ(status.Values(),
                  (std::vector<std::array<int32_t, 5>>{{0, 0, 0, 100, 0}, {2, 61, 0, 0, 0}}));
        EXPECT_EQ(run.jpeg, CancelledFile(bitmap, MakeSettings(KOWEN_FORMAT_YCC422, operation)));
        EXPECT_FALSE(EndsWith(run.jpeg, kEndOfImage));
    }
}

TEST_F(ExportCellDataTest, CancelledMemoryOutputKeepsItsBlock) {
    StatusRecorder status;
    status.answers = {1, 1};
    const TestBitmap bitmap = MakeNoise(40, 40);
    const ExportRun run =
        host.ExportToMemory(bitmap, MakeSettings(KOWEN_FORMAT_YCC422), CellFor(bitmap), &status);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.jpeg, CancelledFile(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
}

TEST_F(ExportCellDataTest, WithoutAnExportRecordNobodyIsCalled) {
    const TestBitmap bitmap = MakeNoise(16, 8);
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    const std::string path = host.directory.File("a.jpg");
    EXPECT_EQ(host.Export(path.c_str(), bitmap, CellFor(bitmap), setup, nullptr).result, 0);
    host.destroySetup(setup);
    const std::string file = host.directory.Read("a.jpg");
    EXPECT_EQ(Bytes(file.begin(), file.end()),
              PlainExport(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)));
}

// The record of the export before is gone when the next has none.
TEST_F(ExportCellDataTest, ExportRecordIsForgottenAtTheEnd) {
    StatusRecorder status;
    const TestBitmap bitmap = MakeNoise(16, 8);
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    const std::string path = host.directory.File("a.jpg");
    ExportRecord record = ExportHost::RecordFor(&status);
    host.Export(path.c_str(), bitmap, CellFor(bitmap), setup, &record);
    EXPECT_EQ(status.calls.size(), 1u);
    host.Export(path.c_str(), bitmap, CellFor(bitmap), setup, nullptr);
    EXPECT_EQ(status.calls.size(), 1u);
    host.destroySetup(setup);
}

// ---- Failures

/// A bitmap of 16 x 8 and a cell for it, to watch whether they are touched.
struct Untouched {
    explicit Untouched(const ExportHost &owner) : host(owner) {
        bitmap.depth = 24;
        bitmap.width = 16;
        bitmap.height = 8;
        bitmap.resolution = 11;
        bitmap.targetWidth = 12;
        bitmap.targetHeight = 13;
        bitmap.pixels = host.MakeBlock(MakeNoise(16, 8).pixels);
        record = ExportHost::RecordFor(&status);
    }
    ~Untouched() { host.free(bitmap.pixels); }

    int32_t Export(const char *name, MemoryHandle setup, ExportRecord *exportRecord) {
        const CellRecord cell = CellFor(MakeBlank(16, 8));
        HostRecord hostRecord = {};
        hostRecord.setup = setup;
        hostRecord.exportRecord = exportRecord;
        return host.exportCellData(name, &bitmap, &cell, &hostRecord);
    }
    void Expect() const {
        EXPECT_EQ(bitmap.resolution, 11);
        EXPECT_EQ(bitmap.targetWidth, 12);
        EXPECT_EQ(bitmap.targetHeight, 13);
        EXPECT_EQ(host.BlockBytes(bitmap.pixels), MakeNoise(16, 8).pixels);
        EXPECT_TRUE(status.calls.empty());
        EXPECT_EQ(record.memoryBlock, 0u);
    }

    const ExportHost &host;
    BitmapRecord bitmap = {};
    StatusRecorder status;
    ExportRecord record = {};
};

TEST_F(ExportCellDataTest, WithoutASetupGives22) {
    Untouched untouched(host);
    const std::string path = host.directory.File("a.jpg");
    EXPECT_EQ(untouched.Export(path.c_str(), 0, &untouched.record), 22);
    EXPECT_FALSE(host.directory.Has("a.jpg"));
    untouched.Expect();
}

TEST_F(ExportCellDataTest, OutputThatCannotBeOpenedGives303) {
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    const std::vector<std::string> names = {
        host.directory.File("absent/a.jpg"), // no such directory
        host.directory.Path(),               // a directory
        host.directory.Path() + "/",
        host.directory.File(std::string(300, 'n')), // longer than a file's name may be
        std::string(4096, 'a'),                     // longer than a path may be
        "/" + std::string(9999, '/') + "a.jpg",     // and not cut to one that exists
    };
    for (const std::string &name : names) {
        Untouched untouched(host);
        EXPECT_EQ(untouched.Export(name.c_str(), setup, &untouched.record), 303) << name;
        untouched.Expect();
    }
    host.destroySetup(setup);
}

TEST_F(ExportCellDataTest, LongestPathIsTaken) {
    std::string name = host.directory.Path();
    const std::string file = "/a.jpg";
    while (name.size() + 2 + file.size() <= 4095)
        name += "/.";
    name += std::string(4095 - name.size() - file.size(), '/') + file;
    ASSERT_EQ(name.size(), 4095u);
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    ExportRecord record = {};
    EXPECT_EQ(host.Export(name.c_str(), MakeNoise(16, 8), CellFor(MakeBlank(16, 8)), setup, &record)
                  .result,
              0);
    host.destroySetup(setup);
    EXPECT_TRUE(host.directory.Has("a.jpg"));
}

TEST_F(ExportCellDataTest, MemoryOutputWithoutAnExportRecordGives303) {
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    Untouched untouched(host);
    EXPECT_EQ(untouched.Export("", setup, nullptr), 303);
    EXPECT_EQ(untouched.Export(nullptr, setup, nullptr), 303);
    untouched.Expect();
    host.destroySetup(setup);
}

// A bitmap that cannot be drawn is a file without a picture, or without an end; never a crash.
TEST_F(ExportCellDataTest, ImpossibleBitmapsReturnZero) {
    const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
    const auto run = [&](const TestBitmap &bitmap, int targetWidth, int targetHeight) {
        CellRecord cell = CellFor(bitmap);
        cell.targetWidth = targetWidth;
        cell.targetHeight = targetHeight;
        ExportRecord record = {};
        return host.Export("", bitmap, cell, setup, &record);
    };
    TestBitmap noPixels = MakeBlank(16, 8);
    noPixels.pixels.clear();
    const ExportRun headersOnly = run(noPixels, 16, 8);
    EXPECT_EQ(headersOnly.result, 0);
    EXPECT_TRUE(EndsWith(headersOnly.jpeg, FromHex("00 3F 00 FF D9")));
    EXPECT_EQ(run(noPixels, 32, 16).result, 0);
    EXPECT_EQ(run(noPixels, 8, 4).result, 0);

    TestBitmap tooFewPixels = MakeNoise(16, 8);
    tooFewPixels.pixels.pop_back();
    const ExportRun unfinished = run(tooFewPixels, 16, 8);
    EXPECT_EQ(unfinished.result, 0);
    EXPECT_FALSE(EndsWith(unfinished.jpeg, kEndOfImage));

    for (const int depth : {0, 2, 16, 33, 64}) {
        TestBitmap strange = MakeNoise(16, 8, 1, 32);
        strange.depth = depth;
        EXPECT_EQ(run(strange, 16, 8).result, 0) << depth;
        EXPECT_EQ(run(strange, 20, 9).result, 0) << depth;
    }
    const TestBitmap bitmap = MakeNoise(16, 8);
    for (const auto &[width, height] : std::vector<std::pair<int, int>>{
             {0, 0}, {0, 8}, {16, 0}, {-16, 8}, {16, -8}, {INT32_MIN, INT32_MIN}})
        EXPECT_EQ(run(bitmap, width, height).result, 0) << width << " x " << height;
    EXPECT_EQ(run(MakeBlank(0, 0), 16, 8).result, 0);
    host.destroySetup(setup);
}

// Formats that only a profile can name have other depths and no components, or no meaning.
TEST_F(ExportCellDataTest, StrangeColorFormatsReturnZero) {
    for (const int colorFormat : {-1, 0, 213, 216, 217, 218, 219, 220, 221, 65535})
        for (const int operation : {245, 246, 0})
            for (const int depth : {1, 4, 8, 24, 32}) {
                const TestBitmap bitmap =
                    depth < 24 ? MakeIndexed(depth, 37, 21) : MakeNoise(37, 21, 3, depth);
                const ExportRun run =
                    host.ExportToMemory(bitmap, MakeSettings(colorFormat, operation));
                EXPECT_EQ(run.result, 0) << colorFormat << ", " << operation << ", " << depth;
                EXPECT_TRUE(BeginsWith(run.jpeg, FromHex("FF D8 FF E0")));
            }
}

// A profile section without a driver gives a setup of zeros. Inches without a resolution of the
// setup's are taken for pixels: none. A picture in pixels gets headers without components.
TEST_F(ExportCellDataTest, SetupOfZerosReturnsZero) {
    const std::string profile = host.directory.Write("empty.ini", "[Test]\nQuality=75\n");
    const MemoryHandle setup = host.createSetup(0, profile.c_str(), "Test", nullptr);
    const TestBitmap bitmap = MakeNoise(16, 8);
    ExportRecord record = {};
    const ExportRun inches = host.Export("", bitmap, CellFor(bitmap), setup, &record);
    EXPECT_EQ(inches.result, 0);
    EXPECT_TRUE(inches.jpeg.empty());
    EXPECT_EQ(inches.block.at(0), 255);
    const ExportRun pixels = host.Export("", bitmap, CellFor(bitmap, 0), setup, &record);
    EXPECT_EQ(pixels.result, 0);
    EXPECT_TRUE(BeginsWith(pixels.jpeg, FromHex("FF D8 FF E0 00 10 4A 46 49 46 00 01 02 01"
                                                "00 00 00 00 00 00 FF DB")));
    host.destroySetup(setup);
}

// ---- What belongs to the host

/// A record of the host's between bytes that nobody may touch.
template <typename Record> struct Guarded {
    Guarded() { std::memset(static_cast<void *>(this), 0xA5, sizeof *this); }
    unsigned char before[32];
    Record record;
    unsigned char after[32];
};

template <typename Record>
void ExpectSame(const Guarded<Record> &now, const Guarded<Record> &then) {
    EXPECT_EQ(std::memcmp(&now, &then, sizeof now), 0);
}

TEST_F(ExportCellDataTest, HostRecordsStayButForTheDocumentedFields) {
    for (const bool toMemory : {false, true}) {
        const MemoryHandle setup = host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422));
        const std::string path = toMemory ? "" : host.directory.File("a.jpg");
        Guarded<BitmapRecord> bitmap;
        bitmap.record.depth = 24;
        bitmap.record.width = 16;
        bitmap.record.height = 8;
        bitmap.record.palette = 0;
        bitmap.record.pixels = host.MakeBlock(MakeNoise(16, 8).pixels);
        Guarded<CellRecord> cell;
        cell.record.resolution = 96;
        cell.record.targetResolution = 100;
        cell.record.targetWidth = 30;
        cell.record.targetHeight = 20;
        cell.record.pageWidth = 640;
        cell.record.pageHeight = 480;
        Guarded<ExportRecord> record;
        record.record.statusCallback = nullptr;
        record.record.memoryBlock = 0;
        Guarded<HostRecord> hostRecord;
        hostRecord.record.setup = setup;
        hostRecord.record.exportRecord = &record.record;
        auto bitmapThen = bitmap;
        const auto cellThen = cell;
        auto recordThen = record;
        const auto hostThen = hostRecord;

        EXPECT_EQ(
            host.exportCellData(path.c_str(), &bitmap.record, &cell.record, &hostRecord.record), 0);

        bitmapThen.record.resolution = 100;
        bitmapThen.record.targetWidth = 30;
        bitmapThen.record.targetHeight = 20;
        EXPECT_EQ(record.record.memoryBlock != 0, toMemory);
        recordThen.record.memoryBlock = record.record.memoryBlock;
        ExpectSame(bitmap, bitmapThen);
        ExpectSame(cell, cellThen);
        ExpectSame(record, recordThen);
        ExpectSame(hostRecord, hostThen);
        EXPECT_EQ(host.BlockBytes(bitmap.record.pixels), MakeNoise(16, 8).pixels);
        host.free(record.record.memoryBlock);
        host.free(bitmap.record.pixels);
        host.destroySetup(setup);
    }
}

// ---- Over time

long ResidentKilobytes() {
    std::FILE *status = std::fopen("/proc/self/status", "r");
    char line[256];
    long kilobytes = -1;
    while (std::fgets(line, sizeof line, status) != nullptr)
        std::sscanf(line, "VmRSS: %ld", &kilobytes);
    std::fclose(status);
    return kilobytes;
}

int CountMappings() {
    std::FILE *maps = std::fopen("/proc/self/maps", "r");
    int lines = 0;
    for (int c; (c = std::getc(maps)) != EOF;)
        lines += c == '\n';
    std::fclose(maps);
    return lines;
}

int CountOpenFiles() {
    DIR *directory = opendir("/proc/self/fd");
    int files = 0;
    while (readdir(directory) != nullptr)
        ++files;
    closedir(directory);
    return files;
}

TEST_F(ExportCellDataTest, ThousandsOfExportsLeaveNothingBehind) {
    const TestBitmap bitmaps[] = {MakeNoise(24, 16), MakeNoise(24, 15), MakeIndexed(8, 24, 16)};
    const MemoryHandle setups[] = {
        host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422)),
        host.MakeSetup(MakeSettings(KOWEN_FORMAT_RGB444)),
        host.MakeSetup(MakeSettings(KOWEN_FORMAT_GREY)),
        host.MakeSetup(MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE))};
    const std::string path = host.directory.File("a.jpg");
    const auto exportOne = [&](int i) {
        StatusRecorder status;
        status.answers = {i % 5 == 0 ? 1 : 0, 1};
        ExportRecord record = ExportHost::RecordFor(&status);
        const TestBitmap &bitmap = bitmaps[i % 3];
        ASSERT_EQ(host.Export(i % 2 == 0 ? "" : path.c_str(), bitmap, CellFor(bitmap),
                              setups[i % 4], &record)
                      .result,
                  0);
    };
    constexpr int kWarmUp = 200;
    for (int i = 0; i < kWarmUp; ++i)
        exportOne(i);
    const int files = CountOpenFiles();
    const int mappings = CountMappings();
    const long resident = ResidentKilobytes();
    for (int i = 0; i < kManyExports; ++i)
        exportOne(i);
    EXPECT_EQ(CountOpenFiles(), files);
#ifndef KOWEN_SANITIZED
    EXPECT_LE(CountMappings(), mappings + 1); // the heap may be split once
    EXPECT_LE(ResidentKilobytes(), resident + 256);
#else
    (void)mappings;
    (void)resident;
#endif
    for (const MemoryHandle setup : setups)
        host.destroySetup(setup);
}

TEST_F(ExportCellDataTest, ThousandsOfSetupsLeaveNothingBehind) {
    const TestBitmap bitmap = MakeNoise(16, 8);
    const auto exportOne = [&] {
        ASSERT_EQ(host.ExportToMemory(bitmap, MakeSettings(KOWEN_FORMAT_YCC422)).result, 0);
    };
    for (int i = 0; i < 100; ++i)
        exportOne();
    const int files = CountOpenFiles();
    const long resident = ResidentKilobytes();
    for (int i = 0; i < kManyExports / 10; ++i)
        exportOne();
    EXPECT_EQ(CountOpenFiles(), files);
#ifndef KOWEN_SANITIZED
    EXPECT_LE(ResidentKilobytes(), resident + 256);
#else
    (void)resident;
#endif
}

} // namespace
