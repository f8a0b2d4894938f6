// Hosts that go as far as the rules let them: one step more is among the planted mistakes.
#include "check/planted.h"

#include <utility>

namespace kowen::test {
namespace {

struct Allowed {
    const char *name;
    std::function<void(CheckedHost &)> host;
};

void PrintTo(const Allowed &allowed, std::ostream *out) {
    *out << allowed.name;
}

Allowed Exporting(const char *name,
                  const std::function<void(CheckedHost &, BitmapRecord &, CellRecord &)> &fill) {
    return {name, WrongExport(name, {}, fill).host};
}

Allowed Drawing(const char *name, const std::function<void(CheckedHost &)> &draw) {
    return {name, WrongDrawing(name, {}, draw).host};
}

const Allowed kSetups[] = {
    {"TextsOf143Bytes",
     [](CheckedHost &host) {
         const std::string text(143, 'x');
         host.destroySetup(host.createSetup(0, text.c_str(), text.c_str(), text.c_str()));
     }},
    {"TableAskedForTwice",
     [](CheckedHost &host) {
         EntryPointRecord record = {};
         host.module->Symbol<LoadPointersFunction>("fltLoadPointers")(&record);
         EXPECT_EQ(record.entryCount, 9);
     }},
    {"QueryOfTheSetupThatWasExportedLast",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             const MemoryHandle other = host.MakeSetup();
             host.Export(setup, host.MakeBitmap());
             EXPECT_EQ(host.AskSize(setup), 8);
             host.destroySetup(other);
             host.editSetup(setup, 0);
             EXPECT_EQ(host.AskSize(setup), 8);
         });
     }},
    {"WhatTheHeadersLeaveOpen",
     [](CheckedHost &host) {
         host.free(0);
         EXPECT_EQ(host.size(0), 0u);
         EXPECT_EQ(host.lock(0), nullptr);
         const auto info = host.module->Symbol<GetDisplayInfoFunction>("GetDisplayInfo");
         EXPECT_EQ(info(nullptr, nullptr, nullptr, nullptr), 0);
         EXPECT_EQ(host.raster(0, KOWEN_DD_NOTHING, nullptr), 0);
         host.module->Symbol<InquireSupportFunction>("InquireSupport")(600, 1);
     }},
};

intptr_t TakesAll(uintptr_t, int32_t operation, void *, int32_t count) {
    return operation == KOWEN_IO_OPEN ? 1 : operation == KOWEN_IO_WRITE ? count : 0;
}

void ExportAs(CheckedHost &host, const std::string &name) {
    WithSetup(host, [&](MemoryHandle setup) {
        host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, reinterpret_cast<const void *>(&TakesAll),
                    nullptr, 0);
        BitmapRecord bitmap = host.MakeBitmap();
        const CellRecord cell = CheckedHost::MakeCell();
        HostRecord records = {};
        records.setup = setup;
        EXPECT_EQ(host.exportCellData(name.c_str(), &bitmap, &cell, &records), 0);
        host.free(bitmap.pixels);
    });
}

/// Of other values than a user may choose.
void SetAllCodes(CheckedHost &host, MemoryHandle setup) {
    const std::pair<int32_t, std::vector<int32_t>> kInputs[] = {
        {KOWEN_ESCAPE_SET_COLOR_MODE, {101, 102, 103, 104, 105}},
        {KOWEN_ESCAPE_SET_COLOR_FORMAT, {140, 146, 147}},
        {KOWEN_ESCAPE_SET_RESOLUTION_MODE, {0, 1, 2, 3}},
        {KOWEN_ESCAPE_SET_SIZE_MODE, {0, 1, 2, 3}},
        {KOWEN_ESCAPE_SET_QUALITY_MODE, {0, 1}}};
    for (const auto &[code, inputs] : kInputs)
        for (const int32_t input : inputs)
            EXPECT_EQ(host.escape(setup, code, 4, &input, nullptr, 0), 1);
    const int32_t quality = 101; // a user's choice
    EXPECT_EQ(host.escape(setup, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 0), -1);
}

