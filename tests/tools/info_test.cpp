#include "tools/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kowen::test {
namespace {

TEST(Info, ListsTheTableOfEntries) {
    const ProgramResult result = RunKowen({"info"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output.substr(result.output.find('\n')),
              "\nversion 2.0.5\n\n1001  CreateSetup\n1002  DestroySetup\n1003  EditSetup\n"
              "1004  EscapeSetup\n1005  QIVGetFilterVersion\n1006  dd_entry\n"
              "1008  RASTER_dd_entry\n1009  ExportCellData\n1010  szDLLName\n");
}

TEST(Info, ReportsAsJson) {
    const nlohmann::json report = nlohmann::json::parse(RunKowen({"info", "--json"}).output);
    EXPECT_EQ(report["version"], "2.0.5");
    ASSERT_EQ(report["entries"].size(), 9U);
    EXPECT_EQ(report["entries"][7]["name"], "ExportCellData");
    EXPECT_EQ(report["entries"][7]["ordinal"], 1009);
}

TEST(Help, ExplainsEveryCommand) {
    for (const std::vector<std::string> &command :
         {std::vector<std::string>{}, {"export"}, {"info"}, {"setup"}, {"setup", "set"}}) {
        std::vector<std::string> arguments = command;
        arguments.push_back("--help");
        const ProgramResult result = RunKowen(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_NE(result.output.find("Exit status: 0 done, 1 failed, 2 wrong usage, 130"),
                  std::string::npos);
        EXPECT_EQ(result.errors, "");
    }
    EXPECT_NE(RunKowen({"export", "--help"}).output.find("odd height gains one row"),
              std::string::npos);
}

TEST(Help, TellsTheVersion) {
    EXPECT_EQ(RunKowen({"--version"}).output, "kowen 2.0.5\n");
}

} // namespace
} // namespace kowen::test
