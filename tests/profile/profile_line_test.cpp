#include "profile/profile_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kowen {
namespace {

using namespace std::string_literals;
using Lines = std::vector<std::string>;

Lines AllLines(const std::string &text, std::size_t longest = kWholeLines) {
    Lines lines;
    std::string_view rest = text;
    std::string_view line;
    while (NextLine(rest, longest, line))
        lines.emplace_back(line);
    return lines;
}

std::string Cleaned(const std::string &line, uint32_t keep = kKeepNothing) {
    const CleanLine clean = Clean(line, keep);
    return clean.whole ? std::string(clean.Text()) : "(too long)"s;
}

TEST(NextLine, EndsAtLfCrAndCrLf) {
    EXPECT_EQ(AllLines("A\nB\n"), (Lines{"A", "B"}));
    EXPECT_EQ(AllLines("A\rB\r"), (Lines{"A", "B"}));
    EXPECT_EQ(AllLines("A\r\nB\r\n"), (Lines{"A", "B"}));
    EXPECT_EQ(AllLines("A\n\rB\r\r\nC"), (Lines{"A", "", "B", "", "C"}));
}

TEST(NextLine, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(AllLines("A\nB"), (Lines{"A", "B"}));
    EXPECT_EQ(AllLines("A\rB\r"), (Lines{"A", "B"}));
    EXPECT_EQ(AllLines(""), (Lines{}));
    EXPECT_EQ(AllLines("\n"), (Lines{""}));
    EXPECT_EQ(AllLines("\r"), (Lines{""}));
    EXPECT_EQ(AllLines("\r\n\n"), (Lines{"", ""}));
}

TEST(NextLine, KeepsZeroBytes) {
    EXPECT_EQ(AllLines("A\0B\n\0"s), (Lines{"A\0B"s, "\0"s}));
}

TEST(NextLine, GivesALongLineInPieces) {
    EXPECT_EQ(AllLines("ABC\nD", 2), (Lines{"AB", "C", "D"}));
    EXPECT_EQ(AllLines("ABCDE", 2), (Lines{"AB", "CD", "E"}));
}

TEST(NextLine, ALineOfExactlyThePieceLeavesItsEnd) {
    EXPECT_EQ(AllLines("AB\nC\n", 2), (Lines{"AB", "", "C"}));
    EXPECT_EQ(AllLines("AB\r\nC", 2), (Lines{"AB", "", "C"}));
    EXPECT_EQ(AllLines("AB", 2), (Lines{"AB"}));
}

TEST(NextLine, WholeLinesHaveNoLimit) {
    const std::string line(1000000, 'x');
    EXPECT_EQ(AllLines(line + "\nA"), (Lines{line, "A"}));
}

TEST(FirstLineEnd, IsTheOneOfTheFirstLine) {
    EXPECT_EQ(FirstLineEnd("A\nB\r\n"), "\n");
    EXPECT_EQ(FirstLineEnd("A\r\nB\n"), "\r\n");
    EXPECT_EQ(FirstLineEnd("A\rB\n"), "\r");
    EXPECT_EQ(FirstLineEnd("A\r"), "\r");
    EXPECT_EQ(FirstLineEnd("\r\n"), "\r\n");
    EXPECT_EQ(FirstLineEnd("\n\r"), "\n");
}

TEST(FirstLineEnd, OfATextWithoutAnyIsCrLf) {
    EXPECT_EQ(FirstLineEnd("A"), "\r\n");
    EXPECT_EQ(FirstLineEnd(""), "\r\n");
}

TEST(Clean, RemovesLineEndsBracketsAndQuotes) {
    EXPECT_EQ(Cleaned("[JPG Export]"), "JPG Export");
    EXPECT_EQ(Cleaned("[[a]b]["), "ab");
    EXPECT_EQ(Cleaned("\"a\"b"), "ab");
    EXPECT_EQ(Cleaned("a\r\nb\r"), "ab");
}

TEST(Clean, KeepsWhatItIsToldTo) {
    EXPECT_EQ(Cleaned("[a]=\"b\"", kKeepBrackets), "[a]=b");
    EXPECT_EQ(Cleaned("[a]=\"b\"", kKeepQuotes), "a=\"b\"");
    EXPECT_EQ(Cleaned("[a]=\"b\"\r", kKeepBrackets | kKeepQuotes), "[a]=\"b\"");
}

TEST(Clean, OfTwoAdjacentQuotesOneStays) {
    EXPECT_EQ(Cleaned("a\"\"b"), "a\"b");
    EXPECT_EQ(Cleaned("a\"\"\"b"), "a\"b");
    EXPECT_EQ(Cleaned("a\"\"\"\"b"), "a\"\"b");
    EXPECT_EQ(Cleaned("a\"\""), "a\"");
    EXPECT_EQ(Cleaned("a\"[\"b"), "ab");    // brackets go after the quotes
    EXPECT_EQ(Cleaned("a\"\r\"b"), "a\"b"); // line ends go before them
    EXPECT_EQ(Cleaned("a\"\"b", kKeepQuotes), "a\"\"b");
}

TEST(Clean, CutsAtTheFirstSemicolon) {
    EXPECT_EQ(Cleaned("a=1 ; b ; c"), "a=1");
    EXPECT_EQ(Cleaned(";a"), "");
    EXPECT_EQ(Cleaned("a=\"1;2\"", kKeepQuotes), "a=\"1"); // quotes do not protect it
}

TEST(Clean, RemovesSpacesAtTheEndsOnly) {
    EXPECT_EQ(Cleaned("   a  b = c   "), "a  b = c");
    EXPECT_EQ(Cleaned("    "), "");
    EXPECT_EQ(Cleaned(" [ a ] "), "a"); // spaces go last
    EXPECT_EQ(Cleaned("\ta\t"), "\ta\t");
}

TEST(Clean, EndsAtAZeroByte) {
    EXPECT_EQ(Cleaned("a=1 \0b"s), "a=1");
}

TEST(Clean, HoldsAWholePiece) {
    const std::string piece(256, 'x');
    EXPECT_EQ(Cleaned(piece), piece);
    EXPECT_EQ(Cleaned("[" + piece + "]"), piece);
    EXPECT_EQ(Cleaned(std::string(1000, ' ') + piece + std::string(1000, ' ')), piece);
    EXPECT_EQ(Cleaned(piece + ";" + piece), piece);
}

TEST(Clean, MoreThanAPieceIsNoLineAtAll) {
    EXPECT_EQ(Cleaned(std::string(257, 'x')), "(too long)");
    EXPECT_EQ(Cleaned("a" + std::string(255, ' ') + "b"), "(too long)");
    EXPECT_EQ(Cleaned("a" + std::string(100000, ' ') + "b"), "(too long)");
    EXPECT_EQ(Clean(std::string(257, 'x'), kKeepNothing).size, 0u);
    EXPECT_EQ(Cleaned("a" + std::string(254, ' ') + "b"), "a" + std::string(254, ' ') + "b");
}

TEST(CleanSectionName, CleansAsAHeader) {
    CleanLine name;
    ASSERT_TRUE(CleanSectionName(" [\"JPG\" Export] ; x", name));
    EXPECT_EQ(name.Text(), "JPG Export");
}

TEST(CleanSectionName, MayLeaveNothing) {
    for (const char *section : {"", ";a", "[]", " "}) {
        CleanLine name;
        EXPECT_TRUE(CleanSectionName(section, name));
        EXPECT_EQ(name.Text(), "");
    }
}

TEST(CleanSectionName, NothingMatchesAnOverLongName) {
    CleanLine name;
    EXPECT_FALSE(CleanSectionName(std::string(256, 'a').c_str(), name));
    EXPECT_FALSE(CleanSectionName(std::string(100000, ' ').c_str(), name));
    ASSERT_TRUE(CleanSectionName(std::string(255, 'a').c_str(), name));
    EXPECT_EQ(name.Text(), std::string(255, 'a'));
}

TEST(SameName, IgnoresCaseAndNothingElse) {
    EXPECT_TRUE(SameName("Quality", "qUALITY"));
    EXPECT_TRUE(SameName("", ""));
    EXPECT_FALSE(SameName("Quality", "Quality "));
    EXPECT_FALSE(SameName("Quality", "Qualit"));
    EXPECT_FALSE(SameName("Qualit", "Quality"));
    EXPECT_FALSE(SameName("Quality", "Qualify"));
}

TEST(SplitEntry, SplitsAtTheFirstSign) {
    ProfileEntry entry;
    ASSERT_TRUE(SplitEntry("a = b=c", entry));
    EXPECT_EQ(entry.key, "a ");
    EXPECT_EQ(entry.value, " b=c");
    ASSERT_TRUE(SplitEntry("=", entry));
    EXPECT_EQ(entry.key, "");
    EXPECT_EQ(entry.value, "");
    EXPECT_FALSE(SplitEntry("a", entry));
    EXPECT_FALSE(SplitEntry("", entry));
}

TEST(TrimQuotes, TakesOneAtEachEnd) {
    EXPECT_EQ(TrimQuotes("\"75\""), "75");
    EXPECT_EQ(TrimQuotes("\"75"), "75");
    EXPECT_EQ(TrimQuotes("75\""), "75");
    EXPECT_EQ(TrimQuotes("\"\"75\"\""), "\"75\"");
    EXPECT_EQ(TrimQuotes("\"a\"\"b\""), "a\"\"b");
    EXPECT_EQ(TrimQuotes("\"\""), "");
    EXPECT_EQ(TrimQuotes("\""), "");
    EXPECT_EQ(TrimQuotes(""), "");
    EXPECT_EQ(TrimQuotes(" \"a\""), " \"a");
}

TEST(HasKey, ComparesTheTextBeforeTheSign) {
    EXPECT_TRUE(HasKey("Quality=75", "QUALITY"));
    EXPECT_TRUE(HasKey("  Quality  = 75", "Quality"));
    EXPECT_TRUE(HasKey("Quality ; x = 75", "Quality"));
    EXPECT_TRUE(HasKey("=75", ""));
    EXPECT_FALSE(HasKey("Quality", "Quality"));
    EXPECT_FALSE(HasKey("\"Quality\"=75", "Quality"));
    EXPECT_FALSE(HasKey("Quality 2=75", "Quality"));
    EXPECT_FALSE(HasKey("Qualit=75", "Quality"));
}

TEST(HasKey, ACommentLineHasNoKey) {
    EXPECT_FALSE(HasKey(";Quality=75", "Quality"));
    EXPECT_FALSE(HasKey(";Quality=75", ""));
    EXPECT_FALSE(HasKey("  ; x = y", ""));
}

TEST(HasKey, EndsAtAZeroByte) {
    EXPECT_FALSE(HasKey("Qual\0ity=75"s, "Quality"));
    EXPECT_FALSE(HasKey("Quality\0=75"s, "Quality"));
    EXPECT_TRUE(HasKey("Quality=\0"s, "Quality"));
}

} // namespace
} // namespace kowen
