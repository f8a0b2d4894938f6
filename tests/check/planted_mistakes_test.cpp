// Hosts that break one rule each, and what the checking module reports.
#include "check/checked_host.h"
#include "check/rules.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <functional>
#include <ostream>
#include <set>
#include <thread>

namespace {

using namespace kowen::test;

using Mistakes = std::vector<std::string>;

/// What hosts forget to free, kept to the end: a sanitizer would report it as well.
std::vector<MemoryHandle> &forgotten = *new std::vector<MemoryHandle>;

struct Planted {
    const char *name;
    Mistakes reported;
    std::function<void(CheckedHost &)> host;
};

void PrintTo(const Planted &planted, std::ostream *out) {
    *out << planted.name;
}

/// A status callback that does what a test says.
struct Prank {
    ExportRecord record = {};
    std::function<int32_t()> onStatus;

    Prank() {
        record.context = reinterpret_cast<uintptr_t>(this);
        record.statusCallback = [](uintptr_t context, int32_t, int32_t, int32_t, int32_t, int32_t,
                                   void *) {
            return reinterpret_cast<Prank *>(context)->onStatus();
        };
    }
};

/// Answers the first write of a file with more than its count.
intptr_t TakesTooMuch(uintptr_t, int32_t operation, void *, int32_t count) {
    static bool isFirst;
    if (operation == KOWEN_IO_OPEN)
        isFirst = true;
    if (operation != KOWEN_IO_WRITE)
        return operation == KOWEN_IO_OPEN;
    const int32_t answer = isFirst ? count + 1 : count;
    isFirst = false;
    return answer;
}

void WithSetup(CheckedHost &host, const std::function<void(MemoryHandle)> &use) {
    const MemoryHandle setup = host.MakeSetup();
    use(setup);
    host.destroySetup(setup);
}

/// Exports one picture with one thing wrong.
Planted WrongExport(const char *name, Mistakes reported,
                    const std::function<void(CheckedHost &, BitmapRecord &, CellRecord &)> &spoil) {
    return {name, std::move(reported), [spoil](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    BitmapRecord bitmap = host.MakeBitmap();
                    CellRecord cell = CheckedHost::MakeCell();
                    spoil(host, bitmap, cell);
                    host.Export(setup, bitmap, cell);
                });
            }};
}

/// Sends one request with the device in the body of a picture.
Planted WrongDrawing(const char *name, Mistakes reported,
                     const std::function<void(CheckedHost &)> &draw) {
    return {name, std::move(reported), [draw](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    host.BeginBody(setup);
                    draw(host);
                    host.EndPicture();
                });
            }};
}

/// One escape with one thing wrong.
Planted WrongEscape(const char *name, const char *rule,
                    const std::function<void(CheckedHost &, MemoryHandle)> &escape) {
    return {name, {rule}, [escape](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) { escape(host, setup); });
            }};
}

const std::vector<uint8_t> kFourRows(24 * 4);

std::vector<Planted> LoadingMistakes() {
    return {
        {"NoModuleName",
         {"module-name"},
         [](CheckedHost &host) {
             host.module->NameModule("");
             WithSetup(host, [](MemoryHandle) {});
         }},
        {"UnterminatedModuleName",
         {"module-name"},
         [](CheckedHost &host) {
             auto *name = static_cast<char *>(const_cast<void *>(host.module->Find("szDLLName")));
             std::memset(name, 'x', 260);
             WithSetup(host, [](MemoryHandle) {});
         }},
        {"SetupLeft", {"unload"}, [](CheckedHost &host) { forgotten.push_back(host.MakeSetup()); }},
        {"BlockLeft",
         {"unload"},
         [](CheckedHost &host) { forgotten.push_back(host.alloc(KOWEN_GLOBAL_FLAGS, 9)); }},
        {"MemoryOutputLeft",
         {"unload"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 BitmapRecord bitmap = host.MakeBitmap();
                 const CellRecord cell = CheckedHost::MakeCell();
                 ExportRecord record = {};
                 HostRecord records = {};
                 records.setup = setup;
                 records.exportRecord = &record;
                 host.exportCellData("", &bitmap, &cell, &records);
                 host.free(bitmap.pixels);
                 forgotten.push_back(record.memoryBlock);
             });
         }},
