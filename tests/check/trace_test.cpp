// What the trace says, in both of its forms.
#include "check/checked_host.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace {

using namespace kowen::test;
using Json = nlohmann::json;

int32_t GoOn(uintptr_t, int32_t, int32_t, int32_t, int32_t, int32_t, void *) {
    return 0;
}

void ExportOnce(CheckedHost &host) {
    const MemoryHandle setup = host.MakeSetup();
    const int32_t quality = 90;
    host.escape(setup, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 0);
    ExportRecord record = {};
    record.statusCallback = &GoOn;
    EXPECT_EQ(host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &record), 0);
    host.destroySetup(setup);
    host.Unload();
}

TEST(CheckTrace, TextHasALineForEachCallAndCallback) {
    CheckedHost host;
    ExportOnce(host);
    std::vector<std::string> lines = host.TraceLines();
    lines.erase(lines.begin(), lines.begin() + 6); // the table and the doors
    const std::string path = host.directory.File("a.jpg");
    EXPECT_EQ(
        lines,
        (std::vector<std::string>{
            "4 CreateSetup(profilePath null, section null, filterName null)",
            "4 returns setup 1",
            "5 EscapeSetup(setup 1, code KOWEN_ESCAPE_SET_QUALITY, size 4, in 90, out false, "
            "persist 0)",
            "5 returns result 1, out null",
            "6 GlobalAlloc(flags KOWEN_GLOBAL_FLAGS, size 128)",
            "6 returns handle block 1 of 128 bytes",
            "7 ExportCellData(outputName " + path +
                ", bitmap {depth 24, width 8, height 4, palette 0, pixels block 1 of 128 bytes}, "
                "cell {resolution 96, targetResolution 96, targetWidth 8, targetHeight 4, "
                "pageWidth 8, pageHeight 4}, host {setup 1, exportRecord {context false, "
                "statusCallback true, hostValue false, memoryBlock 0, picture [0,0,0,0,0], "
                "ioContext "
                "false}})",
            "    calls back statusCallback(command KOWEN_STATUS_PROGRESS, code 0, value1 0, "
            "percent 100)",
            "    answered 0",
            "7 returns result 0, code KOWEN_OK",
            "8 GlobalFree(handle block 1 of 128 bytes)",
            "8 returns result 0",
            "9 DestroySetup(setup 1)",
            "9 returns result 0",
            "9 calls, 0 mistakes",
        }));
}

TEST(CheckTrace, JsonHasAnObjectForEachCallAndCallback) {
    CheckedHost host("json");
    ExportOnce(host);
    std::vector<Json> events;
    for (const std::string &line : host.TraceLines())
        events.push_back(Json::parse(line));
    ASSERT_EQ(events.size(), 21u);
    EXPECT_EQ(events[8], Json::parse(R"({"event": "call", "call": 5, "function": "EscapeSetup",
        "arguments": {"setup": "setup 1", "code": "KOWEN_ESCAPE_SET_QUALITY", "size": 4, "in": 90,
        "out": false, "persist": 0}})"));
    EXPECT_EQ(events[13], Json::parse(R"({"event": "callback", "call": 7,
        "callback": "statusCallback", "arguments": {"command": "KOWEN_STATUS_PROGRESS",
        "code": "0", "value1": 0, "percent": 100}})"));
    EXPECT_EQ(events[15], Json::parse(R"({"event": "return", "call": 7,
        "function": "ExportCellData", "results": {"result": 0, "code": "KOWEN_OK"}})"));
    EXPECT_EQ(events[20],
              Json::parse(R"({"event": "end", "calls": 9, "mistakes": 0, "notes": 0})"));
}

TEST(CheckTrace, JsonHasTheSentenceOfAMistake) {
    testing::internal::CaptureStderr();
    CheckedHost host("json");
    host.free(host.alloc(0, 1));
    host.Unload();
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(Json::parse(host.TraceLines()[7]), Json::parse(R"({"event": "mistake", "call": 4,
        "function": "GlobalAlloc", "rule": "block-flags", "how": "flags are 0",
        "page": "docs/host-guide.md",
        "sentence": "Every allocation passes `KOWEN_GLOBAL_FLAGS`."})"));
}

TEST(CheckTrace, EveryMistakeIsOnStandardErrorToo) {
    testing::internal::CaptureStderr();
    CheckedHost host;
    host.free(host.alloc(0, 1));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kowen-check: mistake 1 [block-flags] in call 4, GlobalAlloc: flags are 0. "
              "docs/host-guide.md: \"Every allocation passes `KOWEN_GLOBAL_FLAGS`.\"\n");
}

TEST(CheckTrace, HostTextIsOneLineWhateverItHolds) {
    CheckedHost host;
    host.destroySetup(host.createSetup(0, "a\nb\"c\xFF", nullptr, nullptr));
    EXPECT_EQ(
        host.TraceLines()[6],
        "4 CreateSetup(profilePath \"a\\nb\\\"c\xEF\xBF\xBD\", section null, filterName null)");
}

TEST(CheckTrace, AnIoProcedureIsTraced) {
    CheckedHost host;
    const MemoryHandle setup = host.MakeSetup();
    const HostIoProcedure procedure = [](uintptr_t, int32_t operation, void *,
                                         int32_t count) -> intptr_t {
        return operation == KOWEN_IO_OPEN ? 5 : operation == KOWEN_IO_WRITE ? count : 0;
    };
    host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, reinterpret_cast<const void *>(procedure),
                nullptr, 0);
    EXPECT_EQ(host.Export(setup, host.MakeBitmap()), 0);
    host.destroySetup(setup);
    const std::string trace = host.Trace();
    const std::string first = "    calls back I/O procedure(operation KOWEN_IO_OPEN, name " +
                              host.directory.File("a.jpg") +
                              ", count KOWEN_MODE_CREATE | KOWEN_MODE_WRITE)\n    answered a "
                              "handle\n" +
                              "    calls back I/O procedure(operation KOWEN_IO_WRITE, handle the "
                              "host's, count 2)\n    answered 2\n";
    EXPECT_NE(trace.find(first), std::string::npos) << trace;
    EXPECT_NE(trace.find("I/O procedure(operation KOWEN_IO_CLOSE, handle the host's, count 0)"),
              std::string::npos);
    EXPECT_EQ(host.Mistakes(), std::vector<std::string>{});
}

// The name is the checking module's, the default profile the one of the module behind it.
TEST(CheckTrace, TheModuleBehindReadsItsOwnProfile) {
    CheckedHost host;
    const ScopedEnvironment profiles("INIDIR", host.directory.Path().c_str());
    host.directory.Write("kowen.ini", "[KOWEN]\n~Mode=A\n[A]\nDriver=KOWEN.1\nQuality Mode=242\n"
                                      "Quality=61\n");
    host.module->NameModule(kCheckPath);
    const MemoryHandle setup = host.MakeSetup();
    int32_t quality = 0;
    host.escape(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0);
    EXPECT_EQ(quality, 61);
    host.destroySetup(setup);
}

} // namespace
