// What the trace says of arguments, records and answers.
#include "check/planted.h"

#include <gtest/gtest.h>

namespace kowen::test {
namespace {

/// The trace of a host that makes no mistake, from its first call behind the doors on.
std::string TraceOf(const std::function<void(CheckedHost &)> &host) {
    CheckedHost checked;
    host(checked);
    EXPECT_EQ(checked.Mistakes(), Mistakes{}) << checked.Trace();
    const std::string trace = checked.Trace();
    return trace.substr(trace.find("\n4 ") + 1);
}

void ExpectIn(const std::string &trace, const std::string &text) {
    EXPECT_NE(trace.find(text), std::string::npos) << text << "\n  is not in\n" << trace;
}

template <typename Value>
void Set(CheckedHost &host, MemoryHandle setup, int32_t code, Value value) {
    host.escape(setup, code, sizeof value, &value, nullptr, 0);
}

TEST(CheckTraceOfEscapes, ModesStandByTheirNames) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            Set(host, setup, KOWEN_ESCAPE_SET_COLOR_MODE, int32_t{104});
            Set(host, setup, KOWEN_ESCAPE_SET_COLOR_FORMAT, int32_t{146});
            Set(host, setup, KOWEN_ESCAPE_SET_RESOLUTION_MODE, int32_t{1});
            Set(host, setup, KOWEN_ESCAPE_SET_SIZE_MODE, int32_t{3});
            Set(host, setup, KOWEN_ESCAPE_SET_QUALITY_MODE, int32_t{0});
            Set(host, setup, KOWEN_ESCAPE_SET_WIDTH, 2.5);
            int32_t mode = 0;
            host.escape(setup, KOWEN_ESCAPE_GET_COLOR_MODE, 4, nullptr, &mode, 0);
        });
    });
    ExpectIn(trace, "SET_COLOR_MODE, size 4, in KOWEN_ESCAPE_COLOR_GREY_SCALE,");
    ExpectIn(trace, "SET_COLOR_FORMAT, size 4, in KOWEN_ESCAPE_FORMAT_RGB444,");
    ExpectIn(trace, "SET_RESOLUTION_MODE, size 4, in KOWEN_ESCAPE_RESOLUTION_FROM_PRINTER,");
    ExpectIn(trace, "SET_SIZE_MODE, size 4, in KOWEN_ESCAPE_SIZE_USER,");
    ExpectIn(trace, "SET_QUALITY_MODE, size 4, in KOWEN_ESCAPE_QUALITY_FIXED,");
    ExpectIn(trace, "SET_WIDTH, size 8, in 2.5,");
    ExpectIn(trace, "returns result 1, out KOWEN_ESCAPE_COLOR_GREY_SCALE\n");
}

TEST(CheckTraceOfEscapes, TheRasterQueryIsAnswered) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) { EXPECT_EQ(host.AskSize(setup), 8); });
    });
    ExpectIn(trace, "in {displayResolution 96, pictureResolution 96, pictureWidth 8, pictureHeight "
                    "4, displayWidth 640, displayHeight 480}, out true");
    ExpectIn(trace, "returns result 1, out {width 8, height 4, bitsPerPixel 24}\n");
}

TEST(CheckTraceOfCalls, SizesAndInfosAreAnswered) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        double width = 44;
        double height = 11;
        host.module->Symbol<ScaleImageSizeFunction>("ScaleImageSize")(&width, &height);
        const auto set = host.module->Symbol<SetDisplayInfoFunction>("SetPrinterInfo");
        const auto get = host.module->Symbol<GetDisplayInfoFunction>("GetPrinterInfo");
        set(8, 12, 300, 150);
        int16_t resolution = 0;
        get(nullptr, &height, &resolution, nullptr);
        host.module->Symbol<SetDisplayInfoFunction>("SetDisplayInfo")(960, 480, 96, 96);
        host.module->Symbol<GetDisplayInfoFunction>("GetDisplayInfo")(&width, &height, &resolution,
                                                                      nullptr);
        host.module->Symbol<InquireSupportFunction>("InquireSupport")(1034, -5);
        host.module->Symbol<GlobalCompactFunction>("GlobalCompact")(0);
        host.unlock(0);
    });
    ExpectIn(trace, "ScaleImageSize(width 44.0, height 11.0)\n4 returns width 22.0, height 5.5\n");
    ExpectIn(trace, "GetPrinterInfo()\n6 returns width null, height 12.0, xResolution 300, "
                    "yResolution null\n");
    ExpectIn(trace, "GetDisplayInfo()\n8 returns width 10.0, height 5.0, xResolution 96, "
                    "yResolution null\n");
    ExpectIn(trace, "InquireSupport(opcode KOWEN_REQUEST_PRIMITIVE, primitive "
                    "KOWEN_PRIMITIVE_OPEN_PICTURE)\n9 returns answer 0\n");
    ExpectIn(trace, "GlobalCompact(request 0)\n10 returns bytes 65536\n");
    ExpectIn(trace, "GlobalUnlock(handle 0)\n11 returns result 0\n");
    ExpectIn(trace, "xResolution 300, yResolution 150)\n5 returns nothing\n");
}

TEST(CheckTraceOfCalls, LocksAndFlags) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 8);
        host.lock(block);
        host.free(host.reAlloc(block, 16, KOWEN_GLOBAL_FLAGS));
    });
    ExpectIn(trace, "4 GlobalAlloc(flags KOWEN_GLOBAL_FLAGS, size 8)\n");
    ExpectIn(trace, "5 GlobalLock(handle block 1 of 8 bytes)\n5 returns data true\n");
    ExpectIn(trace, "(handle block 1 of 8 bytes, size 16, flags KOWEN_GLOBAL_FLAGS)\n");
}

