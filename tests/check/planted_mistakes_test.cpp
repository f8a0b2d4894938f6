// Hosts that break one rule each, and what the checking module reports.
#include "check/planted.h"
#include "check/rules.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <set>

namespace {

using namespace kowen::test;

std::vector<Planted> AllPlanted() {
    std::vector<Planted> all;
    for (const auto &part :
         {LoadingMistakes(), SetupMistakes(), BlockMistakes(), CallbackMistakes(), BitmapMistakes(),
          ExportMistakes(), EscapeMistakes(), DoorMistakes(), DeviceMistakes(), RequestMistakes()})
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class PlantedMistake : public testing::TestWithParam<Planted> {};

TEST_P(PlantedMistake, IsReportedAndNothingElseIs) {
    testing::internal::CaptureStderr();
    CheckedHost host;
    GetParam().host(host);
    host.Unload();
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(host.Mistakes(), GetParam().reported) << host.Trace();
    EXPECT_NE(said.find("kowen-check: "), std::string::npos) << said;
    EXPECT_NE(said.find(" [" + GetParam().reported[0] + "] "), std::string::npos) << said;
}

INSTANTIATE_TEST_SUITE_P(Host, PlantedMistake, testing::ValuesIn(AllPlanted()),
                         [](const auto &planted) { return planted.param.name; });

// A jump out of a callback leaves the module's frames behind, and what they own.
TEST(PlantedJump, IsReportedWithTheNextCall) {
#ifdef KOWEN_SANITIZED
    GTEST_SKIP() << "a jump over frames leaves memory behind";
#else
    testing::internal::CaptureStderr();
    CheckedHost host;
    static std::jmp_buf back;
    static Prank prank;
    prank.onStatus = []() -> int32_t { std::longjmp(back, 1); };
    const MemoryHandle setup = host.MakeSetup();
    if (setjmp(back) == 0)
        host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
    host.version();
    // The module keeps the setup and its doors shut, as if it were inside the callback for good.
    EXPECT_EQ(host.destroySetup(setup), 1);
    EXPECT_EQ(host.Initialise(setup), 0);
    EXPECT_EQ(host.Run(kOpenDevice), 0);
    EXPECT_EQ(host.Mistakes(), Mistakes{"callback-returns"}) << host.Trace();
    host.Unload();
    testing::internal::GetCapturedStderr();
#endif
}

// The module is made without exceptions: one may end the process or pass through.
TEST(PlantedExceptionDeathTest, IsReportedWhateverBecomesOfIt) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto throwFromACallback = [] {
        CheckedHost host;
        Prank prank;
        prank.onStatus = []() -> int32_t { throw 1; };
        const MemoryHandle setup = host.MakeSetup();
        try {
            host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
        } catch (...) {
            std::abort();
        }
    };
    EXPECT_DEATH(throwFromACallback(), "callback-returns.*statusCallback was left by an exception");
}

TEST(PlantedMistakes, BreakEveryRule) {
    std::set<std::string> broken = {"callback-returns"}; // above
    for (const Planted &planted : AllPlanted())
        broken.insert(planted.reported.begin(), planted.reported.end());
    for (const kowen::check::RuleText &rule : kowen::check::AllRules())
        EXPECT_TRUE(broken.contains(rule.name)) << "no host breaks " << rule.name;
}

} // namespace
