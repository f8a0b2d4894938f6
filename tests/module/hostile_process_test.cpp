// Hosts whose process is in an unusual state: locale, floating point, limits, descriptors, stack.
#include "module/hostile_host.h"
#include "support/child_process.h"
#include "support/comma_locale.h"
#include "support/emulator.h"

#include <algorithm>
#include <cfenv>
#include <csignal>
#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#if defined(__x86_64__) || defined(__i386__)
#include <xmmintrin.h>
#endif

extern char **environ;

namespace {

using namespace kowen::test;

/// Sets the floating-point environment back at its end.
class ScopedFloats {
public:
    ScopedFloats() { std::fegetenv(&before); }
    ~ScopedFloats() { std::fesetenv(&before); }
    ScopedFloats(const ScopedFloats &) = delete;
    ScopedFloats &operator=(const ScopedFloats &) = delete;

private:
    std::fenv_t before;
};

class HostileProcess : public HostileHost {
protected:
    static constexpr int kRoundings[] = {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST};

    /// A picture that is fitted and scaled, with sizes that are no round numbers.
    ExportBytes FittedExport() const {
        const std::string profile = host.directory.Write(
            "fitted.ini", "[S]\nDriver=d\nColor Format=212\nQuality Mode=242\nQuality=50\n"
                          "Size Mode=603\nWidth=1.3\nHeight=0.7\n"
                          "Resolution Mode=310\nX Resolution=71\nY Resolution=71\n");
        const MemoryHandle fitted = host.createSetup(0, profile.c_str(), "S", nullptr);
        const TestBitmap picture = MakeSoft(61, 43);
        ExportRecord record = {};
        const ExportRun run = host.Export("", picture, CellFor(picture), fitted, &record);
        host.destroySetup(fitted);
        return run.jpeg;
    }

    /// Exit code 0 when work() is true in a child.
    template <typename Work> int ExitCode(Work work) const {
        return RunInChild([&] { return work() ? 0 : 1; }).exitCode;
    }

    static bool Limit(decltype(RLIMIT_NOFILE) what, rlim_t value) {
        const rlimit limit = {value, value};
        return setrlimit(what, &limit) == 0;
    }
};

TEST_F(HostileProcess, NumbersWithADecimalCommaChangeNoByte) {
    const ExportBytes fitted = FittedExport();
    const CommaLocale locale(host.directory);
    if (!locale.IsThere())
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    EXPECT_EQ(FittedExport(), fitted);
    EXPECT_TRUE(OrdinaryExportsAreWhole());
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "xx");
}

TEST_F(HostileProcess, ALocaleOfTheThreadStaysAndChangesNoByte) {
    const ExportBytes fitted = FittedExport();
    const locale_t mine = newlocale(LC_ALL_MASK, "C.utf8", nullptr);
    if (mine == nullptr)
        GTEST_SKIP() << "no C.utf8 on this machine";
    const locale_t before = uselocale(mine);
    EXPECT_EQ(FittedExport(), fitted);
    EXPECT_TRUE(OrdinaryExportsAreWhole());
    EXPECT_EQ(uselocale(before), mine);
    freelocale(mine);
}

TEST_F(HostileProcess, NoRoundingModeChangesAByte) {
    const ExportBytes fitted = FittedExport();
    const ScopedFloats scope;
    for (const int rounding : kRoundings) {
        std::fesetround(rounding);
        EXPECT_EQ(FittedExport(), fitted) << rounding;
        EXPECT_TRUE(OrdinaryExportsAreWhole()) << rounding;
        EXPECT_EQ(std::fegetround(), rounding) << "the host's mode stays";
    }
}

TEST_F(HostileProcess, NoRoundingModeChangesAPersistedNumber) {
    const ScopedFloats scope;
    for (const int rounding : kRoundings) {
        const std::string profile = host.directory.Write("p.ini", "[S]\nDriver=d\n");
        std::fesetround(rounding);
        const MemoryHandle handle = host.createSetup(0, profile.c_str(), "S", nullptr);
        const double height = 2.0 / 3.0;
        double size[2] = {};
        const int32_t user = 3;
        EXPECT_EQ(host.escapeSetup(handle, 14, 8, &height, nullptr, 1), 1);
        EXPECT_EQ(host.destroySetup(handle), 0);
        EXPECT_EQ(host.directory.Read("p.ini"), "[S]\nDriver=d\nHeight=0.667\n") << rounding;
        const MemoryHandle again = host.createSetup(0, profile.c_str(), "S", nullptr);
        EXPECT_EQ(host.escapeSetup(again, 19, 4, &user, nullptr, 0), 1);
        EXPECT_EQ(host.escapeSetup(again, 17, 0, nullptr, size, 0), 1);
        EXPECT_EQ(size[0], 0x1.aae147ae147aep+2) << "6.67";
        EXPECT_EQ(size[1], 0x1.55810624dd2f2p-1) << "0.667";
        EXPECT_EQ(host.destroySetup(again), 0);
    }
}

