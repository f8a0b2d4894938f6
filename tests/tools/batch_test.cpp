// Many pictures at once: which files are made, which are kept, what is counted.
#include "tools/export_fixture.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <sstream>
#include <sys/stat.h>

namespace kowen::test {
namespace {

namespace fs = std::filesystem;

class Batch : public ExportFixture {};

TEST_F(Batch, FilesLieBesideTheirPictures) {
    fs::create_directory(directory.File("sub"));
    WritePicture("a.ppm");
    WritePicture("sub/b.c.ppm", 30, 20);
    Export({"a.ppm", "sub/b.c.ppm"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(Listing(), "a.jpg a.ppm sub");
    EXPECT_EQ(Listing("sub"), "b.c.jpg b.c.ppm");
    EXPECT_EQ(DecodeFile("sub/b.c.jpg").width, 30);
    EXPECT_TRUE(Has(result.output, "2 pictures: 2 exported, 0 failed\n")) << result.output;
}

TEST_F(Batch, AFolderTakesThem) {
    WritePicture("a.ppm");
    WritePicture("b.ppm");
    Export({"a.ppm", "b.ppm", "--to", "new/deep"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(Listing("new/deep"), "a.jpg b.jpg");
    EXPECT_EQ(Listing(), "a.ppm b.ppm new");
}

TEST_F(Batch, FoldersKeepTheirShape) {
    fs::create_directories(directory.File("in/deep/er"));
    fs::create_directory(directory.File("in/.hidden"));
    WritePicture("in/a.ppm");
    WritePicture("in/deep/er/b.ppm");
    WritePicture("in/.hidden/c.ppm");
    directory.Write("in/letter.txt", "Dear Sir,\n");
    Export({"-r", "in", "--to", "in/out"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(Listing("in/out"), "a.jpg deep");
    EXPECT_EQ(Listing("in/out/deep/er"), "b.jpg");
    EXPECT_TRUE(Has(result.errors, "kowen: note: in: passed over 1 file of other kinds\n"))
        << result.errors;
    // What the first run made is not taken for pictures by the second.
    Export({"-r", "in", "--to", "in/out", "--force"});
    EXPECT_TRUE(Has(result.output, "2 pictures: 2 exported, 0 failed")) << result.output;
}

// a.jpg is what the first run made of a.ppm; b.jpg is a picture of its own.
TEST_F(Batch, WhatAnEarlierRunMadeIsNoPictureOfTheNext) {
    fs::create_directory(directory.File("in"));
    WritePicture("in/a.ppm");
    Export({"-r", "in"});
    EXPECT_EQ(Listing("in"), "a.jpg a.ppm");
    fs::copy(directory.File("in/a.jpg"), directory.File("in/b.jpg"));
    Export({"-r", "in"});
    EXPECT_TRUE(Has(result.errors, "in: passed over 2 JPEGs; with --to they are exported as well"))
        << result.errors;
    Export({"-r", "in", "--to", "out"});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(Has(result.errors, "in: passed over 1 JPEG beside pictures of their name\n"))
        << result.errors;
    EXPECT_EQ(Listing("out"), "a.jpg b.jpg");
    EXPECT_EQ(directory.Read("out/a.jpg"), directory.Read("in/a.jpg"));
}

// Half of each picture is red as no JPEG of this filter can be.
TEST_F(Batch, PalerColoursAreToldOnceForAll) {
    const auto half = [](int x, int) { return x < 8 ? Rgb{255, 0, 0} : Rgb{90, 90, 90}; };
    const auto corner = [](int x, int y) {
        return x < 2 && y == 0 ? Rgb{255, 0, 0} : Rgb{90, 90, 90};
    };
    for (const char *name : {"a.ppm", "b.ppm"})
        directory.Write(name, Ppm(MakePicture(16, 16, half)));
    directory.Write("c.ppm", Ppm(MakePicture(16, 16, corner))); // 2 of 256 pixels
    Export({"a.ppm", "b.ppm", "c.ppm"});
    EXPECT_EQ(result.errors, "kowen: note: colours of 2 pictures come out paler here and there: "
                             "they are more vivid than the filter can give\n");
    Export({"a.ppm", "-o", "a.jpg"});
    EXPECT_EQ(result.errors, "kowen: note: a.ppm: colours of 50 % of the pixels come out paler: "
                             "they are more vivid than the filter can give\n");
    Export({"c.ppm", "-o", "c.jpg", "--json"});
    EXPECT_EQ(nlohmann::json::parse(result.output)["clippedPercent"], 0.78);
    EXPECT_EQ(nlohmann::json::parse(result.output)["notes"].size(), 0U);
}

TEST_F(Batch, AFolderWithoutTheOptionIsAFailure) {
    fs::create_directory(directory.File("in"));
    WritePicture("a.ppm");
    Export({"in", "a.ppm"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "in: is a folder; -r ")) << result.errors;
    EXPECT_EQ(Listing(), "a.jpg a.ppm in");
}

TEST_F(Batch, OneFailedPictureDoesNotStopTheOthers) {
    std::vector<std::string> arguments = {"-j", "3"};
    for (int i = 0; i < 200; ++i) {
        const std::string name = "p" + std::to_string(1000 + i) + ".ppm";
        if (i == 100)
            directory.Write(name, "P6\n24 16\n255\nshort");
        else
            WritePicture(name, 16 + i % 9, 8 + i % 5);
        arguments.push_back(name);
    }
    Export(arguments);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "kowen: p1100.ppm: the file ends in row 1 of 16"))
        << result.errors;
    EXPECT_TRUE(result.output.ends_with("200 pictures: 199 exported, 1 failed\n"));
    for (int i = 0; i < 200; ++i) {
        const std::string name = "p" + std::to_string(1000 + i) + ".jpg";
        ASSERT_EQ(directory.Has(name), i != 100) << name;
        if (i == 100)
            continue;
        const DecodedJpeg jpeg = DecodeFile(name);
        EXPECT_TRUE(jpeg.Clean()) << name << jpeg.error;
        EXPECT_EQ(jpeg.width, 16 + i % 9);
        EXPECT_EQ(jpeg.height, 8 + i % 5);
    }
}

TEST_F(Batch, TellsInTheOrderOfTheNames) {
    WritePicture("a.ppm", 900, 700);
    WritePicture("b.ppm");
    WritePicture("c.ppm");
    Export({"a.ppm", "b.ppm", "c.ppm", "-j", "3"});
    std::istringstream lines(result.output);
    std::string line;
    for (const char *start : {"a.jpg: ", "b.jpg: ", "c.jpg: ", "3 pictures: "}) {
        std::getline(lines, line);
        EXPECT_TRUE(line.starts_with(start)) << line;
    }
}

TEST_F(Batch, JsonHasALineForEachFailuresToo) {
    WritePicture("a.ppm");
    directory.Write("b.ppm", "P6\n");
    Export({"a.ppm", "b.ppm", "no.ppm", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    std::istringstream lines(result.output);
    std::vector<nlohmann::json> objects;
    for (std::string line; std::getline(lines, line);)
        objects.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(objects.size(), 3U);
    EXPECT_EQ(objects[0]["picture"], "a.ppm");
    EXPECT_EQ(objects[0]["done"], true);
    EXPECT_EQ(objects[0]["width"], 24);
    EXPECT_TRUE(objects[0]["quality"].is_number_integer());
    EXPECT_EQ(objects[1]["done"], false);
    EXPECT_TRUE(Has(objects[1]["error"], "b.ppm")) << objects[1];
    EXPECT_EQ(objects[2]["error"], "no.ppm: No such file or directory");
}

TEST_F(Batch, QuietlyOnlyFailuresAreSaid) {
    WritePicture("a.ppm");
    WritePicture("b.ppm");
    Export({"a.ppm", "b.ppm", "--json", "-q"});
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 2);
    Export({"a.ppm", "b.ppm", "--force", "-q"});
    EXPECT_EQ(result.errors + result.output, "");
}

TEST_F(Batch, WhatIsNamedTwiceIsExportedOnce) {
    WritePicture("a.ppm");
    WritePicture("b.ppm");
    Export({"a.ppm", "b.ppm", "./a.ppm", "--to", "out"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "kowen: note: ./a.ppm: named twice, exported once\n");
    EXPECT_TRUE(Has(result.output, "2 pictures: 2 exported, 0 failed\n")) << result.output;
}

TEST_F(Batch, AFolderWithoutPicturesMakesNone) {
    fs::create_directory(directory.File("in"));
    directory.Write("in/letter.txt", "Dear Sir,\n");
    Export({"-r", "in", "--to", "out"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "kowen: note: in: passed over 1 file of other kinds\n"
                             "kowen: there are no pictures in in\n");
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(Listing(), "in");
}

TEST_F(Batch, UpdatesWhatIsOlder) {
    fs::create_directory(directory.File("in"));
    for (const char *name : {"in/a.ppm", "in/b.ppm", "in/c.ppm"})
        WritePicture(name);
    Export({"-r", "in", "--to", "out"});
    const fs::file_time_type made = fs::last_write_time(directory.File("out/b.jpg"));
    const std::string first = directory.Read("out/a.jpg");
    WritePicture("in/a.ppm", 30, 20);
    fs::last_write_time(directory.File("in/a.ppm"), made + std::chrono::hours(1));
    WritePicture("in/b.ppm", 30, 20);
    fs::last_write_time(directory.File("in/b.ppm"), made); // of the same moment
    directory.Write("out/c.jpg", "Dear Sir,\n");
    Export({"-r", "in", "--to", "out", "--update"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "out/c.jpg: there is a file of that name that is no JPEG"))
        << result.errors;
    EXPECT_TRUE(Has(result.output, "3 pictures: 1 exported, 1 failed, 1 up to date\n"))
        << result.output;
    EXPECT_EQ(DecodeFile("out/a.jpg").width, 30);
    EXPECT_EQ(directory.Read("out/b.jpg"), first);
    EXPECT_EQ(directory.Read("out/c.jpg"), "Dear Sir,\n");
    fs::last_write_time(directory.File("in/a.ppm"), made);
    Export({"in/a.ppm", "in/b.ppm", "--to", "out", "--update"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "2 pictures: 0 exported, 0 failed, 2 up to date\n");
}

TEST_F(Batch, NotesOfSeveralAreToldOnce) {
    const std::string alpha = "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\n"
                              "ENDHDR\n" +
                              std::string("\x50\x60\x70\0", 4);
    std::vector<std::string> names;
    for (const char *name : {"a.pam", "b.pam", "c.pam", "d.pam"})
        names.emplace_back(directory.Write(name, alpha)), names.back() = name;
    Export(names);
    EXPECT_EQ(result.errors, "kowen: note: transparent pixels were put on the background (4 "
                             "pictures: a.pam, b.pam, c.pam, ...)\n");
    WritePicture("e.ppm");
    Export({"a.pam", "e.ppm", "--force"});
    EXPECT_EQ(result.errors, "kowen: note: a.pam: transparent pixels were put on the background\n");
    Export({"a.pam", "-o", "a.jpg"});
    EXPECT_EQ(result.errors, "kowen: note: a.pam: transparent pixels were put on the background\n");
}

class Replacing : public ExportFixture {
protected:
    Replacing() {
        WritePicture("a.ppm");
        WritePicture("old.ppm", 40, 30);
        EXPECT_EQ(Export({"old.ppm", "old.jpg", "-q"}).exitCode, 0);
        jpeg = directory.Read("old.jpg");
    }

    std::string jpeg; ///< a JPEG of 40 x 30 pixels
};

TEST_F(Replacing, AJpegIsReplacedOnlyOnRequest) {
    directory.Write("a.jpg", jpeg);
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"a.ppm"}, {"a.ppm", "a.jpg"}, {"a.ppm", "--to", "."}}) {
        Export(words);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(Has(result.errors, "a.jpg: there is a file of that name")) << result.errors;
        EXPECT_EQ(directory.Read("a.jpg"), jpeg);
    }
    for (const std::vector<std::string> &words : {std::vector<std::string>{"a.ppm", "-o", "a.jpg"},
                                                  {"a.ppm", "--force"},
                                                  {"a.ppm", "a.jpg", "--force"}}) {
        directory.Write("a.jpg", jpeg);
        EXPECT_EQ(Export(words).exitCode, 0) << result.errors;
        EXPECT_EQ(DecodeFile("a.jpg").width, 24);
    }
}

TEST_F(Replacing, WhatIsNoJpegStays) {
    const std::string letter = "Dear Sir,\n";
    directory.Write("a.jpg", letter);
    for (const std::vector<std::string> &words : {std::vector<std::string>{"a.ppm"},
                                                  {"a.ppm", "--force"},
                                                  {"a.ppm", "a.jpg", "--force"},
                                                  {"a.ppm", "-o", "a.jpg"}}) {
        EXPECT_EQ(Export(words).exitCode, 1);
        EXPECT_TRUE(Has(result.errors, "a.jpg")) << result.errors;
        EXPECT_EQ(directory.Read("a.jpg"), letter);
    }
}

// *.jpg names JPEGs only; with two of them the second looks like an output.
TEST_F(Replacing, WildcardsLoseNothing) {
    for (const int count : {1, 2, 3}) {
        for (const bool force : {false, true}) {
            std::vector<std::string> words;
            for (int i = 0; i < count; ++i)
                words.push_back("w" + std::to_string(i) + ".jpg");
            for (const std::string &name : words)
                directory.Write(name, jpeg);
            if (force)
                words.push_back("--force");
            EXPECT_NE(Export(words).exitCode, 0);
            for (int i = 0; i < count; ++i)
                EXPECT_EQ(directory.Read("w" + std::to_string(i) + ".jpg"), jpeg);
        }
    }
}

TEST_F(Replacing, APictureIsNeverAnOutputUnderAnyName) {
    directory.Write("b.jpg", jpeg);
    fs::create_symlink("b.jpg", directory.File("link.jpg"));
    fs::create_hard_link(directory.File("b.jpg"), directory.File("hard.jpg"));
    for (const char *output : {"b.jpg", "./b.jpg", "link.jpg", "hard.jpg"}) {
        EXPECT_EQ(Export({"b.jpg", "-o", output}).exitCode, 1);
        EXPECT_TRUE(Has(result.errors, "would replace its own picture")) << result.errors;
        EXPECT_EQ(directory.Read("b.jpg"), jpeg);
    }
    EXPECT_EQ(Export({"b.jpg", "b.jpg"}).exitCode, 1);
    // x.ppm would become x.jpg, which is a picture of this export itself.
    directory.Write("x.jpg", jpeg);
    WritePicture("x.ppm");
    Export({"x.ppm", "x.jpg", "a.ppm", "--force"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(directory.Read("x.jpg"), jpeg);
    EXPECT_TRUE(directory.Has("a.jpg"));
}

TEST_F(Replacing, OfTwoPicturesOfOneNameTheSecondIsRefused) {
    WritePicture("a.pnm", 50, 40);
    Export({"a.ppm", "a.pnm", "--force"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(Has(result.errors, "a.pnm: a.jpg would also be made from a.ppm")) << result.errors;
    EXPECT_EQ(DecodeFile("a.jpg").width, 24);
}

TEST_F(Replacing, LinksAndPermissionsSurvive) {
    directory.Write("real.jpg", jpeg);
    chmod(directory.File("real.jpg").c_str(), 0640);
    fs::create_symlink("real.jpg", directory.File("out.jpg"));
    EXPECT_EQ(Export({"a.ppm", "-o", "out.jpg"}).exitCode, 0) << result.errors;
    EXPECT_TRUE(fs::is_symlink(directory.File("out.jpg")));
    EXPECT_EQ(DecodeFile("real.jpg").width, 24);
    struct stat status = {};
    stat(directory.File("real.jpg").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

} // namespace
} // namespace kowen::test
