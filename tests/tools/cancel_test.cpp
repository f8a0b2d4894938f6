#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/program.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <sys/stat.h>
#include <thread>

namespace kowen::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Large enough to be still under way when its temporary file has been seen.
std::string LargePpm() {
    constexpr int kWidth = 3600;
    constexpr int kHeight = 2400;
    std::string text = "P6\n" + std::to_string(kWidth) + " " + std::to_string(kHeight) + "\n255\n";
    const size_t start = text.size();
    text.resize(start + size_t{kWidth} * kHeight * 3);
    uint32_t state = 1;
    for (size_t i = start; i < text.size(); ++i) {
        state = state * 1664525 + 1013904223;
        text[i] = static_cast<char>(state >> 24);
    }
    return text;
}

class Cancel : public testing::Test {
protected:
    Cancel() {
        setting.beforeStart = [path = directory.Path()] { setenv("TMPDIR", path.c_str(), 1); };
    }

    // Waits for a file that is not there at the start and not there at the end.
    bool SeeTemporary(const std::string &prefix) const {
        const auto end = std::chrono::steady_clock::now() + 60s;
        while (std::chrono::steady_clock::now() < end) {
            for (const auto &entry : fs::directory_iterator(directory.Path())) {
                if (entry.path().filename().string().starts_with(prefix))
                    return true;
            }
            std::this_thread::sleep_for(1ms);
        }
        return false;
    }

    size_t FilesLeft() const {
        size_t count = 0;
        for ([[maybe_unused]] const auto &entry : fs::directory_iterator(directory.Path()))
            ++count;
        return count;
    }

    const TempDirectory directory;
    ProgramSetting setting;
};

TEST_F(Cancel, DuringTheExportKeepsTheOldFile) {
    const std::string picture = directory.Write("in.ppm", LargePpm());
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const std::string output = directory.Write("out.jpg", "precious");
        Program program({"export", picture, output, "--depth", "24"}, setting);
        ASSERT_TRUE(SeeTemporary(".kowen-"));
        program.Signal(signal);
        const ProgramResult result = program.Wait();
        EXPECT_EQ(result.exitCode, 130) << result.errors;
        EXPECT_EQ(result.errors, "kowen: cancelled\n");
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(directory.Read("out.jpg"), "precious");
        EXPECT_EQ(FilesLeft(), 2U);
    }
}

TEST_F(Cancel, DuringTheRasterDevicesExportKeepsTheOldFile) {
    const std::string picture = directory.Write("in.ppm", LargePpm());
    const std::string output = directory.Write("out.jpg", "precious");
    Program program({"export", picture, output, "--door", "raster", "--depth", "24"}, setting);
    ASSERT_TRUE(SeeTemporary(".kowen-"));
    program.Signal(SIGINT);
    const ProgramResult result = program.Wait();
    EXPECT_EQ(result.exitCode, 130) << result.errors;
    EXPECT_EQ(result.errors, "kowen: cancelled\n");
    EXPECT_EQ(directory.Read("out.jpg"), "precious");
    EXPECT_EQ(FilesLeft(), 2U);
}

TEST_F(Cancel, WhatTheCallerIgnoresStaysIgnored) {
    setting.beforeStart = [] { std::signal(SIGHUP, SIG_IGN); };
    Program program({"export", "-", directory.File("out.jpg")}, setting);
    std::this_thread::sleep_for(200ms);
    program.Signal(SIGHUP);
    program.Feed(Ppm(MakeSoftPicture(20, 20)));
    EXPECT_EQ(program.Wait().exitCode, 0);
}

TEST_F(Cancel, ToMemoryLeavesNoFile) {
    const std::string picture = directory.Write("in.ppm", LargePpm());
    Program program(
        {"export", picture, directory.File("out.jpg"), "--depth", "24", "--output-to", "callback"},
        setting);
    ASSERT_TRUE(SeeTemporary("kowen-")); // the private profile
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().exitCode, 130);
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(Cancel, TheSecondRequestDoesNotWaitAndCleansUp) {
    const std::string picture = directory.Write("in.ppm", LargePpm());
    Program program({"export", picture, directory.File("out.jpg"), "--depth", "24"}, setting);
    ASSERT_TRUE(SeeTemporary(".kowen-"));
    program.Signal(SIGINT);
    std::this_thread::sleep_for(5ms);
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().exitCode, 130);
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(Cancel, WhileThePictureIsStillComing) {
    Program program({"export", "-", directory.File("out.jpg")}, setting);
    program.Feed("P6\n100 100\n255\n");
    std::this_thread::sleep_for(200ms);
    program.Signal(SIGINT);
    const ProgramResult result = program.Wait();
    EXPECT_EQ(result.exitCode, 130) << result.errors;
    EXPECT_EQ(FilesLeft(), 0U);
}

TEST_F(Cancel, WhileWaitingForAReader) {
    ASSERT_EQ(mkfifo(directory.File("pipe").c_str(), 0600), 0);
    const std::string picture = directory.Write("in.ppm", Ppm(MakeSoftPicture(20, 20)));
    Program program({"export", picture, directory.File("pipe")}, setting);
    std::this_thread::sleep_for(500ms);
    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait().exitCode, 130);
}

} // namespace
} // namespace kowen::test
