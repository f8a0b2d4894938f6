// Hosts that are wrong about bitmaps, exports and escapes.
#include "check/planted.h"

namespace kowen::test {

namespace {

/// An export of records that a host has filled in itself, one of them in a wrong way.
Planted WrongRecords(const char *name, Mistakes reported,
                     const std::function<void(CheckedHost &, BitmapRecord &, HostRecord &)> &send) {
    return {name, std::move(reported), [send](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    BitmapRecord bitmap = host.MakeBitmap();
                    HostRecord records = {};
                    records.setup = setup;
                    send(host, bitmap, records);
                    host.free(bitmap.pixels);
                });
            }};
}

/// An escape with an input that it does not know.
Planted WrongCode(const char *name, int32_t code, int32_t input, int32_t result, const char *how) {
    return WrongEscape(name, "escape-value",
                       [code, input, result, how](CheckedHost &host, MemoryHandle setup) {
                           EXPECT_EQ(host.escape(setup, code, 4, &input, nullptr, 0), result);
                           ExpectTold(host, how);
                       });
}

} // namespace

std::vector<Planted> BitmapMistakes() {
    using Bitmap = BitmapRecord;
    using Cell = CellRecord;
    return {
        WrongExport("PixelsThatWereFreed", {"block-handle", "block-handle"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) { host.free(bitmap.pixels); }),
        WrongExport("DepthOf16", {"depth"},
                    [](CheckedHost &, Bitmap &bitmap, Cell &) { bitmap.depth = 16; }),
        WrongExport("BlockOfUnpaddedRows", {"pixel-rows"},
                    [](CheckedHost &, Bitmap &bitmap, Cell &) {
                        bitmap.width = 11; // 33 bytes, 36 with their padding; 4 rows in 128
                    }),
        WrongExport("NoPixels", {"pixel-rows"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        host.free(bitmap.pixels);
                        bitmap.pixels = 0;
                    }),
        WrongExport("NoPalette", {"palette"},
                    [](CheckedHost &, Bitmap &bitmap, Cell &) { bitmap.depth = 8; }),
        WrongExport("PaletteOfOneEntry", {"palette"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        bitmap.depth = 1;
                        bitmap.palette = host.MakePalette(5);
                    }),
        WrongExport("PaletteOfFifteenEntries", {"palette"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        bitmap.depth = 4;
                        bitmap.palette = host.MakePalette(47);
                    }),
        WrongExport("PaletteOf255Entries", {"palette"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        bitmap.depth = 8;
                        bitmap.palette = host.MakePalette(767);
                    }),
        WrongExport("PaletteOf16EntriesOf4Bytes", {"palette"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        bitmap.depth = 4;
                        bitmap.palette = host.MakePalette(64);
                    }),
        WrongExport("PaletteOf256EntriesOf4Bytes", {"palette"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        bitmap.depth = 8;
                        bitmap.palette = host.MakePalette(1024);
                    }),
        WrongExport("PixelsByTheirAddress", {"block-origin", "block-origin", "unload"},
                    [](CheckedHost &host, Bitmap &bitmap, Cell &) {
                        forgotten.push_back(bitmap.pixels);
                        bitmap.pixels = reinterpret_cast<MemoryHandle>(host.lock(bitmap.pixels));
                    }),
        WrongExport("NoWidth", {"empty"},
                    [](CheckedHost &, Bitmap &bitmap, Cell &) { bitmap.width = 0; }),
        WrongExport("NoHeight", {"empty"},
                    [](CheckedHost &, Bitmap &bitmap, Cell &) { bitmap.height = 0; }),
        WrongExport("NoTargetWidth", {"empty"},
                    [](CheckedHost &, Bitmap &, Cell &cell) { cell.targetWidth = 0; }),
        WrongExport("NoTargetHeight", {"empty"},
                    [](CheckedHost &, Bitmap &, Cell &cell) { cell.targetHeight = 0; }),
        WrongExport("TargetOfTooManyColumns", {"too-large"},
                    [](CheckedHost &, Bitmap &, Cell &cell) {
                        cell.targetWidth = 65536;
                        cell.targetHeight = 1;
                    }),
        WrongExport("TargetOfTooManyRows", {"too-large"},
                    [](CheckedHost &, Bitmap &, Cell &cell) {
                        cell.targetWidth = 1;
                        cell.targetHeight = 65535;
                    }),
    };
}

