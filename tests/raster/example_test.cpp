// The example host, as a newcomer runs it.
#include "support/emulator.h"
#include "support/full_disk.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

std::string Quoted(const std::string &text) {
    return "'" + text + "'";
}

/// The command that writes one file through each door; what it says goes to log.
std::string ExampleCommand(const std::string &cell, const std::string &device,
                           const std::string &log) {
    return std::string(kEmulator) + Quoted(KOWEN_EXAMPLE) + " " + Quoted(KOWEN_EXAMPLE_MODULE) +
           " " + Quoted(cell) + " " + Quoted(device) + " >" + Quoted(log) + " 2>&1";
}

constexpr char kNotWhole[] = "export_both_doors: the file is not whole; is there no space left?\n";

TEST(ExportBothDoors, WritesTheSameFileTwice) {
    TempDirectory directory;
    const std::string command = ExampleCommand(directory.File("cell.jpg"),
                                               directory.File("device.jpg"), directory.File("log"));
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string cell = directory.Read("cell.jpg");
    ASSERT_GT(cell.size(), 2000u);
    EXPECT_EQ(cell.substr(0, 4), "\xFF\xD8\xFF\xE0");
    EXPECT_EQ(cell.substr(cell.size() - 2), "\xFF\xD9");
    EXPECT_TRUE(cell == directory.Read("device.jpg"));
    EXPECT_EQ(directory.Read("log"), "bitmap door: 100 %\ndevice: 100 %\ndevice: 0 %\n");
}

TEST(ExportBothDoors, FailsWhereTheBitmapDoorsFileFindsNoSpace) {
    TempDirectory directory;
    const std::string command =
        ExampleCommand("/dev/full", directory.File("device.jpg"), directory.File("log"));
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(directory.Read("log"), kNotWhole + std::string("bitmap door: 100 %\n"));
}

TEST(ExportBothDoors, FailsWhereTheDevicesFileFindsNoSpace) {
    TempDirectory directory;
    const std::string command =
        ExampleCommand(directory.File("cell.jpg"), "/dev/full", directory.File("log"));
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_TRUE(
        directory.Read("log").starts_with("export_both_doors: the device refused a request\n"));
}

TEST(ExportBothDoors, SaysWhatALibraryLacksThatIsNoFilter) {
    TempDirectory directory;
    const std::string command = std::string(kEmulator) + Quoted(KOWEN_EXAMPLE) +
                                " libm.so.6 a.jpg b.jpg 2>" + Quoted(directory.File("log"));
    EXPECT_NE(std::system(command.c_str()), 0);
    EXPECT_EQ(directory.Read("log"), "export_both_doors: the module has no fltLoadPointers\n");
}

TEST(ExportBothDoors, SaysWhatAFilterLacks) {
    TempDirectory directory;
    const std::string command =
        std::string(kEmulator) + Quoted(KOWEN_EXAMPLE) + " " + Quoted(KOWEN_LACKING_MODULE) + " " +
        Quoted(directory.File("a.jpg")) + " " + Quoted(directory.File("b.jpg")) + " 2>" +
        Quoted(directory.File("log"));
    const std::pair<const char *, const char *> cases[] = {
        {"szDLLName", "export_both_doors: the module has no szDLLName\n"},
        {"RASTER_dd_entry", "export_both_doors: the module has no RASTER_dd_entry\n"},
        {"device", "export_both_doors: the module has no raster device\n"}};
    for (const auto &[lacking, said] : cases) {
        const ScopedEnvironment lack("KOWEN_LACKING", lacking);
        EXPECT_NE(std::system(command.c_str()), 0);
        EXPECT_EQ(directory.Read("log"), said);
    }
}

TEST(ExportBothDoors, FailsOnAFullDisk) {
    TempDirectory full;
    TempDirectory log;
    const std::string command =
        ExampleCommand(full.File("cell.jpg"), full.File("device.jpg"), log.File("log"));
    const int status = RunOnFullDisk(full, command);
    if (status == -1)
        GTEST_SKIP() << "only root can mount a full disk";
    EXPECT_EQ(status, 1);
    EXPECT_EQ(log.Read("log"), kNotWhole + std::string("bitmap door: 100 %\n"));
}

} // namespace
