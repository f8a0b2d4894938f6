// The loaded module where the process has little of something, and where what it writes to is slow.
#include "golden/golden_host.h"
#include "limits/limits.h"
#include "limits/painted_stack.h"
#include "module/hostile_host.h"
#include "support/child_process.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <malloc.h>

namespace {

using namespace kowen::test;
namespace golden = kowen::golden;

bool EndsAsJpeg(const ExportBytes &bytes) {
    return bytes.size() >= 2 && bytes[bytes.size() - 2] == 0xFF && bytes.back() == 0xD9;
}

class Limits : public HostileHost {
protected:
    /// A picture that does not fit into a pipe.
    ExportRun ExportLarge(const char *name) const {
        const TestBitmap noise = MakeNoise(150, 100);
        const MemoryHandle with = host.MakeSetup(MakeSettings(212));
        ExportRecord record = {};
        ExportRun run = host.Export(name, noise, CellFor(noise), with, &record);
        host.destroySetup(with);
        return run;
    }
    std::string LargeInMemory() const {
        const ExportBytes bytes = ExportLarge("").jpeg;
        return {bytes.begin(), bytes.end()};
    }

    /// Exports with every limit of a file's size up to the picture's: a beginning of it and no
    /// more.
    bool EveryFileSizeIsSurvived() {
        bool whole = true;
        for (size_t most = 0; most <= plain.jpeg.size(); ++most) {
            std::remove(Path("a.jpg").c_str());
            SetLimit(RLIMIT_FSIZE, most);
            const int32_t result = ExportTo("a.jpg");
            SetLimit(RLIMIT_FSIZE, RLIM_INFINITY);
            const ExportBytes bytes = FileBytes("a.jpg");
            whole = whole && (result == 0 || result == 303) && bytes.size() <= most &&
                    std::equal(bytes.begin(), bytes.end(), plain.jpeg.begin()) &&
                    EndsAsJpeg(bytes) == (most == plain.jpeg.size());
        }
        sigset_t pending;
        sigpending(&pending);
        return whole && sigismember(&pending, SIGXFSZ) == 0;
    }
};

TEST_F(Limits, AFileSizeLimitDoesNotEndTheHost) {
    if (!kEmulator.empty())
        GTEST_SKIP() << "the limit would be the emulator's as well";
    const auto run = [this](void (*onLimit)(int)) {
        return RunInChild([&] {
                   std::signal(SIGXFSZ, onLimit);
                   return EveryFileSizeIsSurvived() ? 0 : 1;
               })
            .exitCode;
    };
    EXPECT_EQ(run(SIG_DFL), 0);
    EXPECT_EQ(run(SIG_IGN), 0);
}

TEST_F(Limits, AFileSizeLimitLeavesTheOldProfile) {
    if (!kEmulator.empty())
        GTEST_SKIP() << "the limit would be the emulator's as well";
    const std::string text = "[S]\nDriver=d\nQuality Mode=242\nQuality=50\n";
    const std::string profile = host.directory.Write("s.ini", text);
    const MemoryHandle with = host.createSetup(0, profile.c_str(), "S", nullptr);
    const int32_t quality = 60;
    const auto code =
        RunInChild([&] {
            for (size_t most = 0; most < text.size(); ++most) {
                SetLimit(RLIMIT_FSIZE, most);
                host.escapeSetup(with, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1);
                if (host.directory.Read("s.ini") != text)
                    return 1;
            }
            return 0;
        }).exitCode;
    EXPECT_EQ(code, 0);
    host.escapeSetup(with, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1);
    EXPECT_EQ(host.directory.Read("s.ini"), "[S]\nDriver=d\nQuality Mode=242\nQuality=60\n");
    host.destroySetup(with);
}

// What docs/reliability.md promises: every kind of export with every variant of the kernels, and
// profiles read and written.
TEST_F(Limits, AStackOf64KilobytesIsEnough) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "frames are several times as large";
#endif
    const std::vector<golden::Export> exports = golden::Exports();
    const std::string text = "[S]\nDriver=d\nQuality Mode=242\nQuality=50\n";
    const std::string profile = host.directory.Write("s.ini", text);
    for (const char *variant : {"scalar", "sse41", "avx2", "avx512", "neon"}) {
        const ScopedEnvironment wanted("KOWEN_KERNELS", variant);
        const int code =
            RunInChild([&] {
                const golden::Host maker(kModulePath);
                size_t made = 0;
                const size_t used = RunOnStack(size_t{64} * 1024, [&] {
                    for (const golden::Export &what : exports)
                        made += maker.Make(what).empty() ? 0 : 1;
                    const MemoryHandle with = host.createSetup(0, profile.c_str(), "S", nullptr);
                    const int32_t quality = 60;
                    host.escapeSetup(with, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1);
                    host.destroySetup(with);
                });
                return made == exports.size() ? static_cast<int>(used / 1024) : 255;
            }).exitCode;
        EXPECT_GT(code, 0) << variant;  // a signal ended it
        EXPECT_LE(code, 48) << variant; // room for what another compiler keeps there
        std::printf("%s: %d KB of stack\n", variant, code);
    }
}