const Allowed kExports[] = {
    {"OpenRefusedWithoutAName",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             const HostIoProcedure refuse = [](uintptr_t, int32_t, void *, int32_t) -> intptr_t {
                 return 0;
             };
             host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, reinterpret_cast<const void *>(refuse),
                         nullptr, 0);
             BitmapRecord bitmap = host.MakeBitmap();
             EXPECT_EQ(host.ExportToMemory(setup, bitmap, nullptr), 303);
             host.free(bitmap.pixels);
         });
     }},
    {"EveryCodeOfASetting",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) { SetAllCodes(host, setup); });
     }},
    {"SetupOfNothingThatIsAskedAndDestroyed",
     [](CheckedHost &host) {
         const std::string profile = host.directory.Write("a.ini", "[B]\n");
         const MemoryHandle setup = host.createSetup(0, profile.c_str(), nullptr, nullptr);
         int32_t quality = 1;
         host.escape(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0);
         EXPECT_EQ(quality, 0);
         host.destroySetup(setup);
     }},
    Exporting("RowsThatFillTheirBlock",
              [](CheckedHost &, BitmapRecord &bitmap, CellRecord &) {
                  bitmap.width = 10; // 30 bytes, 32 with their padding; 4 rows in 128
              }),
    Exporting("PaletteOfTwoEntries",
              [](CheckedHost &host, BitmapRecord &bitmap, CellRecord &) {
                  bitmap.depth = 1;
                  bitmap.palette = host.MakePalette(6);
              }),
    Exporting("PaletteOf16Entries",
              [](CheckedHost &host, BitmapRecord &bitmap, CellRecord &) {
                  bitmap.depth = 4;
                  bitmap.palette = host.MakePalette(48);
              }),
    Exporting("PaletteOf256Entries",
              [](CheckedHost &host, BitmapRecord &bitmap, CellRecord &) {
                  bitmap.depth = 8;
                  bitmap.palette = host.MakePalette(768);
              }),
    Exporting("TargetOf65535Columns",
              [](CheckedHost &, BitmapRecord &, CellRecord &cell) {
                  cell.targetWidth = 65535;
                  cell.targetHeight = 1;
              }),
    Exporting("TargetOf65534Rows",
              [](CheckedHost &, BitmapRecord &, CellRecord &cell) {
                  cell.targetWidth = 1;
                  cell.targetHeight = 65534;
              }),
    {"NameOf4095Bytes", [](CheckedHost &host) { ExportAs(host, std::string(4095, 'x')); }},
    {"ProcedureWithoutAName", [](CheckedHost &host) { ExportAs(host, ""); }},
    {"MemoryOutputTwiceWithOneRecord",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             const BitmapRecord bitmap = host.MakeBitmap();
             ExportRecord record = {};
             for (int i = 0; i < 2; ++i) {
                 EXPECT_EQ(host.ExportToMemory(setup, bitmap, &record), 0);
                 EXPECT_TRUE(host.HoldsJpeg(record.memoryBlock));
                 host.free(record.memoryBlock);
             }
             // The record names an ended block now, which is nobody's business.
             host.Export(setup, bitmap, CheckedHost::MakeCell(), &record);
         });
     }},
    {"FilesWithAMemoryBlockThatWasNeverSet",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             ExportRecord record = {};
             record.memoryBlock = 0x5A5A5A5A; // it is written for memory output alone
             EXPECT_EQ(host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &record), 0);
             EXPECT_EQ(record.memoryBlock, 0x5A5A5A5Au);
             host.DrawPicture(setup, &record);
             EXPECT_EQ(record.memoryBlock, 0x5A5A5A5Au);
         });
     }},
    {"GettersWithAnyInput",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             const auto *nothing = reinterpret_cast<const void *>(uintptr_t{16});
             int32_t value = 0;
             for (const int32_t code : {KOWEN_ESCAPE_GET_QUALITY, KOWEN_ESCAPE_GET_COLOR_MODE,
                                        KOWEN_ESCAPE_GET_HOST_VALUE})
                 EXPECT_EQ(host.escape(setup, code, 4, nothing, &value, 0), 1);
             double size[2] = {};
             EXPECT_EQ(host.escape(setup, KOWEN_ESCAPE_GET_SIZE, 8, nothing, size, 0), 1);
         });
     }},
    {"OtherBlocksEndedInACallback",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             ExportRecord before = {};
             BitmapRecord bitmap = host.MakeBitmap();
             host.ExportToMemory(setup, bitmap, &before);
             Prank prank;
             prank.record.memoryBlock = before.memoryBlock; // an earlier one
             prank.onStatus = [&] {
                 EXPECT_EQ(host.free(before.memoryBlock), 0);
                 const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 8);
                 host.free(host.reAlloc(block, 16, KOWEN_GLOBAL_FLAGS));
                 EXPECT_NE(host.lock(bitmap.pixels), nullptr);
                 return 0;
             };
             host.Export(setup, bitmap, CheckedHost::MakeCell(), &prank.record);
         });
     }},
};

