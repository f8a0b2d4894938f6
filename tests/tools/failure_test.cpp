// What goes wrong is named, ends with the right status, and loses nothing.
#include "tools/export_fixture.h"

#include <algorithm>
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
    Export({"in.ppm", "no.ppm", "--module", "no.so"});
    ExpectFailure("no.so", "No such file or directory");
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << "told once";
    EXPECT_EQ(Listing(), "in.ppm text.so");
}

// Pictures lie in folders of other people's as well.
TEST_F(ExportFailure, LibrariesInTheFolderAreNotLoaded) {
#ifdef KOWEN_BUILT_FOR_PACKAGES
    GTEST_SKIP() << "the program has another search path than the one that is installed";
#endif
    for (const char *name : {"libc.so.6", "libjpeg.so.62", "libkowenhost.so.0", "liblcms2.so.2",
                             "libpng16.so.16", "libstdc++.so.6", "libz.so.1", "libzimg.so.2"})
        directory.Write(name, "no library");
    Export({"in.ppm"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(std::filesystem::exists(directory.File("in.jpg")));
}

TEST_F(ExportFailure, FullDiskKeepsTheOldFile) {
    Export({"in.ppm", "out.jpg", "-q"});
    const std::string before = directory.Read("out.jpg");
    Export({"in.ppm", "-o", "out.jpg"}, LimitedFiles(1500));
    ExpectFailure("out.jpg", "File too large");
    EXPECT_EQ(directory.Read("out.jpg"), before);
    Export({"in.ppm", "new.jpg"}, LimitedFiles(1500));
    ExpectFailure("new.jpg", "File too large");
    Export({"in.ppm", "no.ppm", "-j", "2"}, LimitedFiles(1500));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(Listing(), "in.ppm out.jpg");
}

TEST_F(ExportFailure, FullDevice) {
    Export({"in.ppm", "-o", "/dev/full"});
    ExpectFailure("/dev/full", "No space left on device");
    ProgramSetting setting;
    setting.outputFile = "/dev/full";
    Export({"in.ppm", "-"}, setting);
    ExpectFailure("standard output: ", "No space left on device");
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"export", "in.ppm", "-o", "out.jpg", "--json"},
          {"help"},
          {"export", "--help"},
          {"--version"},
          {"info"},
          {"estimate", "in.ppm"}}) {
        Kowen(words, setting);
        ExpectFailure("standard output: ", "No space left on device");
    }
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

// As other programs at the end of a pipe do: nothing is said.
TEST_F(ExportFailure, AReaderThatHasGoneEndsItQuietly) {
    ProgramSetting setting;
    setting.beforeStart = [] {
        int ends[2];
        if (pipe(ends) == 0)
            dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
    };
    for (const std::vector<std::string> &words : {std::vector<std::string>{"export", "in.ppm", "-"},
                                                  {"export", "in.ppm", "-o", "out.jpg"},
                                                  {"export", "in.ppm", "no.ppm", "--force"},
                                                  {"help"}}) {
        Kowen(words, setting);
        EXPECT_EQ(result.exitCode, 128 + SIGPIPE);
        EXPECT_EQ(result.errors, "");
    }
    EXPECT_TRUE(DecodeFile("out.jpg").Clean());
}

TEST_F(ExportFailure, PlacesThatCannotBeWritten) {
    Export({"in.ppm", "-o", "no/out.jpg"});
    ExpectFailure("no/out.jpg: there is no folder no", "--to");
    Export({"in.ppm", "in.ppm/out.jpg"});
    ExpectFailure("in.ppm/out.jpg: in.ppm is no folder", "");
    Export({"in.ppm", "--to", "in.ppm"});
    ExpectFailure("--to in.ppm", "");
    EXPECT_EQ(Listing(), "in.ppm");
}

TEST_F(ExportFailure, AFolderThatIsNotTheUsers) {
    std::filesystem::create_directory(directory.File("locked"));
    ProgramSetting setting;
    if (IsRoot()) {
        constexpr uid_t kNobody = 65534;
        chmod(directory.Path().c_str(), 0755);
        setting.beforeStart = [] {
            if (setuid(kNobody) != 0 || access(KOWEN_PROGRAM, X_OK) != 0)
                _exit(96);
        };
    }
    chmod(directory.File("locked").c_str(), 0555);
    Export({"in.ppm", "--to", "locked"}, setting);
    if (result.exitCode == 96)
        GTEST_SKIP() << "another user cannot run the program here";
    ExpectFailure("locked/in.jpg", "Permission denied");
    EXPECT_EQ(Listing("locked"), "");
    chmod(directory.File("locked").c_str(), 0700);
}

