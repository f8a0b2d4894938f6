// The hosts that this tree ships make no mistake, and the same files with the checking module.
#include "check/paths.h"
#include "support/emulator.h"
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

std::string Quoted(const std::string &text) {
    return "'" + text + "'";
}

class CleanHost : public testing::Test {
protected:
    /// Runs a program with the checking module and without it: the file is the same, the last line
    /// of the trace counts no mistakes.
    void ExpectClean(const std::string &before, const std::string &behind) {
        ASSERT_EQ(Run(before + Quoted(kModulePath) + behind), 0);
        const std::string plain = directory.Read("a.jpg");
        ASSERT_GT(plain.size(), 600u);
        ASSERT_EQ(Run(before + Quoted(kCheckPath) + behind), 0);
        EXPECT_EQ(directory.Read("a.jpg"), plain);
        const std::string trace = directory.Read("trace");
        ASSERT_GT(trace.size(), 13u);
        EXPECT_EQ(trace.substr(trace.size() - 13), ", 0 mistakes\n") << trace;
        EXPECT_EQ(directory.Read("errors"), "");
    }
    int Run(const std::string &command) const {
        const std::string all = "KOWEN_CHECKED_MODULE=" + Quoted(kModulePath) +
                                " KOWEN_CHECK_TRACE=" + Quoted(directory.File("trace")) +
                                " INIDIR=" + Quoted(directory.Path()) + "; export " +
                                "KOWEN_CHECKED_MODULE KOWEN_CHECK_TRACE INIDIR; " +
                                std::string(kEmulator) + command + " >/dev/null 2>" +
                                Quoted(directory.File("errors"));
        return std::system(all.c_str());
    }

    TempDirectory directory;
};

TEST_F(CleanHost, TheGuidesExample) {
    ExpectClean(Quoted(kGuideExamplePath) + " ", " " + Quoted(directory.File("a.jpg")));
}

TEST_F(CleanHost, TheExampleOfBothDoors) {
    ExpectClean(Quoted(kExamplePath) + " ",
                " " + Quoted(directory.File("b.jpg")) + " " + Quoted(directory.File("a.jpg")));
}

/// A picture of 20 x 10 pixels, red growing to the right.
std::string Picture() {
    std::string text = "P3 20 10 255\n";
    for (int i = 0; i < 200; ++i)
        text += std::to_string(i % 20 * 12) + " 30 60\n";
    return text;
}

class CleanCommandLine : public CleanHost {
protected:
    void SetUp() override {
        if (kProgramPath == nullptr)
            GTEST_SKIP() << "the command line is not built in this preset";
    }
    void ExpectCleanExport(const std::string &options) {
        const std::string picture = directory.Write("a.ppm", Picture());
        ExpectClean(Quoted(kProgramPath) + " export --no-progress --force " + Quoted(picture) +
                        " " + Quoted(directory.File("a.jpg")) + " --module ",
                    " " + options);
    }
};

TEST_F(CleanCommandLine, WithABitmap) {
    ExpectCleanExport("--quality 80");
}

TEST_F(CleanCommandLine, AsTheFilterHasItAndProgressive) {
    ExpectCleanExport("--as-filter --progressive");
}

TEST_F(CleanCommandLine, AtTheQualityThatFits) {
    ExpectCleanExport("--max-bytes 900");
}

} // namespace