const Allowed kDevices[] = {
    {"DevicesNameOf143Bytes",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             host.InitialiseWithPath(setup, std::string(143, 'x'));
             host.Terminate();
         });
     }},
    {"ExportDevicesNameOf4095Bytes",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             std::string name(4095, 'x');
             OpenRecord record = {};
             record.outputName = name.data();
             record.setup = setup;
             EXPECT_EQ(host.exporter(0, KOWEN_DD_INITIALISE, &record), 303); // no such directory
         });
     }},
    {"BlockFreedInACallbackWhileADeviceRuns",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             Prank prank;
             prank.record.memoryBlock = host.alloc(KOWEN_GLOBAL_FLAGS, 8);
             prank.onStatus = [&] {
                 host.free(prank.record.memoryBlock);
                 prank.record.memoryBlock = 0;
                 return 0;
             };
             host.DrawPicture(setup, &prank.record);
         });
     }},
    Drawing("PictureOfTheWindowInStrips",
            [](CheckedHost &host) {
                host.Run(OpenPictureRequest(8, 8, 24));
                host.Run(CellsRequest(8, 4, 24, kFourRows));
                host.Run(CellsRequest(8, 4, 24, kFourRows));
                host.Run(WritePictureRequest());
            }),
    {"PictureGivenUp",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             host.BeginBody(setup);
             host.Run(OpenPictureRequest(8, 4, 24));
             host.Terminate();
             host.Initialise(setup, "no/such/directory.jpg");
             EXPECT_EQ(host.Run(kOpenDevice), 303);
             host.Run(kCloseDevice);
             host.Terminate();
         });
     }},
    {"DeviceWithAProcedureAndNoName",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                         reinterpret_cast<const void *>(&TakesAll), nullptr, 0);
             host.InitialiseWithPath(setup, "");
             host.Run(kOpenDevice);
             host.Terminate();
         });
     }},
    Drawing("PictureBehindPoints",
            [](CheckedHost &host) {
                host.Run(OpenPictureRequest(8, 4, 24, 0, 2));
                host.Run(CellsRequest(8, 4, 24, kFourRows));
                host.Run(WritePictureRequest());
            }),
    Drawing("WholeTableOfColours",
            [](CheckedHost &host) {
                host.Run(ColorsRequest(0, std::vector<uint8_t>(768)));
                host.Run(ColorsRequest(255, {1, 2, 3}));
            }),
    {"AnswersThatFillTheReturnArea",
     [](CheckedHost &host) {
         WithSetup(host, [&](MemoryHandle setup) {
             host.returnAreaSize = 52; // 48 and 4
             host.BeginBody(setup);
             host.Run(kQueryWindow);
             host.Run(PopErrorsRequest());
             host.EndPicture();
         });
     }},
};

std::vector<Allowed> AllAllowed() {
    std::vector<Allowed> all(std::begin(kSetups), std::end(kSetups));
    all.insert(all.end(), std::begin(kExports), std::end(kExports));
    all.insert(all.end(), std::begin(kDevices), std::end(kDevices));
    return all;
}

class Boundary : public testing::TestWithParam<Allowed> {};

TEST_P(Boundary, IsNoMistake) {
    testing::internal::CaptureStderr();
    CheckedHost host;
    GetParam().host(host);
    host.Unload();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kowen-check: " + host.TraceLines().back() + "\n");
    EXPECT_EQ(host.Mistakes(), Mistakes{}) << host.Trace();
}

INSTANTIATE_TEST_SUITE_P(Host, Boundary, testing::ValuesIn(AllAllowed()),
                         [](const auto &allowed) { return std::string(allowed.param.name); });

} // namespace
} // namespace kowen::test
