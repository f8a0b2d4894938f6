// kowen setup and the profiles of kowen export.
#include "tools/export_fixture.h"

#include <nlohmann/json.hpp>

namespace kowen::test {
namespace {

class SetupCommand : public ExportFixture {
protected:
    ProgramResult RunSetup(std::vector<std::string> arguments, int expected = 0) {
        arguments.insert(arguments.begin(), "setup");
        Kowen(arguments);
        EXPECT_EQ(result.exitCode, expected) << result.errors;
        return result;
    }
};

TEST_F(SetupCommand, SetMakesAProfile) {
    const std::string expected = "[JPG Export]\nquality=75\nprogressive=yes\ncolour=ycc422\n"
                                 "colour-mode=unchanged\nsize=picture\ndpi=picture\n";
    EXPECT_EQ(RunSetup({"set", "my.ini", "quality=75", "progressive=yes"}).output, expected);
    EXPECT_EQ(RunSetup({"show", "my.ini"}).output, expected);
    EXPECT_EQ(RunSetup({"sections", "my.ini"}).output, "JPG Export\n");
    EXPECT_EQ(Listing(), "my.ini");
}

TEST_F(SetupCommand, RefusedValuesChangeNothing) {
    RunSetup({"set", "my.ini", "quality=75", "-q"});
    const std::string before = directory.Read("my.ini");
    for (const char *assignment :
         {"quality=0", "quality=44", "quality", "colour=212", "bogus=1", "dpi=many", "icc=drop"})
        RunSetup({"set", "my.ini", "colour-mode=grey", assignment}, 2);
    RunSetup({"set", "my.ini"}, 2);
    EXPECT_EQ(RunSetup({"set", "my.ini", "max-bytes=9k"}, 2).errors,
              "kowen: a profile cannot keep 'max-bytes'; it keeps quality, progressive, colour, "
              "colour-mode, size, dpi\n");
    EXPECT_EQ(directory.Read("my.ini"), before);
}

TEST_F(SetupCommand, FilesThatAreNoProfilesAreRefused) {
    const std::string picture = directory.Read("a.ppm") + Ppm(MakeSoftPicture(9, 9));
    for (const std::string &content : {std::string("Dear Sir,\n"), picture}) {
        directory.Write("my.ini", content);
        for (const std::vector<std::string> &words : {std::vector<std::string>{"show", "my.ini"},
                                                      {"sections", "my.ini"},
                                                      {"set", "my.ini", "quality=80"}}) {
            EXPECT_TRUE(Has(RunSetup(words, 1).errors, "my.ini: this is no settings profile"));
            EXPECT_EQ(directory.Read("my.ini"), content);
        }
    }
    EXPECT_TRUE(Has(RunSetup({"show", "no.ini"}, 1).errors, "no.ini: No such file"));
}

TEST_F(SetupCommand, NamesTheSectionsThatThereAre) {
    directory.Write("my.ini", "[A]\nDriver=KOWEN.1\n[B]\nDriver=KOWEN.1\n");
    EXPECT_TRUE(Has(RunSetup({"show", "my.ini"}, 1).errors, "A, B"));
    EXPECT_TRUE(Has(RunSetup({"show", "my.ini", "--section", "C"}, 1).errors, "'C'"));
}

TEST_F(SetupCommand, ReportsAsJsonWithNumbers) {
    RunSetup({"set", "my.ini", "quality=75", "dpi=300"});
    const auto report = nlohmann::json::parse(RunSetup({"show", "my.ini", "--json"}).output);
    EXPECT_EQ(report["section"], "JPG Export");
    EXPECT_EQ(report["quality"], 75);
    EXPECT_EQ(report["dpi"], 300);
    EXPECT_EQ(report["progressive"], false);
    EXPECT_EQ(nlohmann::json::parse(RunSetup({"sections", "my.ini", "--json"}).output)[0],
              "JPG Export");
}

class ProfileExport : public SetupCommand {
protected:
    ProfileExport() { directory.Write("in.ppm", Ppm(MakeSoftPicture(80, 60))); }

    DecodedJpeg Made(std::vector<std::string> options, ProgramSetting setting = {}) {
        options.insert(options.begin(),
                       {directory.File("in.ppm"), "-o", directory.File("out.jpg"), "-q"});
        Export(options, setting);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return DecodeFile("out.jpg");
    }
};

TEST_F(ProfileExport, StartsFromTheProfile) {
    RunSetup({"set", "my.ini", "progressive=yes", "dpi=200", "colour-mode=inverted"});
    DecodedJpeg jpeg = Made({"--profile", "my.ini"});
    EXPECT_TRUE(jpeg.Clean());
    EXPECT_TRUE(jpeg.progressive);
    EXPECT_EQ(jpeg.xDensity, 200);
    EXPECT_NEAR(jpeg.At(0, 0)[0], 215, 8);
    jpeg = Made({"--profile", "my.ini", "--sequential", "--dpi", "picture"});
    EXPECT_FALSE(jpeg.progressive);
    EXPECT_EQ(jpeg.xDensity, 96);
    EXPECT_NEAR(jpeg.At(0, 0)[0], 215, 8);
}

TEST_F(ProfileExport, LeavesTheProfileAloneWithoutSave) {
    RunSetup({"set", "my.ini", "quality=75"});
    const std::string before = directory.Read("my.ini");
    Made({"--profile", "my.ini", "--quality", "50", "--progressive"});
    EXPECT_EQ(directory.Read("my.ini"), before);
    Made({"--profile", "my.ini", "--quality", "50", "--save"});
    EXPECT_TRUE(Has(RunSetup({"show", "my.ini"}).output, "quality=50\n"));
}

TEST_F(ProfileExport, NothingIsSavedAfterAFailure) {
    Export({"in.ppm", "-o", "/dev/full", "--profile", "my.ini", "--save", "--quality", "50"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_FALSE(directory.Has("my.ini"));
}

TEST_F(ProfileExport, FindsTheModulesOwnProfileAsTheModuleDoes) {
    std::filesystem::create_directory(directory.File("settings"));
    RunSetup({"set", "settings/kowen.ini", "progressive=yes"});
    ProgramSetting here;
    here.directory = directory.File("settings");
    EXPECT_TRUE(Made({}, here).progressive);
    EXPECT_FALSE(Made({}).progressive);
    ProgramSetting named;
    named.beforeStart = [path = directory.File("settings")] { setenv("INIDIR", path.c_str(), 1); };
    EXPECT_TRUE(Made({}, named).progressive);
}

TEST_F(ProfileExport, TheSampleIsOne) {
    Kowen({"setup", "show", KOWEN_SAMPLE_PROFILE});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(Made({"--profile", KOWEN_SAMPLE_PROFILE, "--section", "web"}).Clean());
}

TEST_F(SetupCommand, PapersHaveTheirNames) {
    Kowen({"setup", "set", "my.ini", "size=A4"});
    EXPECT_TRUE(Has(result.output, "\nsize=A4\n")) << result.output;
    Kowen({"setup", "set", "my.ini", "size=6x4in"});
    EXPECT_TRUE(Has(result.output, "\nsize=6x4in\n")) << result.output;
}

} // namespace
} // namespace kowen::test
