// Requests to stop: heard while reading, exporting and in workers; nothing is left behind.
#include "tools/export_fixture.h"
#include "tools/stepped_program.h"

#include <sys/stat.h>

namespace kowen::test {
namespace {

constexpr int kWidth = 1000;
constexpr int kHeight = 1000;

// The beginning of a picture whose end never comes.
std::string HalfAPicture() {
    const std::string whole = Ppm(MakeSoftPicture(kWidth, kHeight));
    return whole.substr(0, whole.size() / 2);
}

class Signals : public ExportFixture {
protected:
    Signals() {
        WritePicture("small.ppm", 40, 30);
        EXPECT_EQ(Export({"small.ppm", "old.jpg", "-q"}).exitCode, 0);
        old = directory.Read("old.jpg");
        setting.directory = directory.Path();
    }

    std::string old;
    ProgramSetting setting;
};

// The pipe holds less than half of the picture: when Feed returns, the program is reading it.
TEST_F(Signals, WhileThePictureIsReadEndWithTheirOwnStatuses) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        Program program({"export", "-", "-o", "old.jpg"}, setting);
        program.Feed(HalfAPicture());
        program.Signal(signal);
        result = program.Wait();
        EXPECT_EQ(result.exitCode, 128 + signal) << result.errors;
        EXPECT_EQ(result.errors, "kowen: cancelled\n");
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(directory.Read("old.jpg"), old);
        EXPECT_EQ(Listing(), "old.jpg small.ppm");
    }
}

TEST_F(Signals, WhatTheCallerIgnoresStaysIgnored) {
    setting.beforeStart = [] { std::signal(SIGHUP, SIG_IGN); };
    Program program({"export", "-", "-o", "new.jpg"}, setting);
    const std::string whole = Ppm(MakeSoftPicture(kWidth, kHeight));
    program.Feed(whole.substr(0, whole.size() / 2));
    program.Signal(SIGHUP);
    program.Feed(whole.substr(whole.size() / 2));
    EXPECT_EQ(program.Wait().exitCode, 0);
    EXPECT_EQ(DecodeFile("new.jpg").width, kWidth);
}

// Opening a pipe for writing waits for its reader, which is the test: it has seen the program there
// when its own end is open.
TEST_F(Signals, WhileTheOutputIsWritten) {
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    directory.Write(
        "noise.ppm", Ppm(MakePicture(900, 900, [](int x, int y) {
            const unsigned mixed = static_cast<unsigned>(x * 7919 + y * 104729) * 2654435761U;
            return Rgb{static_cast<uint8_t>(mixed >> 24), static_cast<uint8_t>(mixed >> 16),
                       static_cast<uint8_t>(mixed >> 8)};
        })));
    Program program({"export", "noise.ppm", "-o", pipe}, setting);
    const int reader = open(pipe.c_str(), O_RDONLY);
    char first = 0;
    ASSERT_EQ(read(reader, &first, 1), 1);
    program.Signal(SIGTERM);
    result = program.Wait();
    close(reader);
    EXPECT_EQ(result.exitCode, 128 + SIGTERM) << result.errors;
    EXPECT_EQ(result.errors, "kowen: cancelled\n");
}

// Each worker is at a picture that comes through a pipe of its own.
TEST_F(Signals, ReachTheWorkers) {
    std::vector<int> pipes;
    for (const char *name : {"a.ppm", "b.ppm"})
        ASSERT_EQ(mkfifo(directory.File(name).c_str(), 0600), 0);
    Program program({"export", "a.ppm", "b.ppm", "-j", "2"}, setting);
    const std::string half = HalfAPicture();
    for (const char *name : {"a.ppm", "b.ppm"}) {
        pipes.push_back(open(directory.File(name).c_str(), O_WRONLY));
        ASSERT_EQ(write(pipes.back(), half.data(), half.size()), static_cast<ssize_t>(half.size()));
    }
    program.Signal(SIGTERM); // to the program alone
    result = program.Wait();
    for (const int pipe : pipes)
        close(pipe);
    EXPECT_EQ(result.exitCode, 128 + SIGTERM) << result.errors;
    EXPECT_TRUE(result.errors.ends_with("kowen: cancelled\n")) << result.errors;
    EXPECT_EQ(Listing(), "a.ppm b.ppm old.jpg small.ppm");
}

