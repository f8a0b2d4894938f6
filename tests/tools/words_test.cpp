// Wrong words are named, with the nearest right one and the help that explains it.
#include "nearest_word.h"
#include "tools/export_fixture.h"

namespace kowen::test {
namespace {

TEST(NearestWord, TakesTheFewestMistakes) {
    const std::vector<std::string> words = {"--quality", "--quiet", "--resize"};
    EXPECT_EQ(cli::NearestWord("--qualty", words), "--quality"); // one left out
    EXPECT_EQ(cli::NearestWord("--qiuet", words), "--quiet");    // two swapped
    EXPECT_EQ(cli::NearestWord("--resise", words), "--resize");  // one wrong
    EXPECT_EQ(cli::NearestWord("--verbose", words), "");
    EXPECT_EQ(cli::NearestWord("", words), "");
}

class Words : public ExportFixture {
protected:
    void Expect(const std::vector<std::string> &words, const std::string &message) {
        Kowen(words);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, "kowen: " + message);
    }
};

TEST_F(Words, UnknownOnesAreNamed) {
    WritePicture("a.ppm");
    Expect({}, "there is no command; to save a picture as a JPEG: kowen export PICTURE\n"
               "Try 'kowen --help'.\n");
    Expect({"exprot", "a.ppm"}, "there is no command 'exprot'; did you mean export?\n"
                                "Try 'kowen --help'.\n");
    Expect({"a.ppm"}, "there is no command 'a.ppm'; to save a picture as a JPEG: kowen export "
                      "a.ppm\nTry 'kowen --help'.\n");
    Expect({"export", "a.ppm", "--qualty=80"}, "there is no option --qualty; did you mean "
                                               "--quality?\nTry 'kowen export --help'.\n");
    Expect({"export", "a.ppm", "--sparkle"},
           "there is no option --sparkle\nTry 'kowen export --help'.\n");
    Expect({"setup", "shwo", "x"}, "there is no command 'shwo'; did you mean show?\n"
                                   "Try 'kowen setup --help'.\n");
    Expect({"info", "more"}, "'more' is one word too many\nTry 'kowen info --help'.\n");
    EXPECT_EQ(Listing(), "a.ppm");
}

TEST_F(Words, PicturesWhoseNamesLookLikeOptions) {
    WritePicture("-dash.ppm");
    WritePicture("-rose.ppm");
    Expect({"export", "a.ppm", "-dash.ppm"},
           "there is no option -dash.ppm; if -dash.ppm is meant as a file, write ./-dash.ppm\n"
           "Try 'kowen export --help'.\n");
    Expect({"export", "-rose.ppm"}, "PICTURE is required; if -rose.ppm is meant as a file, write "
                                    "./-rose.ppm\nTry 'kowen export --help'.\n");
    EXPECT_EQ(Kowen({"export", "-q", "--", "-dash.ppm"}).exitCode, 0) << result.errors;
    EXPECT_EQ(Listing(), "-dash.jpg -dash.ppm -rose.ppm");
}

TEST_F(Words, EmptyNamesOfOutputsAreRefused) {
    WritePicture("a.ppm");
    for (const std::string option : {"--to", "-o"}) {
        Kowen({"export", "a.ppm", option, ""});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_NE(result.errors.find("the name is empty"), std::string::npos) << result.errors;
    }
    EXPECT_EQ(Listing(), "a.ppm");
}

TEST_F(Words, HelpExplainsEveryCommand) {
    for (const std::vector<std::string> &command : {std::vector<std::string>{},
                                                    {"export"},
                                                    {"estimate"},
                                                    {"info"},
                                                    {"setup"},
                                                    {"setup", "set"}}) {
        std::vector<std::string> asked = command;
        asked.push_back("--help");
        Kowen(asked);
        const std::string help = result.output;
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.errors, "");
        EXPECT_TRUE(Has(help, "Exit status: 0 done, 1 failed"));
        asked = command;
        asked.insert(asked.begin(), "help");
        EXPECT_EQ(Kowen(asked).output, help);
    }
    EXPECT_TRUE(Has(Kowen({"help", "export"}).output, "--accept-truncated"));
    EXPECT_EQ(Kowen({"--version"}).output, "kowen 2.0.5\n");
    EXPECT_EQ(Kowen({"-V"}).output, "kowen 2.0.5\n");
}

} // namespace
} // namespace kowen::test
