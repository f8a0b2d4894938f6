// What goes wrong is named, ends with the right status, and loses nothing.
#include "tools/export_fixture.h"

#include <sys/stat.h>

namespace kowen::test {
namespace {

class ExportFailure : public ExportFixture {
protected:
    ExportFailure() { WritePicture("in.ppm", 200, 150); }

    void ExpectFailure(const std::string &subject, const std::string &reason) {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_TRUE(result.errors.starts_with("kowen: ")) << result.errors;
        EXPECT_TRUE(Has(result.errors, subject)) << result.errors;
        EXPECT_TRUE(Has(result.errors, reason)) << result.errors;
    }

    static ProgramSetting LimitedFiles(rlim_t bytes) {
        ProgramSetting setting;
        setting.beforeStart = [bytes] {
            const rlimit limit = {bytes, bytes};
            setrlimit(RLIMIT_FSIZE, &limit);
            std::signal(SIGXFSZ, SIG_DFL);
        };
        return setting;
    }
};

TEST_F(ExportFailure, MissingOrNoPicture) {
    Export({"no.png"});
    ExpectFailure("no.png", "No such file or directory");
    directory.Write("letter.txt", "Dear Sir,\n");
    Export({"letter.txt"});
    ExpectFailure("letter.txt", "not a picture");
    directory.Write("empty.png", "");
    Export({"empty.png"});
    ExpectFailure("empty.png", "empty");
    directory.Write("bad.png", std::string("\x89PNG\r\n\x1a\nrubbish", 15));
    Export({"bad.png"});
    ExpectFailure("bad.png", "not a whole PNG");
    EXPECT_EQ(Listing(), "bad.png empty.png in.ppm letter.txt");
}

TEST_F(ExportFailure, MissingModule) {
    Export({"in.ppm", "--module", "no.so"});
    ExpectFailure("no.so", "No such file or directory");
    directory.Write("text.so", "text");
    Export({"in.ppm", "--module", directory.File("text.so")});
    ExpectFailure("text.so", "");
    Export({"in.ppm", "in.ppm", "--module", "no.so"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Has(result.output, "2 pictures: 0 exported, 2 failed")) << result.output;
    EXPECT_EQ(Listing(), "in.ppm text.so");
}

TEST_F(ExportFailure, FullDiskKeepsTheOldFile) {
    Export({"in.ppm", "out.jpg", "-q"});
    const std::string before = directory.Read("out.jpg");
    Export({"in.ppm", "-o", "out.jpg"}, LimitedFiles(1500));
    ExpectFailure("out.jpg", "File too large");
    EXPECT_EQ(directory.Read("out.jpg"), before);
    Export({"in.ppm", "new.jpg"}, LimitedFiles(1500));
    ExpectFailure("new.jpg", "File too large");
    Export({"in.ppm", "in.ppm", "-j", "2"}, LimitedFiles(1500));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(Listing(), "in.ppm out.jpg");
}

TEST_F(ExportFailure, FullDevice) {
    Export({"in.ppm", "-o", "/dev/full"});
    ExpectFailure("/dev/full", "No space left on device");
    ProgramSetting setting;
    setting.outputFile = "/dev/full";
    Export({"in.ppm", "-"}, setting);
    ExpectFailure("", "No space left on device");
    Export({"in.ppm", "-o", "out.jpg", "--json"}, setting);
    ExpectFailure("standard output", "No space left on device");
}

TEST_F(ExportFailure, ClosedPipe) {
    ASSERT_EQ(mkfifo(directory.File("pipe").c_str(), 0600), 0);
    directory.Write("large.ppm", Ppm(MakePicture(400, 400, [](int x, int y) {
                        return Rgb{static_cast<uint8_t>(x * y), static_cast<uint8_t>(x ^ y),
                                   static_cast<uint8_t>(x * 7 + y * 13)};
                    })));
    Program program({"export", directory.File("large.ppm"), "-o", directory.File("pipe"), "-q"});
    close(open(directory.File("pipe").c_str(), O_RDONLY));
    result = program.Wait();
    ExpectFailure("pipe", "Broken pipe");
}

TEST_F(ExportFailure, PlacesThatCannotBeWritten) {
    Export({"in.ppm", "no/out.jpg"});
    ExpectFailure("out.jpg", "No such file");
    Export({"in.ppm", "in.ppm/out.jpg"});
    ExpectFailure("out.jpg", "Not a directory");
    Export({"in.ppm", "--to", "in.ppm"});
    ExpectFailure("--to in.ppm", "");
    if (IsRoot())
        GTEST_SKIP() << "root may write everywhere";
    std::filesystem::create_directory(directory.File("locked"));
    chmod(directory.File("locked").c_str(), 0500);
    Export({"in.ppm", "--to", "locked"});
    ExpectFailure("locked", "Permission denied");
    chmod(directory.File("locked").c_str(), 0700);
}

TEST_F(ExportFailure, WrongUsageEndsWithTwo) {
    const std::vector<std::vector<std::string>> wrong = {
        {"in.ppm", "--quality", "44"},
        {"in.ppm", "--quality", "101"},
        {"in.ppm", "--colour", "cmyk"},
        {"in.ppm", "--colour-mode", "sepia"},
        {"in.ppm", "--size", "0x0"},
        {"in.ppm", "--max-bytes", "few"},
        {"in.ppm", "--background", "white-ish"},
        {"in.ppm", "--resize", "0x"},
        {"in.ppm", "--resize", "big"},
        {"in.ppm", "--resize", "-5%"},
        {"in.ppm", "--jobs", "0"},
        {"in.ppm", "--save"},
        {"in.ppm", "--section", "A"},
        {"in.ppm", "--progressive", "--colour", "grey"},
        {"in.ppm", "-o", "a.jpg", "--to", "b"},
        {"in.ppm", "in.ppm", "-o", "a.jpg"},
        {"-"},
        {"in.ppm", "-", "--json"},
        {}};
    for (const auto &options : wrong) {
        Export(options);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(options);
        EXPECT_TRUE(result.errors.starts_with("kowen: ")) << result.errors;
    }
    EXPECT_EQ(Listing(), "in.ppm");
}

} // namespace
} // namespace kowen::test
