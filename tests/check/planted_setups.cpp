// Hosts that load the module and handle its setups in a wrong way.
#include "check/planted.h"

namespace kowen::test {

namespace {

MemoryHandle MakeSetupFrom(CheckedHost &host, const std::string &profile) {
    const std::string path = host.directory.Write("a.ini", profile);
    return host.createSetup(0, path.c_str(), nullptr, nullptr);
}

} // namespace

std::vector<Planted> LoadingMistakes() {
    return {
        {"TableIntoNothing",
         {"table-record"},
         [](CheckedHost &host) {
             host.module->Symbol<LoadPointersFunction>("fltLoadPointers")(nullptr);
         }},
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

std::vector<Planted> SetupMistakes() {
    return {
        {"SetupDestroyedTwice",
         {"setup-handle"},
         [](CheckedHost &host) {
             const MemoryHandle setup = host.MakeSetup();
             EXPECT_EQ(host.destroySetup(setup), 0);
             EXPECT_EQ(host.destroySetup(setup), 1);
             ExpectTold(host, "the setup's handle is that of a setup that has ended;");
         }},
        {"SetupThatNeverWas",
         {"setup-handle"},
         [](CheckedHost &host) {
             EXPECT_EQ(host.editSetup(0x1234, 1), -1);
             ExpectTold(host, "the setup's handle is unknown;");
         }},
        {"ExportWithoutADriver",
         {"setup-driver"},
         [](CheckedHost &host) {
             const MemoryHandle setup = MakeSetupFrom(host, "[KOWEN]\n~Mode=A\n[A]\nQuality=90\n");
             EXPECT_EQ(host.Export(setup, host.MakeBitmap()), 0);
             EXPECT_EQ(host.directory.Read("a.jpg"), "");
             host.destroySetup(setup);
         }},
        {"DeviceWithoutADriver",
         {"setup-driver"},
         [](CheckedHost &host) {
             const MemoryHandle setup = MakeSetupFrom(host, "[B]\nDriver=KOWEN.1\n");
             host.Initialise(setup);
             host.Terminate();
             host.destroySetup(setup);
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
             ExpectTold(host, "the setup's handle is that of block 1 of 4096 bytes, which is no "
                              "setup;");
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
        {"ExportOfASetupWhoseDeviceRuns",
         {"setup-outlives"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.Initialise(setup);
                 EXPECT_EQ(host.Export(setup, host.MakeBitmap()), 0);
                 host.Terminate();
             });
         }},
        {"LongProfilePath",
         {"setup-text"},
         [](CheckedHost &host) {
             const std::string text(144, 'x');
             host.destroySetup(host.createSetup(0, text.c_str(), nullptr, nullptr));
         }},
        {"LongSection",
         {"setup-text"},
         [](CheckedHost &host) {
             const std::string text(144, 'x');
             host.destroySetup(host.createSetup(0, nullptr, text.c_str(), nullptr));
         }},
        {"LongFilterName",
         {"setup-text"},
         [](CheckedHost &host) {
             const std::string text(144, 'x');
             host.destroySetup(host.createSetup(0, nullptr, nullptr, text.c_str()));
         }},
        {"DestroySetupOfZero",
         {"setup-zero"},
         [](CheckedHost &host) { EXPECT_EQ(host.destroySetup(0), 1); }},
        {"EditSetupOfZero",
         {"setup-zero"},
         [](CheckedHost &host) { EXPECT_EQ(host.editSetup(0, 1), -1); }},
        {"EscapeSetupOfZero",
         {"setup-zero"},
         [](CheckedHost &host) {
             int32_t quality = 0;
             EXPECT_EQ(host.escape(0, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0), -1);
         }},
        {"ExportOfSetupZero",
         {"setup-zero"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 EXPECT_EQ(host.Export(0, host.MakeBitmap()), 22);
                 EXPECT_EQ(host.AskSize(setup), 8); // it is still the current one
             });
         }},
        {"RasterQueryAfterEditSetupOfZero",
         {"setup-zero", "raster-query"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.editSetup(0, 1);
                 EXPECT_EQ(host.AskSize(setup), 0);
             });
         }},
    };
}

} // namespace kowen::test
