// The host library where the process has little of something, and where what it writes to is slow.
#include "host/older_system.h"
#include "host/saving.h"
#include "limits/limits.h"
#include "limits/painted_stack.h"
#include "output/output_file.h"
#include "support/child_process.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <csignal>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <iterator>
#include <malloc.h>
#include <sys/syscall.h>

namespace {
timespec clockAnswer = {};
bool clockIsOurs = false;
} // namespace

// A clock that tells what the test wants.
extern "C" int clock_gettime(clockid_t clock, timespec *time) noexcept {
    if (!clockIsOurs)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    *time = clockAnswer;
    return 0;
}

namespace kowen::test {
namespace {

const std::string kOldJpeg = "\xFF\xD8\xFF\xE0 an old picture";

class HostLimits : public testing::Test {
protected:
    HostLimits() { setenv("KOWEN_MODULE", KOWEN_MODULE, 1); }

    static Saved SaveTo(KowenModule *module, const KowenPicture &picture, const std::string &path) {
        SaveOptions options;
        options.path = path;
        return Save(module, picture, {}, options);
    }

    /// The old file is whole, or the new one, and nothing lies beside it.
    bool StandsWhole(const std::string &fresh) const {
        const std::string bytes = directory.Read("a.jpg");
        size_t files = 0;
        for ([[maybe_unused]] const auto &entry :
             std::filesystem::directory_iterator(directory.Path()))
            ++files;
        return files == 1 && (bytes == kOldJpeg || bytes == fresh);
    }

    std::string Fresh(const KowenPicture &picture) const {
        const OpenedModule module;
        const Saved saved = Save(module, picture);
        return {saved.bytes.begin(), saved.bytes.end()};
    }

    const TempDirectory directory;
    const std::vector<uint8_t> small = Gradient(16, 16);
    const std::vector<uint8_t> large = Gradient(640, 480);
};

TEST_F(HostLimits, AFileSizeLimitLeavesTheOldFile) {
    const KowenPicture picture = RgbPicture(small, 16, 16);
    const std::string fresh = Fresh(picture), path = directory.Write("a.jpg", kOldJpeg);
    const OpenedModule module;
    const int code = RunInChild([&] {
                         std::signal(SIGXFSZ, SIG_DFL);
                         for (size_t most = 0; most < fresh.size(); ++most) {
                             SetLimit(RLIMIT_FSIZE, most);
                             const Saved saved = SaveTo(module, picture, path);
                             if (saved.code == KOWEN_HOST_OK || saved.result.message[0] == '\0' ||
                                 directory.Read("a.jpg") != kOldJpeg || !StandsWhole(fresh))
                                 return 1;
                         }
                         SetLimit(RLIMIT_FSIZE, fresh.size());
                         return SaveTo(module, picture, path).code == KOWEN_HOST_OK ? 0 : 2;
                     }).exitCode;
    EXPECT_EQ(code, 0);
    EXPECT_EQ(directory.Read("a.jpg"), fresh);
}

TEST_F(HostLimits, LessAndLessAddressSpaceLeavesOneFileOrTheOther) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "the sanitizer needs terabytes of it";
#endif
    const std::vector<uint8_t> pixels = Flat(1600, 1200, 100, 120, 140);
    const KowenPicture picture = RgbPicture(pixels, 1600, 1200);
    const std::string fresh = Fresh(picture), path = directory.File("a.jpg");
    constexpr int kWhole = 0, kRefused = 10, kNothingLoaded = 11;
    int seen[256] = {};
    for (size_t room = 0; room <= 48; ++room) {
        directory.Write("a.jpg", kOldJpeg);
        const int code = RunInChild([&] {
                             malloc_trim(0);
                             KowenResult result = {};
                             result.size = sizeof result;
                             KowenOutput output = {};
                             output.size = sizeof output;
                             output.path = path.c_str();
                             SetLimit(RLIMIT_AS, AddressSpace() + room * 524288);
                             KowenModule *module = KowenOpenModule(nullptr, &result);
                             if (module == nullptr)
                                 return result.message[0] != '\0' ? kNothingLoaded : 1;
                             const int32_t saved =
                                 KowenSave(module, &picture, nullptr, &output, nullptr, &result);
                             if (saved != KOWEN_HOST_OK)
                                 return result.message[0] != '\0' ? kRefused : 1;
                             return kWhole;
                         }).exitCode;
        ASSERT_TRUE(code == kWhole || code == kRefused || code == kNothingLoaded)
            << code << " with room for " << room * 512 << " KB";
        ASSERT_TRUE(StandsWhole(fresh)) << room;
        ASSERT_EQ(directory.Read("a.jpg") == fresh, code == kWhole) << room;
        ++seen[code];
    }
    EXPECT_GT(seen[kWhole], 0);
    EXPECT_GT(seen[kRefused], 0);
    EXPECT_GT(seen[kNothingLoaded], 0);
}

// With every variant of the kernels, each in a process of its own.
TEST_F(HostLimits, AStackOf64KilobytesIsEnough) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "frames are several times as large";
#endif
    const KowenPicture picture = RgbPicture(large, 640, 480);
    for (const char *variant : {"scalar", "sse41", "avx2", "avx512", "neon"}) {
        const ScopedEnvironment wanted("KOWEN_KERNELS", variant);
        const std::string path = directory.File(std::string(variant) + ".jpg");
        const int code = RunInChild([&] {
                             int32_t saved = -1;
                             const size_t used = RunOnStack(size_t{64} * 1024, [&] {
                                 const OpenedModule module;
                                 saved = SaveTo(module, picture, path).code;
                             });
                             return saved == KOWEN_HOST_OK ? static_cast<int>(used / 1024) : 255;
                         }).exitCode;
        EXPECT_GT(code, 0) << variant;  // a signal ended it
        EXPECT_LE(code, 48) << variant; // room for what another compiler keeps there
        EXPECT_FALSE(directory.Read(std::string(variant) + ".jpg").empty()) << variant;
        std::printf("%s: %d KB of stack\n", variant, code);
    }
}

