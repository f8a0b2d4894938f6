// The example host, as a newcomer runs it.
#include "support/emulator.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

std::string Quoted(const std::string &text) {
    return "'" + text + "'";
}

TEST(ExportBothDoors, WritesTheSameFileTwice) {
    TempDirectory directory;
    const std::string command =
        std::string(kEmulator) + Quoted(KOWEN_EXAMPLE) + " " + Quoted(KOWEN_EXAMPLE_MODULE) + " " +
        Quoted(directory.File("cell.jpg")) + " " + Quoted(directory.File("device.jpg")) + " > " +
        Quoted(directory.File("log"));
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string cell = directory.Read("cell.jpg");
    ASSERT_GT(cell.size(), 2000u);
    EXPECT_EQ(cell.substr(0, 4), "\xFF\xD8\xFF\xE0");
    EXPECT_EQ(cell.substr(cell.size() - 2), "\xFF\xD9");
    EXPECT_TRUE(cell == directory.Read("device.jpg"));
    EXPECT_EQ(directory.Read("log"), "bitmap door: 100 %\ndevice: 100 %\ndevice: 0 %\n");
}

} // namespace
