// What a terminal shows: a bar, plain tenths, or nothing; never a JPEG.
#include "tools/export_fixture.h"

namespace kowen::test {
namespace {

/// Both ends of a terminal.
class Terminal {
public:
    Terminal() : outer(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (outer >= 0 && (grantpt(outer) | unlockpt(outer)) == 0)
            inner = open(ptsname(outer), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~Terminal() {
        close(inner);
        close(outer);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    bool Open() const { return inner >= 0; }
    int Inner() const { return inner; }

    /// What was written to it.
    std::string Seen() const {
        fcntl(outer, F_SETFL, fcntl(outer, F_GETFL) | O_NONBLOCK);
        std::string text;
        char piece[4096];
        for (ssize_t count; (count = read(outer, piece, sizeof piece)) > 0;)
            text.append(piece, static_cast<size_t>(count));
        return text;
    }

private:
    int outer;
    int inner = -1;
};

class OnATerminal : public ExportFixture {
protected:
    /// Exports with the standard error output on a terminal, and returns what that shows.
    std::string Show(const std::vector<std::string> &words, const char *term) {
        const Terminal terminal;
        if (!terminal.Open())
            return "";
        ProgramSetting setting;
        setting.beforeStart = [&terminal, term] {
            dup2(terminal.Inner(), STDERR_FILENO);
            setenv("TERM", term, 1);
        };
        Export(words, setting);
        EXPECT_EQ(result.exitCode, 0);
        return terminal.Seen();
    }
};

TEST_F(OnATerminal, ABarMoves) {
    if (!Terminal().Open())
        GTEST_SKIP() << "no terminals can be made here";
    WritePicture("a.ppm", 400, 300);
    const std::string seen = Show({"a.ppm", "-o", "a.jpg"}, "xterm");
    EXPECT_TRUE(Has(seen, "[..............")) << seen;
    EXPECT_TRUE(Has(seen, "100 % exporting a.ppm")) << seen;
    EXPECT_TRUE(seen.ends_with("\r\x1b[K")) << "the line is taken away at the end: " << seen;
    EXPECT_EQ(Show({"a.ppm", "-o", "a.jpg", "--no-progress"}, "xterm"), "");
    EXPECT_EQ(Show({"a.ppm", "-o", "a.jpg", "-q"}, "xterm"), "");
}

TEST_F(OnATerminal, SeveralPicturesAreCounted) {
    if (!Terminal().Open())
        GTEST_SKIP() << "no terminals can be made here";
    WritePicture("a.ppm", 400, 300);
    WritePicture("b.ppm", 400, 300);
    const std::string seen = Show({"a.ppm", "b.ppm", "-j", "1"}, "xterm");
    EXPECT_TRUE(Has(seen, "1 of 2, exporting a.ppm")) << seen;
    EXPECT_TRUE(Has(seen, "2 of 2, exporting b.ppm")) << seen;
}

TEST_F(OnATerminal, PlainWhereTheLineCannotBeDrawnOver) {
    if (!Terminal().Open())
        GTEST_SKIP() << "no terminals can be made here";
    WritePicture("a.ppm", 400, 300);
    const std::string seen = Show({"a.ppm", "-o", "a.jpg"}, "dumb");
    EXPECT_EQ(seen, "a.ppm: 10% 20% 30% 40% 50% 60% 70% 80% 90% 100%\r\n");
}

TEST_F(OnATerminal, NamesCannotControlIt) {
    const Terminal terminal;
    if (!terminal.Open())
        GTEST_SKIP() << "no terminals can be made here";
    ProgramSetting setting;
    setting.beforeStart = [&terminal] {
        dup2(terminal.Inner(), STDOUT_FILENO);
        dup2(terminal.Inner(), STDERR_FILENO);
    };
    WritePicture("a\x1b[2J\nb\xc2\x9b\xc3\xa9.ppm");
    Export({"a\x1b[2J\nb\xc2\x9b\xc3\xa9.ppm", "no\x1b.ppm", "--no-progress"}, setting);
    const std::string seen = terminal.Seen();
    EXPECT_TRUE(seen.starts_with("a?[2J?b?\xc3\xa9.jpg: 24 x 16 pixels")) << seen;
    EXPECT_TRUE(Has(seen, "kowen: no?.ppm: No such file or directory\r\n")) << seen;
    EXPECT_FALSE(Has(seen, "\x1b")) << seen;
    // A pipe gets the name as it is.
    Export({"no\x1b.ppm"});
    EXPECT_EQ(result.errors, "kowen: no\x1b.ppm: No such file or directory\n");
}

TEST_F(OnATerminal, NothingWhenPiped) {
    WritePicture("a.ppm", 400, 300);
    Export({"a.ppm"});
    EXPECT_FALSE(Has(result.errors, "%")) << result.errors;
}

TEST_F(OnATerminal, NoJpegGoesThere) {
    if (!Terminal().Open())
        GTEST_SKIP() << "no terminals can be made here";
    const Terminal terminal;
    WritePicture("a.ppm");
    ProgramSetting setting;
    setting.beforeStart = [&terminal] { dup2(terminal.Inner(), STDOUT_FILENO); };
    Export({"a.ppm", "-"}, setting);
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(Has(result.errors, "not for the terminal")) << result.errors;
    EXPECT_EQ(terminal.Seen(), "");
}

} // namespace
} // namespace kowen::test