// Numbers of descriptors beyond those that a set for select has room for.
TEST_F(Limits, TwoThousandOpenFilesChangeNothing) {
    if (!kEmulator.empty())
        GTEST_SKIP() << "the limit would be the emulator's as well";
    const auto code = RunInChild([this] {
                          if (!SetLimit(RLIMIT_NOFILE, 2200))
                              return 77;
                          for (int i = 0; i < 2000; ++i)
                              if (open("/dev/null", O_RDONLY) < 0)
                                  return 2;
                          return OrdinaryExportsAreWhole() && ExportTo("a.jpg") == 0 &&
                                         FileBytes("a.jpg") == plain.jpeg
                                     ? 0
                                     : 1;
                      }).exitCode;
    if (code == 77)
        GTEST_SKIP() << "so many may not be open here";
    EXPECT_EQ(code, 0);
}

// From plenty down to nothing, 64 KB at a time.
TEST(AddressSpaceLimit, LeavesTheWholePictureOrNone) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "the sanitizer needs terabytes of it";
#endif
    if (!kEmulator.empty())
        GTEST_SKIP() << "the limit would be the emulator's as well";
    std::vector<golden::Export> exports = golden::Exports();
    const auto flat = std::find_if(exports.begin(), exports.end(), [](const golden::Export &what) {
        return what.name == "flat-640x480-f212-prog-q75.jpg";
    });
    ASSERT_NE(flat, exports.end());
    const ExportBytes expected = golden::Host(kModulePath).Make(*flat);
    constexpr int kWhole = 0, kNone = 10, kCut = 11, kNothingLoaded = 12;
    int seen[256] = {};
    for (size_t room = 0; room <= 96; ++room) {
        const int code = RunInChild([&] {
                             malloc_trim(0);
                             SetLimit(RLIMIT_AS, AddressSpace() + room * 65536);
                             try {
                                 const golden::Host maker(kModulePath);
                                 const ExportBytes made = maker.Make(*flat);
                                 return made == expected   ? kWhole
                                        : made.empty()     ? kNone
                                        : EndsAsJpeg(made) ? 1
                                                           : kCut;
                             } catch (const std::exception &) {
                                 return kNothingLoaded;
                             }
                         }).exitCode;
        ASSERT_TRUE(code == kWhole || code == kNone || code == kCut || code == kNothingLoaded)
            << code << " with room for " << room * 64 << " KB";
        ++seen[code];
    }
    EXPECT_GT(seen[kWhole], 0);
    EXPECT_GT(seen[kNothingLoaded], 0);
    EXPECT_GT(seen[kNone] + seen[kCut], 0);
}

TEST_F(Limits, SignalsDoNotCutAPictureInAPipe) {
    const SlowPipe read = ReadSlowly(true, [this](int pipe) {
        const std::string name = "/proc/self/fd/" + std::to_string(pipe);
        return ExportLarge(name.c_str()).result;
    });
    EXPECT_EQ(read.status, 0);
    EXPECT_TRUE(read.bytes == LargeInMemory()) << read.bytes.size();
}

TEST_F(Limits, SignalsDoNotCutAPictureInTheStandardOutput) {
    const SlowPipe read = ReadSlowly(true, [this](int) {
        std::fputs("the host's own text", stdout);
        return ExportLarge("stdout").result;
    });
    EXPECT_EQ(read.status, 0);
    EXPECT_TRUE(read.bytes == "the host's own text" + LargeInMemory()) << read.bytes.size();
}

TEST_F(Limits, AStandardOutputThatDoesNotWaitIsWaitedFor) {
    const SlowPipe read = ReadSlowly(false, [this](int) { return ExportLarge("stdout").result; });
    EXPECT_EQ(read.status, 0);
    EXPECT_TRUE(read.bytes == LargeInMemory()) << read.bytes.size();
}

TEST_F(Limits, APipeThatNobodyReadsDoesNotEndTheHost) {
    for (const int flags : {0, O_NONBLOCK}) {
        const auto code =
            RunInChild([this, flags] {
                int ends[2];
                std::signal(SIGPIPE, SIG_DFL);
                if (pipe2(ends, flags) != 0 || close(ends[0]) != 0)
                    return 2;
                dup2(ends[1], STDOUT_FILENO);
                setvbuf(stdout, nullptr, _IONBF, 0);
                const int32_t result = ExportLarge("stdout").result;
                sigset_t pending;
                sigpending(&pending);
                return (result == 0 || result == 303) && sigismember(&pending, SIGPIPE) == 0 ? 0
                                                                                             : 1;
            }).exitCode;
        EXPECT_EQ(code, 0) << flags;
    }
    EXPECT_TRUE(OrdinaryExportsAreWhole());
}

} // namespace
