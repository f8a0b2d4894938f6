// The settings that the checking module reads when it is loaded.
#include "check/checked_host.h"
#include "support/emulator.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace kowen::test;
using Json = nlohmann::json;

// With nothing set it needs no more than the module in its own directory.
TEST(CheckLoading, TakesTheModuleBesideIt) {
    testing::internal::CaptureStderr();
    const TempDirectory directory;
    std::filesystem::copy_file(kCheckPath, directory.File("kowen-check.so"));
    std::filesystem::copy_file(kModulePath, directory.File("kowen.so"));
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", nullptr);
    const ScopedEnvironment trace("KOWEN_CHECK_TRACE", nullptr);
    {
        const ModuleHost module(directory.File("kowen-check.so"));
        EXPECT_EQ(module.Entry<GetFilterVersionFunction>("QIVGetFilterVersion")(), 0x02000005u);
    }
    std::filesystem::remove(directory.File("kowen.so"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kowen-check: 2 calls, 0 mistakes\n");
}

TEST(CheckLoading, TakesAnEmptyPathForNone) {
    testing::internal::CaptureStderr();
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", "");
    const ScopedEnvironment trace("KOWEN_CHECK_TRACE", "");
    EXPECT_EQ(ModuleHost(kCheckPath).Table().entryCount, 9); // the build has both in one directory
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "kowen-check: 1 call, 0 mistakes\n");
}

constexpr char kNothingThere[] = "kowen-check: cannot load the module to check: "
                                 "/nonexistent/kowen.so: cannot open shared object file: No such "
                                 "file or directory; set KOWEN_CHECKED_MODULE to its path. Until "
                                 "then the table has no entries\n";

TEST(CheckLoading, SaysWhatIsMissingBeforeTheFirstCall) {
    testing::internal::CaptureStderr();
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", "/nonexistent/kowen.so");
    void *library = dlopen(kCheckPath, RTLD_NOW);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kNothingThere);
    testing::internal::CaptureStderr();
    {
        const ModuleHost module(kCheckPath);
        EXPECT_EQ(module.Table().entryCount, 0);
        EXPECT_EQ(module.Symbol<GlobalAllocFunction>("GlobalAlloc")(KOWEN_GLOBAL_FLAGS, 4), 0u);
    }
    dlclose(library);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kowen-check: 2 calls without a module behind them, 0 mistakes\n");
}

TEST(CheckLoading, TheGuidesExampleSurvivesThatNothingIsBehind) {
    const TempDirectory directory;
    const std::string command = "KOWEN_CHECKED_MODULE=/nonexistent/kowen.so " +
                                std::string(kEmulator) + "'" + kGuideExamplePath + "' '" +
                                kCheckPath + "' '" + directory.File("a.jpg") + "' 2>'" +
                                directory.File("errors") + "'";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
    EXPECT_EQ(directory.Read("errors"),
              kNothingThere + std::string(kCheckPath) + ": not a filter\n" +
                  "kowen-check: 1 call without a module behind them, 0 mistakes\n");
}