// A name that promises another format; devices and pipes have names of their own.
TEST_F(ExportFailure, OutputsHaveNamesOfJpegs) {
    for (const char *name : {"out.png", "out", "out.jpg.bak"}) {
        Export({"in.ppm", "-o", name});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(Has(result.errors, "the file would be a JPEG all the same; name it out.jp"))
            << result.errors;
    }
    EXPECT_EQ(Listing(), "in.ppm");
    for (const char *name : {"a.JPG", "a.jpeg", "a.jpe", "a.jfif", "/dev/null"})
        EXPECT_EQ(Export({"in.ppm", "-o", name}).exitCode, 0) << name << result.errors;
    EXPECT_EQ(Export({"in.ppm", "-o", "out.png", "--force"}).exitCode, 0) << result.errors;
    EXPECT_TRUE(DecodeFile("out.png").Clean());
}

// Told once, whatever the number of pictures, before anything is made.
TEST_F(ExportFailure, WrongValuesAreToldBeforeAnyPictureIsRead) {
    const std::vector<std::vector<std::string>> wrong = {
        {"--quality", "20"},
        {"--colour", "rgb444"},
        {"--progressive", "--colour", "grey"},
        {"--as-filter", "--dpi", "600"},
        {"--shrink-only"},
        {"--page", "9x9cm"},
        {"--profile", "p.ini", "--save", "--size", "640x480px"},
        {"--profile", "p.ini", "--save", "--exif", "drop"}};
    for (std::vector<std::string> words : wrong) {
        const std::string what = testing::PrintToString(words);
        words.insert(words.end(), {"in.ppm", "no.ppm", "--to", "made"});
        Export(words);
        EXPECT_EQ(result.exitCode, 2) << what;
        EXPECT_EQ(result.output, "") << what;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        EXPECT_EQ(Listing(), "in.ppm") << what;
    }
}

// Of settings it speaks as of the options that were given.
TEST_F(ExportFailure, SaysWhatToGive) {
    const auto said = [this](std::vector<std::string> words) {
        words.insert(words.begin(), "in.ppm");
        Export(words);
        return result.errors;
    };
    EXPECT_EQ(said({"--colour", "rgb444"}),
              "kowen: files of the colour format rgb444 show false colours in other programs: give "
              "--colour ycc422 or grey, or --as-filter\n");
    EXPECT_EQ(said({"--progressive", "--colour", "grey"}),
              "kowen: progressive files are made of the colour format ycc422 only: give "
              "--sequential, or --colour ycc422\n");
    EXPECT_TRUE(said({"--colour", "quality"})
                    .starts_with("kowen: --colour: the colour format is "
                                 "ycc422, grey or rgb444, not "
                                 "'quality'\n"))
        << result.errors;
    EXPECT_TRUE(said({"--page", "A4", "--size", "page"})
                    .starts_with("kowen: --page: a page is WxH@DPI, such as 21x29.7cm@150, not "
                                 "'A4'\n"))
        << result.errors;
    Kowen({"setup", "set", "p.ini", "colour=rgb444"});
    EXPECT_TRUE(Has(result.errors, "set 'colour' to ycc422 or grey")) << result.errors;
}

TEST_F(ExportFailure, NamesThePicture) {
    directory.Write("wide.ppm", "P6\n70000 2\n255\n" + std::string(420000, 'x'));
    Export({"wide.ppm", "--to", "made"});
    EXPECT_TRUE(result.errors.starts_with("kowen: wide.ppm: the picture has 70000 x 2 pixels"))
        << result.errors;
    Kowen({"estimate", "wide.ppm"});
    EXPECT_TRUE(result.errors.starts_with("kowen: wide.ppm: ")) << result.errors;
    Export({"in.ppm", "-o", "out.jpg", "--quality", "45"});
    const size_t smallest = std::filesystem::file_size(directory.File("out.jpg"));
    Export({"in.ppm", "-o", "out.jpg", "--max-bytes", "300"});
    EXPECT_EQ(result.errors, "kowen: in.ppm: no quality gives a file of at most 300 bytes: the "
                             "smallest, at quality 45, has " +
                                 std::to_string(smallest) +
                                 "; allow more, or make the picture smaller with --resize\n");
    directory.Write("in.jpg", "Dear Sir,\n");
    Export({"in.ppm", "--force"});
    EXPECT_EQ(result.errors, "kowen: in.ppm: in.jpg: there is a file of that name that is no JPEG "
                             "and stays; delete it, or choose another name for the JPEG\n");
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
        {"in.ppm", "--progressive", "--sequential"},
        {"in.ppm", "--force", "--update"},
        {""},
        {"in.ppm", "--section", "A"},
        {"in.ppm", "--progressive", "--colour", "grey"},
        {"in.ppm", "-o", "a.jpg", "--to", "b"},
        {"-r", ".", "-o", "a.jpg"},
        {"in.ppm", "--resize", "65536x"},
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
