#include "tools/export_fixture.h"

#include <algorithm>
#include <cstdlib>
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

nlohmann::json InfoWith(const char *kernels) {
    ProgramSetting setting;
    setting.beforeStart = [kernels] {
        unsetenv("KOWEN_KERNELS");
        if (kernels != nullptr)
            setenv("KOWEN_KERNELS", kernels, 1);
    };
    return nlohmann::json::parse(RunKowen({"info", "--json"}, setting).output);
}

TEST(Info, TellsTheKernelsAndWhoChoseThem) {
    const nlohmann::json best = InfoWith(nullptr);
    EXPECT_EQ(best["kernelsFrom"], "processor");
    EXPECT_EQ(best["variants"][0], "scalar");
    EXPECT_EQ(best["kernels"], best["variants"].back());
    const nlohmann::json named = InfoWith("scalar");
    EXPECT_EQ(named["kernels"], "scalar");
    EXPECT_EQ(named["kernelsFrom"], "KOWEN_KERNELS");
    EXPECT_EQ(InfoWith("sse9")["kernels"], best["kernels"]);
    EXPECT_EQ(InfoWith("sse9")["kernelsFrom"], "processor");
    ProgramSetting setting;
    setting.beforeStart = [] { setenv("KOWEN_KERNELS", "scalar", 1); };
    const std::string text = RunKowen({"info"}, setting).output;
    EXPECT_NE(text.find("\nkernels scalar, named by KOWEN_KERNELS; of scalar"), std::string::npos)
        << text;
}

// What the module passes over in silence.
class KernelsNote : public ExportFixture {
protected:
    std::string ErrorsOf(const std::vector<std::string> &command, const char *kernels) {
        ProgramSetting setting;
        setting.beforeStart = [kernels] { setenv("KOWEN_KERNELS", kernels, 1); };
        Kowen(command, setting);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return result.errors;
    }
};

TEST_F(KernelsNote, ComesWithANameThatThereIsNot) {
    WritePicture("a.ppm");
    WritePicture("b.ppm");
    const std::vector<std::vector<std::string>> commands = {{"export", "a.ppm", "-o", "x.jpg"},
                                                            {"export", "a.ppm", "b.ppm", "--force"},
                                                            {"estimate", "a.ppm"},
                                                            {"info"}};
    for (const auto &command : commands) {
        const std::string said = ErrorsOf(command, "sse9");
        EXPECT_TRUE(said.starts_with("kowen: note: KOWEN_KERNELS is 'sse9', which is no variant "
                                     "here; "))
            << command[0] << ": " << said;
        EXPECT_TRUE(Has(said, " is used, of scalar")) << said;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    }
}

TEST_F(KernelsNote, DoesNotComeWithANameThatThereIs) {
    WritePicture("a.ppm");
    EXPECT_EQ(ErrorsOf({"export", "a.ppm", "-o", "x.jpg"}, "scalar"), "");
    EXPECT_EQ(ErrorsOf({"export", "a.ppm", "-o", "x.jpg"}, ""), "");
    EXPECT_EQ(ErrorsOf({"export", "a.ppm", "-o", "x.jpg", "-q"}, "sse9"), "");
}

} // namespace
} // namespace kowen::test