TEST(CheckTraceOfDoors, VersionsAreTold) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        uint32_t version = 0;
        host.module->Entry<ShortDoorFunction>("dd_entry")(KOWEN_DOOR_VERSION, &version, 0);
        host.raster(0, KOWEN_DD_VERSION, &version);
    });
    ExpectIn(trace, "4 dd_entry(function KOWEN_DOOR_VERSION, out true)\n"
                    "4 returns version 33554437\n"); // 0x02000005
    ExpectIn(trace, "5 RASTER_dd_entry32(function KOWEN_DD_VERSION, record not read)\n"
                    "5 returns version 33554437, result 4\n");
}

TEST(CheckTraceOfDoors, OpenRecordsWithWhatIsWrittenThere) {
    std::string path;
    const std::string trace = TraceOf([&](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            Set(host, setup, KOWEN_ESCAPE_SET_COLOR_MODE, int32_t{102});
            int32_t capabilities[60] = {};
            ExportRecord record = {};
            record.hostValue = 5;
            record.picture[4] = 1440;
            path = host.directory.File("b.jpg");
            OpenRecord open = {};
            open.hostValue1 = 7;
            open.outputName = path.data();
            open.setup = setup;
            open.exportRecord = &record;
            open.returnAreaSize = 48;
            open.capabilities = capabilities;
            const std::string name = path;
            host.raster(0, KOWEN_DD_INITIALISE, &open);
            host.Terminate();
            host.exporter(0, KOWEN_DD_INITIALISE, &open);
            host.exporter(0, KOWEN_DD_TERMINATE, nullptr);
            path = name;
        });
    });
    ExpectIn(trace, "record {outputName " + path +
                        ", setup 1, exportRecord {context false, statusCallback false, hostValue "
                        "true, memoryBlock 0, picture [0,0,0,0,1440], ioContext false}, hostValue1 "
                        "true, hostValue2 false, returnAreaSize 48, capabilities true})\n"
                        "6 returns record {returnArea true, colorMode 1 (KOWEN_COLOR_INVERTED)}, "
                        "result 0, code KOWEN_OK\n");
    ExpectIn(trace, "8 returns record {outputName \"\", setup 0}, result 0, code KOWEN_OK\n");
}

TEST(CheckTraceOfRequests, HaveTheirArguments) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            host.Initialise(setup);
            host.Run(kOpenDevice);
            host.Run(kBeginPicture);
            host.Run(WindowRequest(0, 0, 7, 3));
            host.Run(Request(kSetBackground)
                         .Put(16, uint8_t{1})
                         .Put(17, uint8_t{2})
                         .Put(18, uint8_t{255}));
            host.Run(MillimetresRequest(0.5));
            host.Run(kBeginBody);
            host.Run(ColorsRequest(7, {1, 2, 3, 4, 5, 6}));
            host.Run(OpenPictureRequest(8, 4, 24, 0, 2));
            host.Run(CellsRequest(8, 4, 24, kFourRows, 1.5, 2));
            host.Run(WritePictureRequest());
            host.EndPicture();
        });
    });
    const std::string request = "function KOWEN_DD_DISPATCH, record {opcode KOWEN_REQUEST_";
    ExpectIn(trace, request + "SET_WINDOW, corners [0.0,0.0,0.0,7.0,3.0,0.0]}");
    ExpectIn(trace, request + "SET_BACKGROUND, colour [1,2,255]}");
    ExpectIn(trace, request + "SET_VIEWPORT_MODE, mode 1, millimetresPerUnit 0.5}");
    ExpectIn(trace, request + "SET_COLORS, arguments 8, first 7, colours [[1,2,3],[4,5,6]]}");
    ExpectIn(trace, request + "PRIMITIVE, primitive KOWEN_PRIMITIVE_OPEN_PICTURE, points 2, width "
                              "8, height 4, bits 24}");
    ExpectIn(trace, request + "CELL_ARRAY, p [0.0,1.5,0.0], q [0.0,2.0,0.0], columns 8, rows 4, "
                              "bits 24}");
}

TEST(CheckTraceOfRequests, InquiriesHaveTheirAnswers) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            host.returnAreaSize = 100;
            host.BeginBody(setup);
            host.Run(PopErrorsRequest());
            host.Run(kQueryWindow);
            host.Run(kQueryViewport);
            host.EndPicture();
        });
    });
    ExpectIn(trace, "record {opcode KOWEN_REQUEST_POP_ERRORS, atMost 1})\n"
                    "11 returns answer 0, result 0,");
    ExpectIn(trace, "12 returns answer [0.0,0.0,0.0,7.0,3.0,0.0], result 0,");
    ExpectIn(trace, "13 returns answer [");
}

TEST(CheckTraceOfCallbacks, StatusCodesStandByTheirNames) {
    const std::string trace = TraceOf([](CheckedHost &host) {
        WithSetup(host, [&](MemoryHandle setup) {
            Prank prank;
            prank.onStatus = [] { return 1; };
            host.DrawPicture(setup, &prank.record);
        });
    });
    ExpectIn(trace, "(command KOWEN_STATUS_PROGRESS, code KOWEN_STATUS_CODE_RANGE, value1 100, "
                    "percent 0)");
    ExpectIn(trace, "(command KOWEN_STATUS_CONFIRM_STOP, code KOWEN_STATUS_CODE_CONFIRM, value1 0, "
                    "percent 0)");
}

} // namespace
} // namespace kowen::test
