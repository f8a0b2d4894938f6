#include "host/module.h"
#include "host/profile_file.h"
#include "support/jpeg_decode.h"
#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <sys/stat.h>

namespace kowen::test {
namespace {

class SetupCommand : public testing::Test {
protected:
    SetupCommand() { file = directory.File("my.ini"); }

    ProgramResult Run(std::vector<std::string> arguments, int expected = 0) {
        arguments.insert(arguments.begin(), "setup");
        const ProgramResult result = RunKowen(arguments);
        EXPECT_EQ(result.exitCode, expected) << result.errors;
        return result;
    }

    size_t FilesLeft() const {
        size_t count = 0;
        for ([[maybe_unused]] const auto &entry :
             std::filesystem::directory_iterator(directory.Path()))
            ++count;
        return count;
    }

    const TempDirectory directory;
    std::string file;
};

TEST_F(SetupCommand, SetMakesAProfile) {
    const ProgramResult result = Run({"set", file, "quality=75", "operation=progressive"});
    const std::string expected = "[JPG Export]\ncolour=ycc422\ncolour-mode=unchanged\nquality=75\n"
                                 "operation=progressive\nsize=from-picture\ndpi=from-picture\n"
                                 "line-mode=default\n";
    EXPECT_EQ(result.output, expected);
    EXPECT_EQ(Run({"show", file}).output, expected);
    EXPECT_EQ(Run({"sections", file}).output, "JPG Export\n");
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(SetupCommand, TheModuleReadsWhatIsSet) {
    Run({"set", file, "--section", "Web", "quality=61", "colour-mode=grey-inverted", "dpi=150x75",
         "size=6.67x5in", "colour=grey"});
    const host::FilterModule module(KOWEN_MODULE);
    const host::Setup setup(module, file, "Web");
    EXPECT_EQ(setup.Get(KOWEN_ESCAPE_GET_QUALITY), 61);
    EXPECT_EQ(setup.Get(KOWEN_ESCAPE_GET_COLOR_MODE), 105);
    int32_t resolution[2] = {};
    module.escapeSetup(setup.Handle(), KOWEN_ESCAPE_GET_RESOLUTION, 0, nullptr, resolution, 0);
    EXPECT_EQ(resolution[0], 150);
    EXPECT_EQ(resolution[1], 75);
    double size[2] = {};
    module.escapeSetup(setup.Handle(), KOWEN_ESCAPE_GET_SIZE, 0, nullptr, size, 0);
    EXPECT_DOUBLE_EQ(size[0], 6.67);
    EXPECT_DOUBLE_EQ(size[1], 5.0);
    // What has no getter.
    const host::ProfileText text(directory.Read("my.ini"));
    EXPECT_EQ(text.Value("Web", "Color Format"), "215");
    EXPECT_EQ(text.Value("Web", "Quality Mode"), "242");
    EXPECT_EQ(text.Value("Web", "Resolution Mode"), "310");
    EXPECT_EQ(text.Value("Web", "Size Mode"), "603");
    EXPECT_EQ(text.Value("Web", "Driver"), "KOWEN.1");
}

TEST_F(SetupCommand, SetKeepsWhatItDoesNotChange) {
    const std::string before = "; my settings\r\n[KOWEN]\r\n~Mode=Web\r\n\r\n[Web]\r\n"
                               "Driver=KOWEN.1\r\nQuality Mode=242 ; by hand\r\nQuality=40\r\n"
                               "Mine=yes\r\n\r\n[Other]\r\nQuality=9\r\n";
    directory.Write("my.ini", before);
    chmod(file.c_str(), 0640);
    Run({"set", file, "quality=80", "-q"});
    std::string after = before;
    after.replace(after.find("Quality=40"), 10, "Quality=80");
    EXPECT_EQ(directory.Read("my.ini"), after);
    struct stat status = {};
    stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST_F(SetupCommand, SetAddsASectionWithTheOrdinaryDefaults) {
    directory.Write("my.ini", "[A]\nDriver=KOWEN.1\n");
    Run({"set", file, "--section", "B", "quality=70"});
    EXPECT_NE(Run({"show", file, "--section", "B"}).output.find("colour=ycc422\n"),
              std::string::npos);
    // A section that leaves the colour format out has the module's default for that.
    EXPECT_NE(Run({"show", file, "--section", "A"}).output.find("colour=rgb444\n"),
              std::string::npos);
    EXPECT_EQ(Run({"sections", file}).output, "A\nB\n");
}

TEST_F(SetupCommand, SetMakesASectionCount) {
    directory.Write("my.ini", "[A]\nQuality Mode=242\nQuality=33\n");
    const ProgramResult refused = Run({"show", file, "--section", "A"}, 1);
    EXPECT_NE(refused.errors.find("Driver"), std::string::npos);
    Run({"set", file, "--section", "A", "colour=ycc422"});
    EXPECT_NE(Run({"show", file, "--section", "A"}).output.find("quality=33\n"), std::string::npos);
}

TEST_F(SetupCommand, SizesInPixelsNeedAResolution) {
    EXPECT_NE(Run({"set", file, "size=300x200"}, 2).errors.find("resolution"), std::string::npos);
    EXPECT_FALSE(directory.Has("my.ini"));
    EXPECT_NE(Run({"set", file, "size=300x200", "dpi=100"}).output.find("size=3x2in\n"),
              std::string::npos);
}

TEST_F(SetupCommand, RefusedValuesChangeNothing) {
    Run({"set", file, "quality=75"});
    const std::string before = directory.Read("my.ini");
    for (const char *assignment : {"quality=0", "quality", "colour=212", "bogus=1", "dpi=9"})
        Run({"set", file, "colour-mode=grey", assignment}, 2);
    Run({"set", file}, 2);
    EXPECT_EQ(directory.Read("my.ini"), before);
}

TEST_F(SetupCommand, AFullDiskKeepsTheOldProfile) {
    Run({"set", file, "quality=75"});
    std::string before = directory.Read("my.ini");
    before += "; " + std::string(5000, 'c') + "\n";
    directory.Write("my.ini", before);
    ProgramSetting setting;
    setting.beforeStart = [] {
        const rlimit limit = {4000, 4000};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    const ProgramResult result = RunKowen({"setup", "set", file, "quality=80"}, setting);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.errors.find("my.ini: File too large"), std::string::npos) << result.errors;
    EXPECT_EQ(directory.Read("my.ini"), before);
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(SetupCommand, NamesWhatIsMissing) {
    EXPECT_NE(Run({"show", file}, 1).errors.find("my.ini: No such file"), std::string::npos);
    directory.Write("my.ini", "[A]\nDriver=KOWEN.1\n[B]\nDriver=KOWEN.1\n");
    EXPECT_NE(Run({"show", file}, 1).errors.find("A, B"), std::string::npos);
    EXPECT_NE(Run({"show", file, "--section", "C"}, 1).errors.find("'C'"), std::string::npos);
}

TEST_F(SetupCommand, ReportsAsJson) {
    Run({"set", file, "quality=75"});
    const nlohmann::json report = nlohmann::json::parse(Run({"show", file, "--json"}).output);
    EXPECT_EQ(report["section"], "JPG Export");
    EXPECT_EQ(report["quality"], "75");
    EXPECT_EQ(nlohmann::json::parse(Run({"sections", file, "--json"}).output)[0], "JPG Export");
}

class ProfileExport : public SetupCommand {
protected:
    ProfileExport() { picture = directory.Write("in.ppm", Ppm(MakeSoftPicture(80, 60))); }

    DecodedJpeg Export(std::vector<std::string> options, const ProgramSetting &setting = {}) {
        options.insert(options.begin(), {"export", picture, directory.File("out.jpg"), "-q"});
        const ProgramResult result = RunKowen(options, setting);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return DecodeJpeg(ReadJpegFile(directory.File("out.jpg")));
    }

    std::string picture;
};

TEST_F(ProfileExport, StartsFromTheProfile) {
    Run({"set", file, "operation=progressive", "dpi=200", "colour-mode=inverted"});
    DecodedJpeg jpeg = Export({"--profile", file});
    EXPECT_TRUE(jpeg.Clean());
    EXPECT_TRUE(jpeg.progressive);
    EXPECT_EQ(jpeg.xDensity, 200);
    EXPECT_NEAR(jpeg.At(0, 0)[0], 215, 8);
    jpeg = Export({"--profile", file, "--sequential", "--dpi", "picture"});
    EXPECT_FALSE(jpeg.progressive);
    EXPECT_EQ(jpeg.xDensity, 96);
    EXPECT_NEAR(jpeg.At(0, 0)[0], 215, 8);
}

TEST_F(ProfileExport, LeavesTheProfileAloneWithoutSave) {
    Run({"set", file, "quality=75"});
    const std::string before = directory.Read("my.ini");
    Export({"--profile", file, "--quality", "50", "--progressive"});
    EXPECT_EQ(directory.Read("my.ini"), before);
}

TEST_F(ProfileExport, SaveKeepsTheChoices) {
    Export({"--profile", file, "--section", "Web", "--save", "--quality", "50", "--progressive",
            "--size", "3x2in", "--dpi", "picture"});
    EXPECT_EQ(Run({"show", file}).output,
              "[Web]\ncolour=ycc422\ncolour-mode=unchanged\nquality=50\noperation=progressive\n"
              "size=3x2in\ndpi=from-picture\nline-mode=default\n");
    EXPECT_TRUE(Export({"--profile", file}).progressive);
}

TEST_F(ProfileExport, NothingIsSavedAfterAFailure) {
    const ProgramResult result =
        RunKowen({"export", picture, "/dev/full", "--profile", file, "--save", "--quality", "50"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(directory.Has("my.ini"));
}

TEST_F(ProfileExport, FindsTheModulesOwnProfileAsTheModuleDoes) {
    std::filesystem::create_directory(directory.File("settings"));
    Run({"set", directory.File("settings/kowen.ini"), "operation=progressive"});
    ProgramSetting here;
    here.directory = directory.File("settings");
    EXPECT_TRUE(Export({}, here).progressive);
    ProgramSetting named;
    named.directory = directory.Path();
    EXPECT_FALSE(Export({}, named).progressive);
    named.beforeStart = [path = directory.File("settings")] { setenv("INIDIR", path.c_str(), 1); };
    EXPECT_TRUE(Export({}, named).progressive);
}

TEST_F(ProfileExport, RefusesProfilesThatGiveNoPicture) {
    const struct {
        const char *lines;
        const char *reason;
    } cases[] = {{"Operation=7\n", "operation"},
                 {"Color Format=213\n", "colour format"},
                 {"Operation=246\n", "ycc422"}}; // the default for a missing format is rgb444
    for (const auto &test : cases) {
        directory.Write("my.ini", std::string("[A]\nDriver=KOWEN.1\n") + test.lines);
        const ProgramResult result = RunKowen(
            {"export", picture, directory.File("out.jpg"), "--profile", file, "--section", "A"});
        EXPECT_NE(result.exitCode, 0);
        EXPECT_NE(result.errors.find(test.reason), std::string::npos) << result.errors;
        EXPECT_FALSE(directory.Has("out.jpg"));
    }
    const ProgramResult missing =
        RunKowen({"export", picture, directory.File("out.jpg"), "--profile", "/no/such.ini"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.errors.find("/no/such.ini: No such file"), std::string::npos);
}

} // namespace
} // namespace kowen::test
