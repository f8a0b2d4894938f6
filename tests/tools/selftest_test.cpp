// kowen selftest with the built module, and with one that has a flaw (flawed_module.cpp).
#include "tools/program.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

namespace kowen::test {
namespace {

using nlohmann::json;

struct Selftest {
    int exitCode;
    json report;
};

Selftest RunSelftest(const char *module, const char *flaw = nullptr) {
    ProgramSetting setting;
    setting.beforeStart = [flaw] {
        setenv("KOWEN_KERNELS", "none", 1);
        if (flaw != nullptr)
            setenv("KOWEN_FLAW", flaw, 1);
    };
    const ProgramResult result = RunKowen({"selftest", "--json", "--module", module}, setting);
    return {result.exitCode, json::parse(result.output)};
}

const json &Variant(const Selftest &selftest, const std::string &name) {
    for (const json &variant : selftest.report["variants"])
        if (variant["name"] == name)
            return variant;
    static const json none = nullptr;
    return none;
}

// How many exports the recorded set has.
size_t Recorded() {
    std::ifstream lines(KOWEN_GOLDEN_DIGESTS);
    return static_cast<size_t>(
        std::count(std::istreambuf_iterator<char>(lines), std::istreambuf_iterator<char>(), '\n'));
}

TEST(Selftest, TheBuiltModuleIsRight) {
    const Selftest selftest = RunSelftest(KOWEN_BUILT_MODULE);
    EXPECT_EQ(selftest.exitCode, 0);
    EXPECT_EQ(selftest.report["passed"], true);
    EXPECT_EQ(selftest.report["version"], "2.0.5");
    EXPECT_EQ(selftest.report["module"], KOWEN_BUILT_MODULE);
    EXPECT_EQ(Variant(selftest, "scalar")["right"], Recorded());
    EXPECT_EQ(Variant(selftest, "scalar")["exports"], Recorded());
    EXPECT_EQ(Recorded(), 97u);
}

// The processor's flags, as the system tells them.
TEST(Selftest, EveryVariantIsTried) {
#if !defined(__x86_64__)
    GTEST_SKIP() << "the names of the flags are those of x86-64";
#endif
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && !line.starts_with("flags"))
        continue;
    line += ' ';
    const auto has = [&](const char *flag) { return line.find(flag) != std::string::npos; };
    const Selftest selftest = RunSelftest(KOWEN_BUILT_MODULE);
    EXPECT_EQ(!Variant(selftest, "sse41").is_null(), has(" ssse3 ") && has(" sse4_1 "));
    EXPECT_EQ(!Variant(selftest, "avx2").is_null(),
              has(" avx2 ") && has(" bmi1 ") && has(" bmi2 ") && has(" abm "));
    EXPECT_EQ(!Variant(selftest, "avx512").is_null(), has(" avx512_vbmi2 ") && has(" avx512bw ") &&
                                                          has(" avx512cd ") && has(" avx512vl ") &&
                                                          has(" avx512vbmi "));
}

TEST(Selftest, OneWrongBitOfOneVariantIsFound) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "scalar flip 0");
    EXPECT_EQ(selftest.exitCode, 1);
    EXPECT_EQ(selftest.report["passed"], false);
    EXPECT_EQ(Variant(selftest, "scalar")["right"], Recorded() - 1);
    EXPECT_EQ(Variant(selftest, "scalar")["wrong"], json({"soft-33x18-f212-seq-q1.jpg"}));
    for (const json &variant : selftest.report["variants"])
        EXPECT_EQ(variant["right"], Recorded() - (variant["name"] == "scalar" ? 1 : 0)) << variant;
    const std::string line = selftest.report["report"];
    EXPECT_TRUE(line.starts_with("kowen selftest: FAILED, version 2.0.5, module ")) << line;
    EXPECT_NE(line.find("scalar 96/97 (wrong: soft-33x18-f212-seq-q1.jpg)"), std::string::npos)
        << line;
}

TEST(Selftest, ARefusedExportIsFound) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "scalar refuse 1");
    EXPECT_EQ(selftest.exitCode, 1);
    EXPECT_EQ(Variant(selftest, "scalar")["wrong"], json({"soft-33x18-f212-prog-q1.jpg"}));
}

TEST(Selftest, ACrashIsTold) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "scalar crash 5");
    EXPECT_EQ(selftest.exitCode, 1);
    EXPECT_EQ(Variant(selftest, "scalar")["right"], 5u);
    EXPECT_EQ(Variant(selftest, "scalar")["ended"], "ended by a signal: Aborted");
}

TEST(Selftest, ARequestToStopIsNoFault) {
    ProgramSetting setting;
    setting.beforeStart = [] { setenv("KOWEN_FLAW", "scalar stop 5", 1); };
    const ProgramResult result = RunKowen({"selftest", "--module", KOWEN_FLAWED_MODULE}, setting);
    EXPECT_EQ(result.exitCode, 128 + SIGTERM);
    EXPECT_EQ(result.errors, "kowen: cancelled\n");
    EXPECT_EQ(result.output, "");
}

TEST(Selftest, WithoutAFlawTheFlawedModuleIsRight) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "- flip 0");
    EXPECT_EQ(selftest.exitCode, 0) << selftest.report;
}

TEST(Selftest, TheLastLineIsTheReport) {
    const ProgramResult result = RunKowen({"selftest", "--module", KOWEN_BUILT_MODULE});
    EXPECT_EQ(result.exitCode, 0);
    const size_t last = result.output.rfind('\n', result.output.size() - 2) + 1;
    const std::string line = result.output.substr(last);
    EXPECT_TRUE(line.starts_with("kowen selftest: passed, version 2.0.5, module ")) << line;
    EXPECT_NE(line.find("scalar 97/97"), std::string::npos) << line;
    EXPECT_NE(result.output.find("scalar    97 of 97 exports are right\n"), std::string::npos);
}

TEST(Selftest, TheChecksumIsTheFiles) {
    FILE *sum = popen("sha256sum '" KOWEN_BUILT_MODULE "'", "r");
    char digits[65] = "";
    ASSERT_EQ(std::fread(digits, 1, 64, sum), 64u);
    pclose(sum);
    EXPECT_EQ(RunSelftest(KOWEN_BUILT_MODULE).report["sha256"], digits);
}

TEST(Selftest, WithoutAModuleItFails) {
    const ProgramResult result = RunKowen({"selftest", "--module", "/nowhere/kowen.so"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.errors.find("/nowhere/kowen.so"), std::string::npos) << result.errors;
}

} // namespace
} // namespace kowen::test
