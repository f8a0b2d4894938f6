// What stands on the host library: its example, and the command line.
#include "check/clean_host.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/wait.h>

namespace kowen::test {
namespace {

TEST_F(CleanHost, TheExampleOfTheHostLibrary) {
    ExpectClean("KOWEN_MODULE=",
                " " + Quoted(kHostExamplePath) + " " + Quoted(directory.File("a.jpg")));
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
    void ExpectCleanExport(const std::string &options) {
        ExpectClean(Quoted(kProgramPath) + " export --no-progress --force " + Quoted(picture) +
                        " " + Quoted(directory.File("a.jpg")) + " --module ",
                    " " + options);
    }
    /// The exit status of a command that has the checking module.
    int RunChecked(const std::string &command, const std::string &words) const {
        return WEXITSTATUS(Run(Quoted(kProgramPath) + " " + command + " --module " +
                               Quoted(kCheckPath) + " " + words));
    }

    const std::string picture = directory.Write("a.ppm", Picture());
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

TEST_F(CleanCommandLine, ResizedAndGrey) {
    ExpectCleanExport("--resize 150% --colour grey");
}

TEST_F(CleanCommandLine, FittedIntoAPageByTheFilter) {
    ExpectCleanExport("-q --as-filter --colour rgb444 --size 2x2cm --dpi 100");
}

TEST_F(CleanCommandLine, SeveralSideBySide) {
    const std::string second = directory.Write("b.ppm", Picture());
    EXPECT_EQ(RunChecked("export", Quoted(picture) + " " + Quoted(second) + " -q -j 2"), 0);
    ExpectNothingSaid(1);
    ExpectNoMistake(" ExportCellData(", 2);
}

TEST_F(CleanCommandLine, OntoAFullDisk) {
    EXPECT_EQ(RunChecked("export", Quoted(picture) + " -q -o /dev/full"), 1);
    EXPECT_EQ(directory.Read("errors").find("kowen-check: mistake"), std::string::npos);
    EXPECT_EQ(directory.Read("errors").find("kowen-check: note"), std::string::npos);
    ExpectNoMistake(" ExportCellData(", 1);
}

TEST_F(CleanCommandLine, AnEstimate) {
    EXPECT_EQ(RunChecked("estimate", Quoted(picture) + " -q"), 0);
    ExpectNothingSaid(1);
    ExpectNoMistake(" ExportCellData(", 5);
}

TEST_F(CleanCommandLine, TheFiltersVersion) {
    EXPECT_EQ(RunChecked("info", ""), 0);
    ExpectNothingSaid(1);
    ExpectNoMistake(" QIVGetFilterVersion(", 1);
}

TEST_F(CleanCommandLine, Selftest) {
    EXPECT_EQ(RunChecked("selftest", ""), 0);
    ExpectNothingSaid(2);
    ExpectNoMistake(" ExportCellData(", 86);
    ExpectNoMistake(" RASTER_dd_entry32(function KOWEN_DD_INITIALISE", 11);
}

} // namespace
} // namespace kowen::test