TEST_F(HostileProcess, NoRoundingModeChangesAnAnsweredSize) {
    const auto setDisplay = host.module.Symbol<SetDisplayInfoFunction>("SetDisplayInfo");
    const auto getDisplay = host.module.Symbol<GetDisplayInfoFunction>("GetDisplayInfo");
    const auto scale = host.module.Symbol<ScaleImageSizeFunction>("ScaleImageSize");
    const ScopedFloats scope;
    setDisplay(1000, 960, 96, 96);
    for (const int rounding : kRoundings) {
        double inches = 0;
        double width = 33;
        double height = 10;
        std::fesetround(rounding);
        getDisplay(&inches, nullptr, nullptr, nullptr);
        scale(&width, &height);
        EXPECT_EQ(std::fegetround(), rounding);
        EXPECT_EQ(inches, 0x1.4d55555555555p+3) << "1000 / 96";
        EXPECT_EQ(width, 22);
        EXPECT_EQ(height, 0x1.aaaaaaaaaaaabp+2) << "20 / 3";
    }
}

#if defined(__x86_64__) || defined(__i386__)
TEST_F(HostileProcess, FlushingDenormalsChangesNoByteAndStays) {
    const ExportBytes fitted = FittedExport();
    const unsigned before = _mm_getcsr();
    const unsigned flushing = before | 0x8040; // flush to zero, denormals are zero
    _mm_setcsr(flushing);
    const ExportBytes again = FittedExport();
    const bool whole = OrdinaryExportsAreWhole();
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(again, fitted);
    EXPECT_TRUE(whole);
    EXPECT_EQ(after & 0x8040, 0x8040u);
}

// As the run-time libraries of some languages leave the processor.
TEST_F(HostileProcess, TrappedFloatingPointErrorsDoNotEndTheProcess) {
    EXPECT_EQ(
        ExitCode([this] {
            unsigned csr = _mm_getcsr();
            csr &= ~0x1E80u & ~0x3Fu; // invalid, divide by zero, overflow, underflow, precision
            _mm_setcsr(csr);
            const ExportBytes fitted = FittedExport();
            const BitmapRecord nothing = {};
            HostRecord record = {};
            record.setup = setup;
            BitmapRecord bitmap = nothing;
            const CellRecord cell = {};
            ExportRecord exportRecord = {};
            record.exportRecord = &exportRecord;
            host.exportCellData("", &bitmap, &cell, &record); // 0 / 0 everywhere
            host.free(exportRecord.memoryBlock);
            return !fitted.empty() && OrdinaryExportsAreWhole() && (_mm_getcsr() & 0x1E80u) == 0;
        }),
        0);
}
#endif

TEST_F(HostileProcess, FloatingPointFlagsOfTheHostStay) {
    const ScopedFloats scope;
    for (const int flags : {0, FE_INVALID, FE_DIVBYZERO | FE_INEXACT, FE_ALL_EXCEPT}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        std::feraiseexcept(flags);
        const int raised = std::fetestexcept(FE_ALL_EXCEPT);
        const MemoryHandle handle = MakeSetup(plain);
        const ExportRun run = Export(plain, handle);
        host.destroySetup(handle);
        EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), raised);
        EXPECT_EQ(run.jpeg, plain.jpeg);
    }
}

TEST_F(HostileProcess, ACallbackFindsTheHostsRoundingMode) {
    const ScopedFloats scope;
    std::fesetround(FE_UPWARD);
    int found = -1;
    mischief.onStatus = [&] {
        found = std::fegetround();
        return 0;
    };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(found, FE_UPWARD);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(Draw(plain, setup, &mischief.record), plain.jpeg);
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
}

TEST_F(HostileProcess, SignalsMaskHandlersUmaskAndDirectoryStay) {
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGPIPE);
    sigaddset(&mask, SIGXFSZ);
    sigset_t before;
    sigprocmask(SIG_SETMASK, &mask, &before);
    const mode_t oldUmask = umask(0037);
    std::vector<struct sigaction> actions(65);
    for (int number = 1; number < 65; ++number)
        sigaction(number, nullptr, &actions[static_cast<size_t>(number)]);
    char here[4096];
    char there[4096];
    ASSERT_NE(getcwd(here, sizeof here), nullptr);

    EXPECT_TRUE(OrdinaryExportsAreWhole());
    EXPECT_EQ(ExportTo("a.jpg"), 0);

    sigset_t after;
    sigprocmask(SIG_SETMASK, &before, &after);
    for (int number = 1; number < 65; ++number) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        EXPECT_EQ(sigismember(&after, number), sigismember(&mask, number)) << number;
        EXPECT_EQ(action.sa_handler, actions[static_cast<size_t>(number)].sa_handler) << number;
    }
    EXPECT_EQ(umask(oldUmask), 0037u);
    ASSERT_NE(getcwd(there, sizeof there), nullptr);
    EXPECT_STREQ(here, there);
    struct stat status = {};
    ASSERT_EQ(stat(Path("a.jpg").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u) << "the file has what the umask leaves";
}

