#include "tools/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kowen::test {
namespace {

TEST(Info, NamesTheModuleAndTheFormats) {
    const ProgramResult result = RunKowen({"info"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_NE(result.output.find("kowen.so\nversion 2.0.5\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("reads   PNG PNM PAM JPEG\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find(" TIFF "), std::string::npos) << result.output;
}

TEST(Info, ReportsAsJson) {
    const nlohmann::json report = nlohmann::json::parse(RunKowen({"info", "--json"}).output);
    EXPECT_EQ(report["version"], "2.0.5");
    EXPECT_EQ(report["formats"], nlohmann::json::parse(R"(["PNG","PNM","PAM","JPEG"])"));
    EXPECT_NE(report["magickFormats"].dump().find("\"BMP\""), std::string::npos);
}

} // namespace
} // namespace kowen::test