TEST_F(HostLimits, TwoThousandOpenFilesChangeNothing) {
    const KowenPicture picture = RgbPicture(small, 16, 16);
    const std::string fresh = Fresh(picture);
    const int code = RunInChild([&] {
                         if (!SetLimit(RLIMIT_NOFILE, 2200))
                             return 77;
                         for (int i = 0; i < 2000; ++i)
                             if (open("/dev/null", O_RDONLY) < 0)
                                 return 2;
                         const OpenedModule module;
                         return SaveTo(module, picture, directory.File("a.jpg")).code;
                     }).exitCode;
    if (code == 77)
        GTEST_SKIP() << "so many may not be open here";
    EXPECT_EQ(code, KOWEN_HOST_OK);
    EXPECT_EQ(directory.Read("a.jpg"), fresh);
}

TEST_F(HostLimits, ASlowPipeIsWaitedForWhetherItWaitsOrNot) {
    const KowenPicture picture = RgbPicture(large, 640, 480);
    const std::string fresh = Fresh(picture);
    for (const bool waits : {true, false}) {
        const SlowPipe read = ReadSlowly(waits, [&](int pipe) {
            const OpenedModule module;
            return SaveTo(module, picture, "/dev/fd/" + std::to_string(pipe)).code;
        });
        EXPECT_EQ(read.status, KOWEN_HOST_OK);
        EXPECT_TRUE(read.bytes == fresh) << read.bytes.size();
    }
}

volatile sig_atomic_t signalled = 0;

// A save to a pipe that is full and whose reader has stopped, in a child that takes note of
// SIGUSR1; the progress callback, where there is one, answers stop from then on.
pid_t SaveToStalled(const KowenPicture &picture, int pipe, bool hasCallback) {
    const pid_t child = fork();
    if (child != 0)
        return child;
    struct sigaction action = {};
    action.sa_handler = [](int) { signalled = 1; };
    sigaction(SIGUSR1, &action, nullptr);
    KowenProgress progress = {};
    progress.size = sizeof progress;
    progress.callback = [](void *, double) -> int32_t { return signalled; };
    SaveOptions options;
    options.path = "/dev/fd/" + std::to_string(pipe);
    options.progress = hasCallback ? &progress : nullptr;
    const OpenedModule module;
    _exit(Save(module, picture, {}, options).code);
}

/// What the child returned; -1 while it runs, and when a signal ended it.
int ExitCode(pid_t child, int flags = 0) {
    int status = 0;
    return waitpid(child, &status, flags) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(HostLimits, AStalledPipeIsLeftWhenTheCallbackSaysSo) {
    const KowenPicture picture = RgbPicture(small, 16, 16);
    constexpr int kMostSignals = 1000; // one is enough, unless it comes before the write
    for (const bool waits : {true, false}) {
        const FullPipe pipe(waits);
        const pid_t child = SaveToStalled(picture, pipe.Writer(), true);
        int code = -1;
        for (int i = 0; i < kMostSignals && code < 0; ++i) {
            AwaitAsleep(child);
            kill(child, SIGUSR1);
            code = ExitCode(child, WNOHANG);
        }
        if (code < 0)
            kill(child, SIGKILL);
        EXPECT_EQ(code, KOWEN_HOST_ERR_CANCELLED) << (waits ? "waits" : "does not wait");
    }
}

TEST_F(HostLimits, AStalledPipeIsWaitedForWithoutACallback) {
    const KowenPicture picture = RgbPicture(small, 16, 16);
    const std::string fresh = Fresh(picture);
    for (const bool waits : {true, false}) {
        FullPipe pipe(waits);
        const pid_t child = SaveToStalled(picture, pipe.Writer(), false);
        pipe.CloseWriter();
        AwaitAsleep(child);
        kill(child, SIGUSR1);
        AwaitAsleep(child);
        EXPECT_TRUE(pipe.Rest() == fresh) << (waits ? "waits" : "does not wait");
        EXPECT_EQ(ExitCode(child), KOWEN_HOST_OK);
    }
}

#if defined(__x86_64__)

enum Status { kFine, kNoFilter, kOneName };

// Temporary names of the same moment, in a process that has no files without a name.
int TwoFilesWhileTheClockStands(const std::string &folder) {
    if (!ForgetNewerCalls())
        return kNoFilter;
    clockIsOurs = true;
    clockAnswer = {2000000000, 5};
    host::OutputFile first(folder + "/a.jpg", KOWEN_REPLACE_JPEG);
    first.Open();
    clockAnswer = {1, 5};
    host::OutputFile second(folder + "/b.jpg", KOWEN_REPLACE_JPEG);
    try {
        second.Open();
    } catch (const std::exception &) {
        return kOneName;
    }
    const std::filesystem::directory_iterator files(folder);
    return std::distance(begin(files), end(files)) == 2 ? kFine : kOneName;
}

TEST_F(HostLimits, AClockThatStandsOrGoesBackGivesNamesOfTheirOwn) {
    const int code =
        RunInChild([&] { return TwoFilesWhileTheClockStands(directory.Path()); }).exitCode;
    if (code == kNoFilter)
        GTEST_SKIP() << "this system filters no calls";
    EXPECT_EQ(code, kFine);
}

#endif

} // namespace
} // namespace kowen::test