#ifndef KOWEN_SANITIZED // what the device had is lost with the module
        {"DeviceLeft",
         {"setup-outlives", "unload"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) { host.Initialise(setup); });
         }},
#endif
    };
}

std::vector<Planted> CallMistakes() {
    return {
        {"CallFromAnotherThread",
         {"one-thread"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] {
                     std::thread([&] { EXPECT_EQ(host.version(), 0u); }).join();
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
         }},
        {"CallFromInsideACallback",
         {"callback-calls"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] {
                     EXPECT_EQ(host.version(), 0x02000005u);
                     host.free(host.alloc(KOWEN_GLOBAL_FLAGS, 1)); // memory is allowed
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
         }},
        {"SetupDestroyedFromInsideACallback",
         {"callback-calls", "setup-outlives"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] {
                     EXPECT_EQ(host.destroySetup(setup), 1);
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
         }},
        {"WriteAnsweredWithMoreThanItsCount",
         {"write-answer"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                             reinterpret_cast<const void *>(&TakesTooMuch), nullptr, 0);
                 host.Export(setup, host.MakeBitmap());
             });
         }},
    };
}

std::vector<Planted> HandleMistakes() {
    return {
        {"SetupDestroyedTwice",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             EXPECT_EQ(host.destroySetup(setup), 0);
             EXPECT_EQ(host.destroySetup(setup), 1);
         }},
        {"EndedSetupExported",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             host.destroySetup(setup);
             EXPECT_EQ(host.Export(setup, host.MakeBitmap()), 303);
         }},
        {"EndedSetupEdited",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             host.destroySetup(setup);
             EXPECT_EQ(host.editSetup(setup, 1), -1);
         }},
        {"BlockTakenForASetup",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 4096);
             EXPECT_EQ(host.editSetup(block, 1), -1);
             host.free(block);
         }},
        {"SetupDestroyedUnderItsDevice",
         {"setup-outlives"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             host.Initialise(setup);
             host.destroySetup(setup);
             host.Terminate();
         }},
        {"BlockFreedTwice",
         {"block-handle"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 9);
             host.free(block);
             host.free(block);
         }},
        {"BlockUsedAfterItsReallocation",
         {"block-handle", "block-handle"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 9);
             const MemoryHandle other = host.reAlloc(block, 400000, KOWEN_GLOBAL_FLAGS);
             EXPECT_EQ(host.lock(block), nullptr);
             EXPECT_EQ(host.size(block), 0u);
             EXPECT_EQ(host.size(other), 400000u);
             host.free(other);
         }},
        {"SetupFreedAsABlock",
         {"block-handle"},
         [](CheckedHost &host) { WithSetup(host, [&](MemoryHandle setup) { host.free(setup); }); }},
        {"UnlockOfNothing",
         {"block-handle"},
         [](CheckedHost &host) { EXPECT_EQ(host.unlock(0x1234), 0); }},
        {"OtherFlags", {"block-flags"}, [](CheckedHost &host) { host.free(host.alloc(0, 9)); }},
        {"HandleOfAnAddressInside",
         {"block-address"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 16);
             char *data = static_cast<char *>(host.lock(block));
             EXPECT_EQ(host.handleOf(data), block);
             EXPECT_EQ(host.handleOf(data + 8), 0u);
             host.free(block);
         }},
        {"HandleOfWrappedMemory",
         {"block-address"},
         [](CheckedHost &host) {
             char bytes[16] = {};
             const MemoryHandle block = host.wrap(bytes, sizeof bytes);
             EXPECT_EQ(host.handleOf(bytes), 0u);
             host.free(block);
         }},
    };
}

