// kowen selftest with the built module, and with one that has a flaw (flawed_module.cpp).
#include "support/temp_directory.h"
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
    EXPECT_EQ(selftest.report["program"], "2.0.5");
    EXPECT_EQ(selftest.report["missing"], json::array());
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

// In a process group of its own, for what a terminal sends to all of one.
ProgramResult RunFlawed(const char *flaw, std::vector<std::string> more = {}) {
    ProgramSetting setting;
    setting.beforeStart = [flaw] {
        setpgid(0, 0);
        setenv("KOWEN_FLAW", flaw, 1);
    };
    more.insert(more.begin(), {"selftest", "--module", KOWEN_FLAWED_MODULE});
    return RunKowen(more, setting);
}

TEST(Selftest, ARequestToStopIsNoFault) {
    const std::pair<const char *, int> cases[] = {{"scalar stop 5", SIGTERM},
                                                  {"scalar hangup 5", SIGHUP},
                                                  {"scalar keys 5", SIGINT},
                                                  {"loading stop", SIGTERM}};
    for (const auto &[flaw, signal] : cases) {
        const ProgramResult result = RunFlawed(flaw);
        EXPECT_EQ(result.exitCode, 128 + signal) << flaw;
        EXPECT_EQ(result.errors, "kowen: cancelled\n") << flaw;
        EXPECT_EQ(result.output, "") << flaw;
    }
}

TEST(Selftest, AnExportWithoutAnEndIsTold) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "scalar late 5");
    EXPECT_EQ(selftest.exitCode, 1);
    EXPECT_EQ(Variant(selftest, "scalar")["ended"], "was not done after 60 seconds");
}

TEST(Selftest, AModuleThatEndsItsProcessWhenLoadedIsNamed) {
    for (const char *option : {"", "--json"}) {
        const ProgramResult result =
            RunFlawed("loading abort", *option != '\0' ? std::vector<std::string>{option}
                                                       : std::vector<std::string>{});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.errors,
                  "kowen: " KOWEN_FLAWED_MODULE
                  " could not be loaded: the process that tried ended "
                  "by a signal: Aborted; the file may be cut short or damaged: install it again\n");
        EXPECT_EQ(result.output, "");
    }
}

std::string BytesOf(const char *path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Every command that loads the module; they end with a sentence and not by a signal.
TEST(Selftest, ACutModuleIsToldByEveryCommand) {
    const TempDirectory directory;
    const std::string whole = BytesOf(KOWEN_BUILT_MODULE);
    const std::string half = whole.substr(0, whole.size() / 2);
    const std::string picture = directory.Write("a.ppm", "P6 1 1 255\nabc");
    const std::pair<std::string, std::string> cases[] = {
        {half, "the file is cut short, at " + std::to_string(half.size()) + " bytes"},
        {half + std::string(whole.size() - half.size(), '\0'),
         "the file is damaged, a part of it is missing"}};
    for (const auto &[bytes, words] : cases) {
        const std::string module = directory.Write("cut.so", bytes);
        const std::vector<std::vector<std::string>> commands = {{"selftest"},
                                                                {"selftest", "--json"},
                                                                {"info"},
                                                                {"estimate", picture},
                                                                {"export", picture}};
        for (std::vector<std::string> command : commands) {
            command.insert(command.begin() + 1, {"--module", module});
            const ProgramResult result = RunKowen(command);
            EXPECT_EQ(result.exitCode, 1) << command[0];
            EXPECT_EQ(result.output, "") << command[0];
            EXPECT_NE(result.errors.find("cannot load the module " + module + ": " + words +
                                         "; install it again"),
                      std::string::npos)
                << command[0] << ": " << result.errors;
        }
    }
}

TEST(Selftest, AModuleInTheFolderNeedsNoPath) {
    const TempDirectory directory;
    directory.Write("mine.so", BytesOf(KOWEN_BUILT_MODULE));
    ProgramSetting setting;
    setting.directory = directory.Path();
    const ProgramResult result = RunKowen({"selftest", "--module", "mine.so"}, setting);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(RunKowen({"info", "--module", "mine.so"}, setting).exitCode, 0);
}

TEST(Selftest, AModuleOfAnotherVersionIsRemarked) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "loading version");
    EXPECT_EQ(selftest.exitCode, 0) << selftest.report;
    EXPECT_EQ(selftest.report["version"], "2.1.7");
    EXPECT_EQ(selftest.report["program"], "2.0.5");
    const std::string line = selftest.report["report"];
    EXPECT_TRUE(
        line.starts_with("kowen selftest: passed, version 2.1.7 (the program is 2.0.5), module "))
        << line;
    const std::string text = RunFlawed("loading version").output;
    EXPECT_NE(text.find("\nversion   2.1.7 (the program is 2.0.5)\n"), std::string::npos) << text;
}

TEST(Selftest, MissingEntriesAreNamed) {
    const Selftest selftest = RunSelftest(KOWEN_FLAWED_MODULE, "loading entries");
    EXPECT_EQ(selftest.exitCode, 1);
    EXPECT_EQ(selftest.report["passed"], false);
    EXPECT_EQ(selftest.report["missing"], json({"EditSetup", "dd_entry"}));
    EXPECT_EQ(Variant(selftest, "scalar")["right"], Recorded());
    const std::string line = selftest.report["report"];
    EXPECT_NE(line.find(", no entries EditSetup, dd_entry, "), std::string::npos) << line;
    const std::string text = RunFlawed("loading entries").output;
    EXPECT_NE(text.find("\nentries   its table has no EditSetup, dd_entry\n"), std::string::npos)
        << text;
}

TEST(Selftest, WhatTheModulePrintsStaysOutOfTheReport) {
    const ProgramResult result = RunFlawed("scalar print 3", {"--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(json::parse(result.output)["passed"], true);
    EXPECT_EQ(result.errors, "a word of the module's own\n");
}

TEST(Selftest, ALimitOfFileSizesIsNoFault) {
    ProgramSetting setting;
    setting.beforeStart = [] {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
    };
    const ProgramResult result = RunKowen({"selftest", "--module", KOWEN_BUILT_MODULE}, setting);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "kowen: the limit of a file's size (ulimit -f, RLIMIT_FSIZE) is 0 "
                             "bytes; the self-test needs 512 for files in memory\n");
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
