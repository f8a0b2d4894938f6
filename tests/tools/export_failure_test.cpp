#include "support/jpeg_decode.h"
#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sys/stat.h>

namespace kowen::test {
namespace {

namespace fs = std::filesystem;

class ExportFailure : public testing::Test {
protected:
    ExportFailure() {
        picture = directory.Write("in.ppm", Ppm(MakeSoftPicture(200, 150)));
        output = directory.File("out.jpg");
    }

    ProgramResult Run(const std::string &from, const std::string &to,
                      std::vector<std::string> options = {}, ProgramSetting setting = {}) {
        options.insert(options.begin(), {"export", from, to});
        const auto before = setting.beforeStart;
        const std::string path = directory.Path();
        setting.beforeStart = [before, path] {
            setenv("TMPDIR", path.c_str(), 1);
            if (before)
                before();
        };
        return RunKowen(options, setting);
    }

    // What is in the directory, in order.
    std::string Listing() const {
        std::set<std::string> names;
        for (const auto &entry : fs::directory_iterator(directory.Path()))
            names.insert(entry.path().filename().string());
        std::string list;
        for (const std::string &name : names)
            list += (list.empty() ? "" : " ") + name;
        return list;
    }

    static void ExpectMessage(const ProgramResult &result, const std::string &file,
                              const std::string &reason) {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors.find("kowen: "), std::string::npos) << result.errors;
        EXPECT_NE(result.errors.find(file), std::string::npos) << result.errors;
        EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
    }

    const TempDirectory directory;
    std::string picture;
    std::string output;
};

TEST_F(ExportFailure, MissingPicture) {
    ExpectMessage(Run(directory.File("no.png"), output), "no.png", "No such file or directory");
    EXPECT_EQ(Listing(), "in.ppm");
}

TEST_F(ExportFailure, NotAPicture) {
    directory.Write("letter.txt", "Dear Sir,\n");
    ExpectMessage(Run(directory.File("letter.txt"), output), "letter.txt", "not a picture");
    directory.Write("empty.png", "");
    ExpectMessage(Run(directory.File("empty.png"), output), "empty.png", "empty");
    directory.Write("bad.png", std::string("\x89PNG\r\n\x1a\nrubbish", 15));
    ExpectMessage(Run(directory.File("bad.png"), output), "bad.png", ": ");
    ExpectMessage(Run(directory.Path(), output), directory.Path(), "Is a directory");
    EXPECT_EQ(Listing(), "bad.png empty.png in.ppm letter.txt");
}

TEST_F(ExportFailure, ScriptsOfThePictureLibraryAreNotRun) {
    directory.Write("script.mvg", "push graphic-context\nviewbox 0 0 9 9\nimage over 0,0 9,9 '" +
                                      picture + "'\npop graphic-context\n");
    ExpectMessage(Run(directory.File("script.mvg"), output), "script.mvg", "not a picture");
    const ProgramResult result = Run("ppm:" + picture, output);
    ExpectMessage(result, "ppm:", "No such file");
}

TEST_F(ExportFailure, MissingModule) {
    ExpectMessage(Run(picture, output, {"--module", directory.File("no.so")}), "no.so",
                  "No such file or directory");
    directory.Write("text.so", "text");
    ExpectMessage(Run(picture, output, {"--module", directory.File("text.so")}), "text.so",
                  "cannot load");
    EXPECT_EQ(Listing(), "in.ppm text.so");
}

TEST_F(ExportFailure, FullDiskKeepsTheOldFile) {
    for (const char *way : {"file", "memory", "callback"}) {
        for (const bool existing : {false, true}) {
            fs::remove(output);
            if (existing)
                directory.Write("out.jpg", "precious");
            ProgramSetting setting;
            setting.beforeStart = [] {
                const rlimit limit = {1500, 1500};
                setrlimit(RLIMIT_FSIZE, &limit);
                std::signal(SIGXFSZ, SIG_IGN);
            };
            const ProgramResult result = Run(picture, output, {"--output-to", way}, setting);
            ExpectMessage(result, "out.jpg", "File too large");
            EXPECT_EQ(directory.Read("out.jpg"), existing ? "precious" : "");
            EXPECT_EQ(Listing(), existing ? "in.ppm out.jpg" : "in.ppm");
        }
    }
}

TEST_F(ExportFailure, TheSignalOfAFullFileDoesNotEndTheProgram) {
    ProgramSetting setting;
    setting.beforeStart = [] {
        const rlimit limit = {1500, 1500};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_DFL);
    };
    ExpectMessage(Run(picture, output, {}, setting), "out.jpg", "File too large");
    EXPECT_EQ(Listing(), "in.ppm");
}