std::vector<Planted> ExportMistakes() {
    using Bitmap = BitmapRecord;
    using Cell = CellRecord;
    std::vector<Planted> planted = {
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
        WrongExport("NoWidth", {"empty"},
                    [](CheckedHost &, Bitmap &bitmap, Cell &) { bitmap.width = 0; }),
        WrongExport("NoTarget", {"empty"},
                    [](CheckedHost &, Bitmap &, Cell &cell) { cell.targetHeight = 0; }),
        WrongExport("TargetOfTooManyRows", {"too-large"},
                    [](CheckedHost &, Bitmap &, Cell &cell) {
                        cell.targetWidth = 1;
                        cell.targetHeight = 65535;
                    }),
    };
    planted.push_back({"NoCell", {"export-records"}, [](CheckedHost &host) {
                           WithSetup(host, [&](MemoryHandle setup) {
                               BitmapRecord bitmap = host.MakeBitmap();
                               HostRecord records = {};
                               records.setup = setup;
                               EXPECT_EQ(host.exportCellData("a", &bitmap, nullptr, &records), 300);
                               host.free(bitmap.pixels);
                           });
                       }});
    planted.push_back({"MemoryWithoutAnExportRecord", {"memory-output"}, [](CheckedHost &host) {
                           WithSetup(host, [&](MemoryHandle setup) {
                               BitmapRecord bitmap = host.MakeBitmap();
                               const CellRecord cell = CheckedHost::MakeCell();
                               HostRecord records = {};
                               records.setup = setup;
                               EXPECT_EQ(host.exportCellData("", &bitmap, &cell, &records), 303);
                               host.free(bitmap.pixels);
                           });
                       }});
    planted.push_back(
        {"NameThatIsTooLong", {"output-name"}, [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 BitmapRecord bitmap = host.MakeBitmap();
                 const CellRecord cell = CheckedHost::MakeCell();
                 HostRecord records = {};
                 records.setup = setup;
                 const std::string name(4096, 'x');
                 EXPECT_EQ(host.exportCellData(name.c_str(), &bitmap, &cell, &records), 303);
                 host.free(bitmap.pixels);
             });
         }});
    return planted;
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

std::vector<Planted> DeviceMistakes() {
    return {
        {"NoOpenRecord",
         {"device-record"},
         [](CheckedHost &host) { EXPECT_EQ(host.raster(0, KOWEN_DD_INITIALISE, nullptr), 300); }},
        {"NoRequest",
         {"device-record"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 host.raster(0, KOWEN_DD_DISPATCH, nullptr);
                 host.Terminate();
             });
         }},
        {"RequestBeforeInitialisation",
         {"device-runs"},
         [](CheckedHost &host) { EXPECT_EQ(host.Run(kOpenDevice), 0); }},
        {"TerminatedTwice",
         {"device-runs"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 host.Terminate();
                 host.Terminate();
             });
         }},
        {"InitialisedWhileOpen",
         {"device-again"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 host.Run(kOpenDevice);
                 host.Initialise(setup);
                 host.Terminate();
             });
         }},
        {"DeviceWithoutASetup",
         {"device-setup"},
         [](CheckedHost &host) {
             host.Initialise(0);
             host.Terminate();
         }},
        {"ExportDeviceWithAnEndedSetup",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             host.destroySetup(setup);
             OpenRecord record = {};
             record.setup = setup;
             EXPECT_EQ(host.exporter(0, KOWEN_DD_INITIALISE, &record), 300);
         }},
        {"DevicesNameThatIsTooLong",
         {"device-name"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup, std::string(144, 'x'));
                 host.Terminate();
             });
         }},
    };
}

