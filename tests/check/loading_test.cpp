// The settings that the checking module reads when it is loaded.
#include "check/checked_host.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

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
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(CheckLoading, TakesAnEmptyPathForNone) {
    testing::internal::CaptureStderr();
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", "");
    const ScopedEnvironment trace("KOWEN_CHECK_TRACE", "");
    EXPECT_EQ(ModuleHost(kCheckPath).Table().entryCount, 9); // the build has both in one directory
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(CheckLoading, SaysWhatIsMissing) {
    testing::internal::CaptureStderr();
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", "/nonexistent/kowen.so");
    const ModuleHost module(kCheckPath);
    EXPECT_EQ(module.Table().entryCount, 0);
    EXPECT_EQ(module.Symbol<GlobalAllocFunction>("GlobalAlloc")(KOWEN_GLOBAL_FLAGS, 4), 0u);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(said.substr(0, 78),
              "kowen-check: cannot load the module to check: /nonexistent/kowen.so: cannot op");
}

TEST(CheckLoading, RefusesItself) {
    testing::internal::CaptureStderr();
    const ScopedEnvironment checked("KOWEN_CHECKED_MODULE", kCheckPath);
    const ModuleHost module(kCheckPath);
    EXPECT_EQ(module.Table().entryCount, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "kowen-check: " + std::string(kCheckPath) + " is the checking module itself\n");
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

constexpr char kMistake[] =
    "mistake 1 [block-flags] in call 2, GlobalAlloc: flags are 0. "
    "docs/host-guide.md: \"Every allocation passes `KOWEN_GLOBAL_FLAGS`.\"\n";

TEST(CheckSettings, WithoutATraceThereAreTheMistakesAlone) {
    EXPECT_EQ(SaidOfOneMistake(nullptr, nullptr), std::string("kowen-check: ") + kMistake);
}

TEST(CheckSettings, ADashIsStandardError) {
    EXPECT_EQ(SaidOfOneMistake("-", nullptr),
              std::string("1 fltLoadPointers(record true)\n1 returns entries 9\n"
                          "2 GlobalAlloc(flags 0, size 1)\n") +
                  kMistake +
                  "2 returns handle block 1 of 1 bytes\n"
                  "3 GlobalFree(handle block 1 of 1 bytes)\n3 returns\n3 calls, 1 mistakes\n");
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
                  kMistake);
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
    EXPECT_EXIT(makeAMistake("0"), testing::ExitedWithCode(0), "mistake 1 .block-flags.");
}

} // namespace