TEST_F(ExportFailure, FullDevice) {
    for (const char *way : {"file", "memory", "callback"})
        ExpectMessage(Run(picture, "/dev/full", {"--output-to", way}), "/dev/full",
                      "No space left on device");
    ProgramSetting setting;
    setting.outputFile = "/dev/full";
    ExpectMessage(Run(picture, "-", {}, setting), "standard output", "No space left on device");
    ExpectMessage(Run(picture, output, {"--json"}, setting), "standard output", "No space");
}

TEST_F(ExportFailure, ClosedPipe) {
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    directory.Write("large.ppm", Ppm(MakePicture(400, 400, [](int x, int y) {
                        return Rgb{static_cast<uint8_t>(x * y), static_cast<uint8_t>(x ^ y),
                                   static_cast<uint8_t>(x * 7 + y * 13)};
                    })));
    Program program({"export", directory.File("large.ppm"), pipe, "-q"});
    close(open(pipe.c_str(), O_RDONLY));
    const ProgramResult result = program.Wait();
    ExpectMessage(result, "pipe", "Broken pipe");
}

TEST_F(ExportFailure, TargetThatCannotBeWritten) {
    ExpectMessage(Run(picture, directory.Path()), directory.Path(), "Is a directory");
    ExpectMessage(Run(picture, directory.File("no/out.jpg")), "out.jpg", "No such file");
    ExpectMessage(Run(picture, picture + "/out.jpg"), "out.jpg", "Not a directory");
}

TEST_F(ExportFailure, ReadOnlyDirectory) {
    if (IsRoot())
        GTEST_SKIP() << "root may write everywhere";
    fs::create_directory(directory.File("locked"));
    directory.Write("locked/out.jpg", "precious");
    chmod(directory.File("locked").c_str(), 0500);
    ExpectMessage(Run(picture, directory.File("locked/out.jpg")), "locked", "Permission denied");
    ExpectMessage(Run(picture, directory.File("locked/new.jpg")), "locked", "Permission denied");
    chmod(directory.File("locked").c_str(), 0700);
    EXPECT_EQ(directory.Read("locked/out.jpg"), "precious");
    EXPECT_FALSE(directory.Has("locked/new.jpg"));
}

TEST_F(ExportFailure, PrivateProfileThatCannotBeWritten) {
    ProgramSetting setting;
    setting.beforeStart = [] {
        const rlimit limit = {0, 0};
        setrlimit(RLIMIT_FSIZE, &limit);
    };
    ExpectMessage(Run(picture, output, {}, setting), "setup.ini", "File too large");
    EXPECT_EQ(Listing(), "in.ppm");
}

TEST_F(ExportFailure, SymbolicLinksAndPermissionsSurvive) {
    directory.Write("real.jpg", "old");
    chmod(directory.File("real.jpg").c_str(), 0640);
    fs::create_symlink("real.jpg", output);
    EXPECT_EQ(Run(picture, output).exitCode, 0);
    EXPECT_TRUE(fs::is_symlink(output));
    EXPECT_TRUE(DecodeJpeg(ReadJpegFile(directory.File("real.jpg"))).Clean());
    struct stat status = {};
    stat(directory.File("real.jpg").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_EQ(Listing(), "in.ppm out.jpg real.jpg");
}

TEST_F(ExportFailure, UsageEndsWithTwo) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--quality", "0"},
        {"--quality", "101"},
        {"--colour", "cmyk"},
        {"--colour-mode", "sepia"},
        {"--size", "0x0"},
        {"--size", "30x30in"},
        {"--dpi", "31"},
        {"--dpi", "401"},
        {"--depth", "16"},
        {"--output-to", "tape"},
        {"--door", "back"},
        {"--door", "raster", "--output-to", "memory"},
        {"--door", "raster", "--size", "3000x3000px"},
        {"--page", "9"},
        {"--bogus"},
        {"--save"},
        {"--section", "A"},
        {"--progressive", "--colour", "grey"},
        {"--progressive", "--colour", "rgb444"}};
    ProgramSetting setting;
    setting.directory = directory.Path();
    for (const auto &options : wrong) {
        const ProgramResult result = Run(picture, output, options, setting);
        EXPECT_EQ(result.exitCode, 2) << options[0] << options.back();
        EXPECT_NE(result.errors.find("kowen: "), std::string::npos) << result.errors;
    }
    EXPECT_EQ(RunKowen({}).exitCode, 2);
    EXPECT_EQ(RunKowen({"export"}).exitCode, 2);
    EXPECT_EQ(RunKowen({"export", picture}).exitCode, 2);
    EXPECT_EQ(RunKowen({"import"}).exitCode, 2);
    EXPECT_EQ(RunKowen({"export", picture, "-", "--json"}).exitCode, 2);
    EXPECT_EQ(Listing(), "in.ppm");
}

} // namespace
} // namespace kowen::test