TEST(CheckLoading, RefusesItself) {
    testing::internal::CaptureStderr();
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", kCheckPath);
    const ModuleHost module(kCheckPath);
    EXPECT_EQ(module.Table().entryCount, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kowen-check: " + std::string(kCheckPath) + " is the checking module itself\n");
}

// A host that writes into the table dies behind it as it does without it.
TEST(CheckLoading, TheTableIsReadOnly) {
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", kModulePath);
    const ModuleHost module(kCheckPath);
    const TableEntry *row = module.Table().entries;
    const int zero = open("/dev/zero", O_RDONLY);
    // The system writes there for us, or refuses it where nothing may be written.
    EXPECT_EQ(read(zero, const_cast<TableEntry *>(row), sizeof *row), -1);
    EXPECT_EQ(errno, EFAULT);
    close(zero);
    EXPECT_STREQ(row->name, "CreateSetup");
}

/// A host with one mistake, whose trace goes where the variable says. Returns what is on standard
/// error.
std::string SaidOfOneMistake(const char *trace, const char *format) {
    testing::internal::CaptureStderr();
    {
        const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", kModulePath);
        const ScopedEnvironment traceFormat("KOWEN_CHECK_FORMAT", format);
        const ScopedEnvironment tracePath("KOWEN_CHECK_TRACE", trace);
        const ModuleHost module(kCheckPath);
        module.Symbol<GlobalFreeFunction>("GlobalFree")(
            module.Symbol<GlobalAllocFunction>("GlobalAlloc")(0, 1));
    }
    return testing::internal::GetCapturedStderr();
}

constexpr char kClosing[] = "kowen-check: 3 calls, 1 mistake (block-flags 1)\n";
constexpr char kMistake[] =
    "mistake 1 [block-flags] in call 2, GlobalAlloc: flags are 0. "
    "docs/host-guide.md: \"Every allocation passes `KOWEN_GLOBAL_FLAGS`.\"\n";

TEST(CheckSettings, WithoutATraceThereAreTheMistakesAlone) {
    EXPECT_EQ(SaidOfOneMistake(nullptr, nullptr),
              std::string("kowen-check: ") + kMistake + kClosing);
}

TEST(CheckSettings, ADashIsStandardError) {
    EXPECT_EQ(SaidOfOneMistake("-", nullptr),
              std::string("1 fltLoadPointers(record true)\n1 returns entries 9\n"
                          "2 GlobalAlloc(flags 0, size 1)\n") +
                  kMistake +
                  "2 returns handle block 1 of 1 bytes\n"
                  "3 GlobalFree(handle block 1 of 1 bytes)\n3 returns result 0\n"
                  "3 calls, 1 mistake (block-flags 1)\n");
}

TEST(CheckSettings, EveryLineOnStandardErrorIsJson) {
    const std::string said = SaidOfOneMistake("-", "json");
    std::vector<std::string> events;
    for (size_t at = 0; at < said.size(); at = said.find('\n', at) + 1)
        events.push_back(Json::parse(said.substr(at, said.find('\n', at) - at))["event"]);
    EXPECT_EQ(events, (std::vector<std::string>{"call", "return", "call", "mistake", "return",
                                                "call", "return", "end"}));
}

TEST(CheckSettings, ATraceThatCannotBeWrittenIsToldAndLeftOut) {
    EXPECT_EQ(SaidOfOneMistake("/nonexistent/trace", "json"),
              std::string("kowen-check: cannot write the trace /nonexistent/trace: No such file or "
                          "directory\nkowen-check: ") +
                  kMistake + kClosing);
}

TEST(CheckSettings, ATraceWithoutSpaceIsTold) {
    EXPECT_EQ(SaidOfOneMistake("/dev/full", nullptr),
              std::string("kowen-check: cannot write the trace /dev/full: No space left on device; "
                          "it ends here\nkowen-check: ") +
                  kMistake + kClosing);
}

TEST(CheckSettings, AFormatThatThereIsNotIsToldAndIsText) {
    const TempDirectory directory;
    const std::string said = SaidOfOneMistake(directory.File("trace").c_str(), "xml");
    constexpr char kRefused[] = "KOWEN_CHECK_FORMAT=xml is neither json nor text: it is text\n";
    EXPECT_EQ(said,
              std::string("kowen-check: ") + kRefused + "kowen-check: " + kMistake + kClosing);
    EXPECT_EQ(directory.Read("trace").find(std::string("trouble: ") + kRefused +
                                           "1 fltLoadPointers(record true)\n"),
              0u);
}

TEST(CheckSettings, ATraceIsAppended) {
    const TempDirectory directory;
    directory.Write("trace", "before\n");
    SaidOfOneMistake(directory.File("trace").c_str(), nullptr);
    EXPECT_EQ(directory.Read("trace").substr(0, 16), "before\n1 fltLoad");
}

TEST(CheckSettingsDeathTest, AbortEndsTheProcessAtTheFirstMistake) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto makeAMistake = [](const char *abort) {
        const ScopedEnvironment aborts("KOWEN_CHECK_ABORT", abort);
        CheckedHost host;
        host.free(host.alloc(0, 1));
        std::_Exit(0);
    };
    EXPECT_EXIT(makeAMistake("1"), testing::KilledBySignal(SIGABRT), "mistake 1 .block-flags.");
    EXPECT_EXIT(makeAMistake("yes"), testing::ExitedWithCode(0),
                "KOWEN_CHECK_ABORT=yes is not 1: no mistake ends the process\n.*mistake 1 ");
    EXPECT_EXIT(makeAMistake("0"), testing::ExitedWithCode(0), "mistake 1 .block-flags.");
}

} // namespace