std::vector<Planted> RequestMistakes() {
    std::vector<Planted> planted = {
        WrongDrawing("UnknownOpcode", {"request-state"},
                     [](CheckedHost &host) { EXPECT_EQ(host.Run(600), 0); }),
        WrongDrawing("WindowInTheBody", {"request-state"},
                     [](CheckedHost &host) { host.Run(WindowRequest(0, 0, 1, 1)); }),
        WrongDrawing("PictureWiderThanTheWindow", {"window"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(9, 4, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("CellsWithoutAPicture", {"primitives"},
                     [](CheckedHost &host) { host.Run(CellsRequest(8, 4, 24, kFourRows)); }),
        WrongDrawing("PictureWrittenTwice", {"primitives"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 4, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("RowsMissing", {"rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 5, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("RowsTooMany", {"rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 3, 24));
                         host.Run(CellsRequest(8, 4, 24, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("CellsOfAnotherDepth", {"rows"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 4, 24));
                         host.Run(CellsRequest(8, 4, 8, kFourRows));
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("CellsAtNoAddress", {"cell-address"},
                     [](CheckedHost &host) {
                         host.Run(OpenPictureRequest(8, 4, 24));
                         EXPECT_EQ(host.Run(FarCellsRequest(8, 4, -24, nullptr)), 300);
                         host.Run(WritePictureRequest());
                     }),
        WrongDrawing("ColoursCountedWithoutTheirPlace", {"colour-count"},
                     [](CheckedHost &host) {
                         Request colours = ColorsRequest(0, {1, 2, 3});
                         host.Run(colours.Put(4, uint32_t{3}));
                     }),
        WrongDrawing("ColoursBeyondTheTable", {"colour-count"},
                     [](CheckedHost &host) {
                         host.Run(ColorsRequest(255, {1, 2, 3, 4, 5, 6}));
                     }),
        WrongDrawing("AnswersBeyondTheReturnArea", {"return-area"},
                     [](CheckedHost &host) {
                         host.Run(kQueryWindow);
                         host.Run(kQueryViewport);
                     }),
    };
    return planted;
}

std::vector<Planted> AllPlanted() {
    std::vector<Planted> all;
    for (const auto &part : {LoadingMistakes(), CallMistakes(), HandleMistakes(), ExportMistakes(),
                             EscapeMistakes(), DeviceMistakes(), RequestMistakes()})
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class PlantedMistake : public testing::TestWithParam<Planted> {};

TEST_P(PlantedMistake, IsReportedAndNothingElseIs) {
    testing::internal::CaptureStderr();
    CheckedHost host;
    GetParam().host(host);
    host.Unload();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(host.Mistakes(), GetParam().reported) << host.Trace();
    EXPECT_NE(said.find("kowen-check: mistake 1 ["), std::string::npos) << said;
}

INSTANTIATE_TEST_SUITE_P(Host, PlantedMistake, testing::ValuesIn(AllPlanted()),
                         [](const auto &planted) { return planted.param.name; });

// A jump out of a callback leaves the module's frames behind, and what they own.
TEST(PlantedJump, IsReportedWithTheNextCall) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "a jump over frames leaves memory behind";
#else
    testing::internal::CaptureStderr();
    CheckedHost host;
    static std::jmp_buf back;
    static Prank prank;
    prank.onStatus = []() -> int32_t { std::longjmp(back, 1); };
    const MemoryHandle setup = host.MakeSetup();
    if (setjmp(back) == 0)
        host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
    host.version();
    EXPECT_EQ(host.Mistakes(), Mistakes{"callback-returns"}) << host.Trace();
    host.Unload();
    testing::internal::GetCapturedStderr();
#endif
}

// The module is made without exceptions: one may end the process or pass through.
TEST(PlantedExceptionDeathTest, IsReportedWhateverBecomesOfIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto throwFromACallback = [] {
        CheckedHost host;
        Prank prank;
        prank.onStatus = []() -> int32_t { throw 1; };
        const MemoryHandle setup = host.MakeSetup();
        try {
            host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
        } catch (...) {
            std::abort();
        }
    };
    EXPECT_DEATH(throwFromACallback(), "callback-returns.*statusCallback was left by an exception");
}

TEST(PlantedMistakes, BreakEveryRule) {
    std::set<std::string> broken = {"callback-returns"}; // above
    for (const Planted &planted : AllPlanted())
        broken.insert(planted.reported.begin(), planted.reported.end());
    for (const kowen::check::RuleText &rule : kowen::check::AllRules())
        EXPECT_TRUE(broken.contains(rule.name)) << "no host breaks " << rule.name;
}

} // namespace