TEST_F(HostileProcess, TheEnvironmentStays) {
    const auto snapshot = [] {
        std::vector<std::string> all;
        for (char **entry = environ; *entry != nullptr; ++entry)
            all.push_back(*entry);
        return all;
    };
    const std::vector<std::string> before = snapshot();
    EXPECT_TRUE(OrdinaryExportsAreWhole());
    EXPECT_EQ(snapshot(), before);
}

TEST_F(HostileProcess, AHostWithoutAnyEnvironment) {
    EXPECT_EQ(ExitCode([this] {
                  clearenv();
                  return OrdinaryExportsAreWhole();
              }),
              0);
}

TEST_F(HostileProcess, AHostWithoutStandardStreams) {
    EXPECT_EQ(ExitCode([this] {
                  for (const int descriptor : {0, 1, 2})
                      close(descriptor);
                  return OrdinaryExportsAreWhole() && Export(plain, setup, "stdout").result == 303;
              }),
              0);
}

TEST_F(HostileProcess, AFileSizeLimitLeavesACutFileAndSaysSoOnADevice) {
    if (!kEmulator.empty())
        GTEST_SKIP() << "the limit would be the emulator's as well";
    EXPECT_EQ(ExitCode([this] {
                  std::signal(SIGXFSZ, SIG_IGN);
                  if (!Limit(RLIMIT_FSIZE, 100))
                      return false;
                  HostileDevice device(host.module, "RASTER_dd_entry");
                  const bool cut = ExportTo("a.jpg") == 0 && FileBytes("a.jpg").size() <= 100 &&
                                   device.Initialise(setup, Path("b.jpg")) == 0 &&
                                   RunAll(device, DrawingRequests(plain.bitmap)).back() == 303;
                  device.Terminate();
                  return cut && Export(plain, setup).jpeg == plain.jpeg;
              }),
              0);
}

TEST_F(HostileProcess, AHostWithoutFreeDescriptors) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "the sanitizer opens pipes of its own";
#endif
    if (!kEmulator.empty())
        GTEST_SKIP() << "the limit would be the emulator's as well";
    EXPECT_EQ(ExitCode([this] {
                  if (!Limit(RLIMIT_NOFILE, 3))
                      return false;
                  // Nothing can be opened: no file, and no profile, which gives the built-in
                  // settings; memory is as good as ever.
                  const MemoryHandle fresh = MakeSetup(plain);
                  int32_t quality = 0;
                  host.escapeSetup(fresh, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0);
                  HostileDevice device(host.module, "RASTER_dd_entry");
                  const bool refused = quality == 100 && ExportTo("a.jpg") == 303 &&
                                       device.Initialise(setup, Path("b.jpg")) == 0 &&
                                       device.Run(kOpenDevice) == 303 && device.Terminate() == 0;
                  return refused && Export(plain, setup).jpeg == plain.jpeg;
              }),
              0);
}

TEST_F(HostileProcess, AnExportOnASmallStack) {
    bool whole = false;
    const auto work = [&] { whole = OrdinaryExportsAreWhole() && FittedExport().size() > 600; };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
#ifdef KOWEN_SANITIZED
    constexpr size_t kStackBytes = 1024 * 1024;
#else
    constexpr size_t kStackBytes = 64 * 1024;
#endif
    const size_t least = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN)); // more on PowerPC
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::max(kStackBytes, least)), 0);
    pthread_t thread;
    const auto start = [](void *context) -> void * {
        (*static_cast<decltype(work) *>(context))();
        return nullptr;
    };
    void *context = const_cast<void *>(static_cast<const void *>(&work));
    ASSERT_EQ(pthread_create(&thread, &attributes, start, context), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_TRUE(whole);
}

TEST_F(HostileProcess, NamesCountFromTheCurrentDirectory) {
    EXPECT_EQ(ExitCode([this] {
                  return chdir(host.directory.Path().c_str()) == 0 &&
                         Export(plain, setup, "a.jpg").result == 0 &&
                         FileBytes("a.jpg") == plain.jpeg;
              }),
              0);
}

TEST_F(HostileProcess, ADirectoryThatIsGoneIsNoPlaceForAFile) {
    EXPECT_EQ(ExitCode([this] {
                  const std::string gone = Path("gone");
                  return mkdir(gone.c_str(), 0700) == 0 && chdir(gone.c_str()) == 0 &&
                         rmdir(gone.c_str()) == 0 && Export(plain, setup, "a.jpg").result == 303 &&
                         OrdinaryExportsAreWhole();
              }),
              0);
}

} // namespace