std::vector<Planted> ExportMistakes() {
    return {
        WrongRecords("NoBitmap", {"export-records"},
                     [](CheckedHost &host, BitmapRecord &, HostRecord &records) {
                         const CellRecord cell = CheckedHost::MakeCell();
                         EXPECT_EQ(host.exportCellData("a", nullptr, &cell, &records), 300);
                     }),
        WrongRecords("NoCell", {"export-records"},
                     [](CheckedHost &host, BitmapRecord &bitmap, HostRecord &records) {
                         EXPECT_EQ(host.exportCellData("a", &bitmap, nullptr, &records), 300);
                     }),
        WrongRecords("NoHostRecord", {"export-records"},
                     [](CheckedHost &host, BitmapRecord &bitmap, HostRecord &) {
                         const CellRecord cell = CheckedHost::MakeCell();
                         EXPECT_EQ(host.exportCellData("a", &bitmap, &cell, nullptr), 22);
                     }),
        WrongRecords("MemoryWithoutAnExportRecord", {"memory-output"},
                     [](CheckedHost &host, BitmapRecord &bitmap, HostRecord &records) {
                         const CellRecord cell = CheckedHost::MakeCell();
                         EXPECT_EQ(host.exportCellData("", &bitmap, &cell, &records), 303);
                     }),
        WrongRecords("NameThatIsTooLong", {"output-name"},
                     [](CheckedHost &host, BitmapRecord &bitmap, HostRecord &records) {
                         const CellRecord cell = CheckedHost::MakeCell();
                         const std::string name(4096, 'x');
                         EXPECT_EQ(host.exportCellData(name.c_str(), &bitmap, &cell, &records),
                                   303);
                     }),
        WrongRecords("NoBitmapWithTheBlockOfAnEarlierExport", {"export-records"},
                     [](CheckedHost &host, BitmapRecord &, HostRecord &records) {
                         const CellRecord cell = CheckedHost::MakeCell();
                         ExportRecord record = {};
                         record.memoryBlock = host.alloc(KOWEN_GLOBAL_FLAGS, 8);
                         host.free(record.memoryBlock);
                         records.exportRecord = &record;
                         EXPECT_EQ(host.exportCellData("", nullptr, &cell, &records), 300);
                     }),
        {"SizeWithoutAWidth",
         {"size-pointers"},
         [](CheckedHost &host) {
             double height = 44;
             host.module->Symbol<ScaleImageSizeFunction>("ScaleImageSize")(nullptr, &height);
             EXPECT_EQ(height, 44);
         }},
        {"SizeWithoutAHeight",
         {"size-pointers"},
         [](CheckedHost &host) {
             double width = 44;
             host.module->Symbol<ScaleImageSizeFunction>("ScaleImageSize")(&width, nullptr);
             EXPECT_EQ(width, 44);
         }},
    };
}

std::vector<Planted> EscapeMistakes() {
    return {
        WrongEscape("UnknownEscape", "escape-code",
                    [](CheckedHost &host, MemoryHandle setup) {
                        EXPECT_EQ(host.escape(setup, 2, 0, nullptr, nullptr, 0), 0);
                    }),
        WrongEscape("QualityInAByte", "escape-size",
                    [](CheckedHost &host, MemoryHandle setup) {
                        const int8_t quality = 90;
                        EXPECT_EQ(
                            host.escape(setup, KOWEN_ESCAPE_SET_QUALITY, 1, &quality, nullptr, 0),
                            -1);
                    }),
        WrongEscape("ProcedureWithTheSizeOfAnAddress", "escape-size",
                    [](CheckedHost &host, MemoryHandle setup) {
                        EXPECT_EQ(host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 8,
                                              reinterpret_cast<const void *>(&TakesTooMuch),
                                              nullptr, 0),
                                  1);
                    }),
        WrongCode("ResolutionModeOfAProfile", KOWEN_ESCAPE_SET_RESOLUTION_MODE, 310, 1,
                  "KOWEN_ESCAPE_SET_RESOLUTION_MODE takes KOWEN_ESCAPE_RESOLUTION_FROM_DISPLAY (0) "
                  "to KOWEN_ESCAPE_RESOLUTION_USER (3), not 310, which is the profile's "
                  "KOWEN_RESOLUTION_USER"),
        WrongCode("SizeModeOfAProfile", KOWEN_ESCAPE_SET_SIZE_MODE, 600, 1,
                  "KOWEN_ESCAPE_SET_SIZE_MODE takes KOWEN_ESCAPE_SIZE_FROM_DISPLAY (0) to "
                  "KOWEN_ESCAPE_SIZE_USER (3), not 600, which is the profile's "
                  "KOWEN_SIZE_FROM_DISPLAY"),
        WrongCode("QualityModeThatThereIsNot", KOWEN_ESCAPE_SET_QUALITY_MODE, 2, 1,
                  "KOWEN_ESCAPE_SET_QUALITY_MODE takes KOWEN_ESCAPE_QUALITY_FIXED (0) to "
                  "KOWEN_ESCAPE_QUALITY_USER (1), not 2."),
        WrongCode("ColourModeOfAProfile", KOWEN_ESCAPE_SET_COLOR_MODE, 106, -1,
                  "KOWEN_ESCAPE_SET_COLOR_MODE takes KOWEN_ESCAPE_COLOR_UNCHANGED (101) to "
                  "KOWEN_ESCAPE_COLOR_GREY_SCALE_INVERTED (105), not 106, which is the profile's "
                  "KOWEN_COLOR_GREY_SCALE"),
        WrongCode("ColourFormatBetweenTwo", KOWEN_ESCAPE_SET_COLOR_FORMAT, 141, -1,
                  "KOWEN_ESCAPE_SET_COLOR_FORMAT takes KOWEN_ESCAPE_FORMAT_GREY (140) to "
                  "KOWEN_ESCAPE_FORMAT_YCC422 (147), not 141."),
        WrongEscape(
            "SetterWithoutAValue", "escape-pointers",
            [](CheckedHost &host, MemoryHandle setup) {
                EXPECT_EQ(host.escape(setup, KOWEN_ESCAPE_SET_QUALITY, 4, nullptr, nullptr, 0), -1);
            }),
        WrongEscape(
            "GetterWithoutRoom", "escape-pointers",
            [](CheckedHost &host, MemoryHandle setup) {
                EXPECT_EQ(host.escape(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, nullptr, 0), -1);
            }),
        WrongEscape("RasterQueryOfASetupThatIsNotCurrent", "raster-query",
                    [](CheckedHost &host, MemoryHandle setup) {
                        const MemoryHandle other = host.MakeSetup();
                        const RasterQuery query = {96, 0, 96, 8, 4, 640, 480};
                        RasterAnswer answer = {};
                        host.escape(setup, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0);
                        host.editSetup(setup, 0);
                        host.escape(setup, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0);
                        host.destroySetup(other);
                    }),
    };
}

} // namespace kowen::test