// One picture is there, one is being read, two wait behind it.
TEST_F(Signals, ABatchTellsWhatIsThere) {
    ASSERT_EQ(mkfifo(directory.File("b.ppm").c_str(), 0600), 0);
    WritePicture("c.ppm");
    WritePicture("d.ppm");
    Program program({"export", "small.ppm", "b.ppm", "c.ppm", "d.ppm", "-j", "1"}, setting);
    const int pipe = open(directory.File("b.ppm").c_str(), O_WRONLY);
    const std::string half = HalfAPicture();
    ASSERT_EQ(write(pipe, half.data(), half.size()), static_cast<ssize_t>(half.size()));
    program.Signal(SIGINT);
    result = program.Wait();
    close(pipe);
    EXPECT_EQ(result.exitCode, 128 + SIGINT) << result.errors;
    EXPECT_TRUE(result.output.ends_with("\n4 pictures: 1 exported, 0 failed, 1 stopped, "
                                        "2 not begun\n"))
        << result.output;
    EXPECT_EQ(result.errors, "kowen: cancelled\n");
    EXPECT_EQ(Listing(), "b.ppm c.ppm d.ppm old.jpg small.jpg small.ppm");
}

class AtEveryCall : public Signals {
protected:
    AtEveryCall() {
        WritePicture("in.ppm", 200, 150);
        EXPECT_EQ(Export({"in.ppm", "-o", "new.jpg", "-q"}).exitCode, 0);
        whole = directory.Read("new.jpg");
        std::filesystem::remove(directory.File("new.jpg"));
    }

    SteppedRun RunTo(size_t call, int signal) {
        directory.Write("old.jpg", old);
        return SignalAtCall({"export", "in.ppm", "-o", "old.jpg", "-q"}, directory.Path(), call,
                            signal);
    }

    /// Sends the signal at each of the last calls in turn, and at some of those before, which load
    /// libraries.
    void Run(int signal, const std::function<void(int exitCode)> &look) {
        constexpr size_t kAll = SIZE_MAX;
        constexpr size_t kLast = 60;
        constexpr size_t kStep = 12;
        const SteppedRun plain = RunTo(kAll, signal);
        if (!plain.possible)
            GTEST_SKIP() << "processes cannot be traced here";
        ASSERT_EQ(plain.exitCode, 0);
        for (size_t call = 0; call < plain.calls && !HasFailure();
             call += call + kLast < plain.calls ? kStep : 1) {
            SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(plain.calls));
            look(RunTo(call, signal).exitCode);
        }
    }

    std::string whole; ///< what replaces old.jpg
};

TEST_F(AtEveryCall, AKillLeavesOneFileOrTheOtherAndAtMostATemporaryOne) {
    size_t kept = 0, replaced = 0;
    Run(SIGKILL, [&](int) {
        const std::string there = directory.Read("old.jpg");
        kept += there == old ? 1 : 0;
        replaced += there == whole ? 1 : 0;
        EXPECT_TRUE(there == old || there == whole) << there.size();
        size_t others = 0;
        for (const auto &entry : std::filesystem::directory_iterator(directory.Path())) {
            const std::string name = entry.path().filename();
            if (name == "in.ppm" || name == "small.ppm" || name == "old.jpg")
                continue;
            ++others;
            EXPECT_TRUE(name.starts_with(".kowen-")) << name;
            std::filesystem::remove(entry.path());
        }
        EXPECT_LE(others, 1U);
    });
    EXPECT_GT(kept, 20U);
    EXPECT_GT(replaced, 1U);
}

TEST_F(AtEveryCall, ACancelLeavesNothing) {
    size_t cancelled = 0;
    Run(SIGTERM, [&](int exitCode) {
        const std::string there = directory.Read("old.jpg");
        cancelled += exitCode == 128 + SIGTERM && there == old ? 1 : 0;
        EXPECT_TRUE(exitCode == 0 || exitCode == 128 + SIGTERM) << exitCode;
        EXPECT_TRUE(there == old || there == whole) << there.size();
        EXPECT_TRUE(exitCode != 0 || there == whole);
        EXPECT_EQ(Listing(), "in.ppm old.jpg small.ppm");
    });
    EXPECT_GT(cancelled, 20U);
}

// Killed while a picture is read and while one is written: the old file is there, whole.
TEST_F(Signals, AKilledProgramLeavesTheOldFile) {
    Program program({"export", "-", "-o", "old.jpg"}, setting);
    program.Feed(HalfAPicture());
    program.Signal(SIGKILL);
    EXPECT_EQ(program.Wait().exitCode, 128 + SIGKILL);
    EXPECT_EQ(directory.Read("old.jpg"), old);
    EXPECT_EQ(Listing(), "old.jpg small.ppm");
}

} // namespace
} // namespace kowen::test
