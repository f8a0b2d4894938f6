#include "profile/profile_file.h"

#include "support/failing_memory.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace kowen {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr int32_t kLarge = 600;

// What a call left in the buffer: its bytes up to the first one that it did not write.
struct Answer {
    int32_t result;
    std::string bytes;

    std::string Text() const { return bytes.c_str(); }
};

class ProfileReadTest : public testing::Test {
protected:
    Answer Read(const char *section, const char *key, const char *defaultText,
                int32_t size = kLarge) {
        char buffer[kLarge + 8];
        std::memset(buffer, '#', sizeof buffer);
        const int32_t result =
            GetPrivateProfileString(section, key, defaultText, buffer, size, file.c_str());
        EXPECT_EQ(std::string(buffer + size, 8), "########") << "written behind the buffer";
        return {result, std::string(buffer, static_cast<std::size_t>(size))};
    }
    Answer Read(const std::string &text, const char *section, const char *key,
                const char *defaultText, int32_t size = kLarge) {
        directory.Write("a.ini", text);
        return Read(section, key, defaultText, size);
    }
    std::string Value(const std::string &text, const char *section, const char *key) {
        return Read(text, section, key, "(none)").Text();
    }
    int32_t Number(const std::string &value, int32_t defaultValue = -77) {
        directory.Write("a.ini", "[S]\nN=" + value + "\n");
        return GetPrivateProfileInt("S", "N", defaultValue, file.c_str());
    }

    ScopedEnvironment variable{"INIDIR", nullptr};
    TempDirectory directory;
    std::string file = directory.File("a.ini");
};

using GetPrivateProfileStringTest = ProfileReadTest;
using GetPrivateProfileIntTest = ProfileReadTest;
using ListKeysTest = ProfileReadTest;

TEST_F(GetPrivateProfileStringTest, FindsAKeyWhateverTheCase) {
    const Answer answer = Read("[JPG Export]\nQuality=75\n", "jpg export", "QUALITY", "(none)");
    EXPECT_EQ(answer.result, 2);
    EXPECT_EQ(answer.bytes, "75" + std::string(kLarge - 2, '\0'));
}

TEST_F(GetPrivateProfileStringTest, SpacesAroundTheSignCount) {
    EXPECT_EQ(Value("[S]\nQuality = 75\n", "S", "Quality"), "(none)");
    EXPECT_EQ(Value("[S]\nQuality = 75\n", "S", "Quality "), " 75");
    EXPECT_EQ(Value("[S]\nQuality= 75\n", "S", "Quality"), " 75");
}

TEST_F(GetPrivateProfileStringTest, CommentsAndSpacesAtTheEndsGo) {
    EXPECT_EQ(Value("[S]\nQuality=75 ;comment\n", "S", "Quality"), "75");
    EXPECT_EQ(Value("[S]\n   Quality=75   \n", "S", "Quality"), "75");
    EXPECT_EQ(Value("[S]\n;Quality=75\n\n  \nQuality=76\n", "S", "Quality"), "76");
    EXPECT_EQ(Value("  [S]  ; the section\nQuality=75\n", "S", "Quality"), "75");
}

TEST_F(GetPrivateProfileStringTest, OnePairOfQuotesGoes) {
    EXPECT_EQ(Value("[S]\nQuality=\"75\"\n", "S", "Quality"), "75");
    EXPECT_EQ(Value("[S]\nQuality=\" 75 \"\n", "S", "Quality"), " 75 ");
    EXPECT_EQ(Value("[S]\nQuality=\"\"75\"\"\n", "S", "Quality"), "\"75\"");
    EXPECT_EQ(Value("[S]\nQuality=a\"\"b\n", "S", "Quality"), "a\"\"b");
    EXPECT_EQ(Value("[S]\nQuality=\"75\n", "S", "Quality"), "75");
    EXPECT_EQ(Value("[S]\nQuality=\"a;b\"\n", "S", "Quality"), "a"); // the comment goes first
}

TEST_F(GetPrivateProfileStringTest, AValueKeepsBracketsAndSigns) {
    EXPECT_EQ(Value("[S]\nA=[x]=y\n", "S", "A"), "[x]=y");
}

TEST_F(GetPrivateProfileStringTest, TheFirstMatchCounts) {
    EXPECT_EQ(Value("[S]\nA=1\nA=2\n", "S", "A"), "1");
}

TEST_F(GetPrivateProfileStringTest, OnlyTheSectionIsSearched) {
    const std::string text = "A=0\n[R]\nA=1\n[S]\nB=2\n[T]\nA=3\n";
    EXPECT_EQ(Value(text, "S", "A"), "(none)");
    EXPECT_EQ(Value(text, "S", "B"), "2");
    EXPECT_EQ(Value(text, "T", "A"), "3");
    EXPECT_EQ(Value(text, "None", "A"), "(none)");
}

TEST_F(GetPrivateProfileStringTest, ALineWithoutASignIsNoEntry) {
    EXPECT_EQ(Value("[S]\nQuality\nQuality=75\n", "S", "Quality"), "75");
    EXPECT_EQ(Value("[S]\nQuality\n", "S", "Quality"), "(none)");
}

TEST_F(GetPrivateProfileStringTest, AnyLineEndAndNoneAtTheLast) {
    EXPECT_EQ(Value("[S]\rA=1\rB=2\r", "S", "B"), "2");
    EXPECT_EQ(Value("[S]\r\nA=1\r\nB=2\r\n", "S", "B"), "2");
    EXPECT_EQ(Value("[S]\nA=1\nB=2", "S", "B"), "2");
    EXPECT_EQ(Value("[S]\rA=1\rB=2", "S", "B"), "2");
    EXPECT_EQ(Value("[S]\r\nA=1\r\nB=2\r", "S", "B"), "2");
    EXPECT_EQ(Value("", "S", "B"), "(none)");
}

TEST_F(GetPrivateProfileStringTest, AHeaderNeedsNoBrackets) {
    EXPECT_EQ(Value("S\nA=1\n", "S", "A"), "1");
    EXPECT_EQ(Value("[R]\nS\nA=1\n", "S", "A"), "1");
    EXPECT_EQ(Value("\"S\"\nA=1\n", "S", "A"), "1");
}

TEST_F(GetPrivateProfileStringTest, TheSectionNameIsCleanedAsAHeader) {
    EXPECT_EQ(Value("[S]\nA=1\n", "[s] ; x", "A"), "1");
    EXPECT_EQ(Value("[\"\"S]\nA=1\n", "\"\"S", "A"), "1"); // both become "S with one quote
}

TEST_F(GetPrivateProfileStringTest, TheHeaderThatEndsASectionIsNotExamined) {
    // The second header of that name only ends the first section; the third opens again.
    EXPECT_EQ(Value("[S]\nA=1\n[S]\nB=2\n[S]\nC=3\n", "S", "B"), "(none)");
    EXPECT_EQ(Value("[S]\nA=1\n[S]\nB=2\n[S]\nC=3\n", "S", "C"), "3");
    EXPECT_EQ(Value("[S]\nA=1\n[R]\n[S]\nB=2\n", "S", "B"), "2");
}

TEST_F(GetPrivateProfileStringTest, AnIndentedHeaderDoesNotEndTheSection) {
    EXPECT_EQ(Value("[S]\n [R]\nA=1\n", "S", "A"), "1");
}

TEST_F(GetPrivateProfileStringTest, NothingFoundGivesTheDefault) {
    const Answer answer = Read("[S]\nA=1\n", "S", "B", "6.67", 10);
    EXPECT_EQ(answer.result, 4);
    EXPECT_EQ(answer.bytes, "6.67\0\0\0\0\0\0"s);
}

TEST_F(GetPrivateProfileStringTest, ADefaultThatDoesNotFitIsCut) {
    EXPECT_EQ(Read("", "S", "B", "123", 4).bytes, "123\0"s);
    const Answer cut = Read("", "S", "B", "1234", 4);
    EXPECT_EQ(cut.bytes, "123\0"s);
    EXPECT_EQ(cut.result, 3);
    EXPECT_EQ(Read("", "S", "B", "1234", 1).bytes, "\0"s);
    EXPECT_EQ(Read("", "S", "B", "1234", 1).result, 0);
    EXPECT_EQ(Read("", "S", "B", "1234", 0).result, 0);
}

TEST_F(GetPrivateProfileStringTest, AFoundValueReplacesTheDefaultWholly) {
    const Answer answer = Read("[S]\nWidth=22\n", "S", "Width", "6.67", 10);
    EXPECT_EQ(answer.result, 2);
    EXPECT_EQ(answer.bytes, "22\0\0\0\0\0\0\0\0"s);
    const Answer empty = Read("[S]\nWidth=\n", "S", "Width", "6.67", 10);
    EXPECT_EQ(empty.result, 0);
    EXPECT_EQ(empty.bytes, std::string(10, '\0'));
}

TEST_F(GetPrivateProfileStringTest, AValueAsLongAsTheBufferIsNotTerminated) {
    EXPECT_EQ(Read("[S]\nA=1234\n", "S", "A", "", 5).bytes, "1234\0"s);
    const Answer full = Read("[S]\nA=1234\n", "S", "A", "", 4);
    EXPECT_EQ(full.bytes, "1234");
    EXPECT_EQ(full.result, 4);
    const Answer cut = Read("[S]\nA=1234\n", "S", "A", "", 3);
    EXPECT_EQ(cut.bytes, "123");
    EXPECT_EQ(cut.result, 3);
    EXPECT_EQ(Read("[S]\nA=1234\n", "S", "A", "", 0).result, 0);
}

TEST_F(GetPrivateProfileStringTest, ANegativeSizeAndNoBufferPlaceNothing) {
    directory.Write("a.ini", "[S]\nA=1234\n");
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(GetPrivateProfileString("S", "A", "x", buffer, -1, file.c_str()), 0);
    EXPECT_EQ(std::string(buffer, 4), "####");
    EXPECT_EQ(GetPrivateProfileString("S", "A", "x", nullptr, 100, file.c_str()), 0);
}

TEST_F(GetPrivateProfileStringTest, NoSectionOrNoDefaultTouchesNothing) {
    directory.Write("a.ini", "[S]\nA=1\n");
    char buffer[4] = {'#', '#', '#', '#'};
    EXPECT_EQ(GetPrivateProfileString(nullptr, "A", "x", buffer, 4, file.c_str()), 0);
    EXPECT_EQ(GetPrivateProfileString("", "A", "x", buffer, 4, file.c_str()), 0);
    EXPECT_EQ(GetPrivateProfileString("S", "A", nullptr, buffer, 4, file.c_str()), 0);
    EXPECT_EQ(std::string(buffer, 4), "####");
}

TEST_F(GetPrivateProfileStringTest, ASectionOfWhichNothingIsLeftMatchesNothing) {
    for (const char *section : {"[]", " ", ";a", "\""})
        EXPECT_EQ(Value("\n[]\nA=1\n[ ]\nA=2\n;\nA=3\n", section, "A"), "(none)") << section;
}

TEST_F(GetPrivateProfileStringTest, AnOverLongSectionMatchesNothing) {
    const std::string longest(255, 's');
    EXPECT_EQ(Value(longest + "\nA=1\n", longest.c_str(), "A"), "1");
    const std::string over(256, 's');
    EXPECT_EQ(Value(over + "\nA=1\n", over.c_str(), "A"), "(none)");
    const std::string far(70000, 's');
    EXPECT_EQ(Value("[" + far + "]\nA=1\n", far.c_str(), "A"), "(none)");
}

TEST_F(GetPrivateProfileStringTest, ALineOf256BytesIsReadWhole) {
    const std::string value(254, 'v');
    EXPECT_EQ(Value("[S]\nA=" + value + "\nB=2\n", "S", "A"), value);
    EXPECT_EQ(Value("[S]\nA=" + value + "\nB=2\n", "S", "B"), "2");
    EXPECT_EQ(Value("[S]\r\nA=" + value + "\r\nB=2\r\n", "S", "B"), "2");
}

TEST_F(GetPrivateProfileStringTest, ALongerLineIsReadInPieces) {
    const std::string value(254, 'v');
    EXPECT_EQ(Value("[S]\nA=" + value + "w\nB=2\n", "S", "A"), value);
    EXPECT_EQ(Value("[S]\nA=" + value + "C=3\nB=2\n", "S", "C"), "3");      // a line of its own
    EXPECT_EQ(Value("[S]\nA=" + value + "[R]\nB=2\n", "S", "B"), "(none)"); // a header too
    EXPECT_EQ(Value("[S]\n" + std::string(1000000, 'x') + "\nB=2\n", "S", "B"), "2");
}

TEST_F(GetPrivateProfileStringTest, ALineEndsAtAZeroByte) {
    EXPECT_EQ(Value("[S]\nA=1\0002\nB=3\n"s, "S", "A"), "1");
    EXPECT_EQ(Value("[S]\nA=1\0002\nB=3\n"s, "S", "B"), "3");
    EXPECT_EQ(Value("[S]\0[R]\nB=3\n"s, "S", "B"), "3");
    EXPECT_EQ(Value("[S]\n\0B=3\n"s, "S", "B"), "(none)");
}

TEST_F(GetPrivateProfileStringTest, AFileThatCannotBeOpenedGivesTheDefault) {
    EXPECT_EQ(Read("S", "A", "x").result, 1); // none there
    fs::create_directory(file);
    EXPECT_EQ(Read("S", "A", "x").Text(), "x");
    char buffer[4];
    EXPECT_EQ(GetPrivateProfileString("S", "A", "x", buffer, 4, ""), 1);
    EXPECT_EQ(GetPrivateProfileString("S", "A", "x", buffer, 4, nullptr), 1);
    EXPECT_STREQ(buffer, "x");
}

TEST_F(GetPrivateProfileStringTest, AReadErrorEndsTheFile) {
    // Opens as a regular file; reading at 0 fails.
    fs::create_symlink("/proc/self/mem", file);
    EXPECT_EQ(Read("S", "A", "x").Text(), "x");
}

TEST_F(GetPrivateProfileStringTest, EachFailingAllocationGivesTheDefault) {
    directory.Write("a.ini", "[S]\n" + std::string(20000, 'x') + "\nA=1\n");
    for (int k = 1;; ++k) {
        FailingMemory memory(k);
        const Answer answer = Read("S", "A", "x");
        if (!memory.Failed()) {
            EXPECT_EQ(answer.Text(), "1");
            EXPECT_GT(k, 4);
            break;
        }
        EXPECT_EQ(answer.Text(), "x") << "allocation " << k;
    }
}

TEST_F(GetPrivateProfileStringTest, FindsTheProfileInTheDirectory) {
    directory.Write("kowen-read-test.ini", "[S]\nA=1\n");
    ScopedEnvironment inidir("INIDIR", directory.Path().c_str());
    char buffer[4];
    EXPECT_EQ(GetPrivateProfileString("S", "A", "x", buffer, 4, "kowen-read-test.ini"), 1);
    EXPECT_STREQ(buffer, "1");
}

TEST_F(ListKeysTest, EachKeyEndsInAZeroAndTheListInOneMore) {
    const Answer answer = Read("[S]\nA=1\nBC=2\n", "S", nullptr, "", 10);
    EXPECT_EQ(answer.bytes, "A\0BC\0\0\0\0\0\0"s);
    EXPECT_EQ(answer.result, 3);
}

TEST_F(ListKeysTest, CommentsAndOtherLinesAreNoKeys) {
    const Answer answer =
        Read("[R]\nX=1\n[S]\n;C=1\n\nno sign\n  D =1;E=2\n[T]\nY=1\n", "S", nullptr, "", 6);
    EXPECT_EQ(answer.bytes, "D \0\0\0\0"s);
    EXPECT_EQ(answer.result, 2);
}

TEST_F(ListKeysTest, LaterSectionsOfThatNameAreAppended) {
    const Answer answer = Read("[S]\nA=1\n[R]\nX=1\n[s]\nB=2\n", "S", nullptr, "", 8);
    EXPECT_EQ(answer.bytes, "A\0B\0\0\0\0\0"s);
    EXPECT_EQ(answer.result, 2);
}

TEST_F(ListKeysTest, AListReplacesTheDefaultWholly) {
    const Answer answer = Read("[S]\nA=1\n", "S", nullptr, "default", 9);
    EXPECT_EQ(answer.bytes, "A\0\0\0\0\0\0\0\0"s);
    EXPECT_EQ(answer.result, 1);
}

TEST_F(ListKeysTest, NoKeysGiveTheDefault) {
    const Answer answer = Read("[S]\n[T]\nA=1\n", "S", nullptr, "none", 6);
    EXPECT_EQ(answer.bytes, "none\0\0"s);
    EXPECT_EQ(answer.result, 4);
}

TEST_F(ListKeysTest, AListThatJustFitsIsWhole) {
    const Answer answer = Read("[S]\nA=1\nBC=2\n", "S", nullptr, "", 6);
    EXPECT_EQ(answer.bytes, "A\0BC\0\0"s);
    EXPECT_EQ(answer.result, 3);
}

TEST_F(ListKeysTest, AListThatDoesNotFitIsCut) {
    // "BC" at offset 2 needs 2 + 2 + 1 below the size.
    const Answer five = Read("[S]\nA=1\nBC=2\n", "S", nullptr, "", 5);
    EXPECT_EQ(five.bytes, "A\0B\0\0"s);
    EXPECT_EQ(five.result, 4);
    const Answer long7 = Read("[S]\nABCDEFGHIJ=1\n", "S", nullptr, "", 7);
    EXPECT_EQ(long7.bytes, "ABCDE\0\0"s);
    EXPECT_EQ(long7.result, 6);
}

TEST_F(ListKeysTest, KeysBehindTheCutAddTheirLengthAndOne) {
    const Answer answer = Read("[S]\nA=1\nBCD=2\nEF=3\nG=4\n", "S", nullptr, "", 5);
    EXPECT_EQ(answer.bytes, "A\0B\0\0"s);
    EXPECT_EQ(answer.result, 4 + 3 + 2);
}

TEST_F(ListKeysTest, TinyBuffersAreNotOverrun) {
    EXPECT_EQ(Read("[S]\nABC=1\n", "S", nullptr, "", 2).bytes, "\0\0"s);
    EXPECT_EQ(Read("[S]\nABC=1\n", "S", nullptr, "", 2).result, 1);
    EXPECT_EQ(Read("[S]\nABC=1\n", "S", nullptr, "", 1).bytes, "\0"s);
    EXPECT_EQ(Read("[S]\nABC=1\n", "S", nullptr, "", 1).result, 0);
    EXPECT_EQ(Read("[S]\nABC=1\nD=2\n", "S", nullptr, "", 0).result, 4 + 2);
}

TEST_F(GetPrivateProfileIntTest, ReadsDecimals) {
    EXPECT_EQ(Number("75"), 75);
    EXPECT_EQ(Number("\"75\""), 75);
    EXPECT_EQ(Number("007"), 7);
    EXPECT_EQ(Number("0"), 0);
    EXPECT_EQ(Number("12abc"), 12);
    EXPECT_EQ(Number("1.9"), 1);
}

TEST_F(GetPrivateProfileIntTest, ReadsHexadecimals) {
    EXPECT_EQ(Number("0xff"), 255);
    EXPECT_EQ(Number("0XfFg"), 255);
    EXPECT_EQ(Number("0x"), 0);
    EXPECT_EQ(Number("0xG"), 0);
    EXPECT_EQ(Number("0x7fffffff"), 2147483647);
    EXPECT_EQ(Number("0xffffffff"), -1); // the same 32 bits
    EXPECT_EQ(Number("0x0123456789"), 0x23456789);
    EXPECT_EQ(Number("x12"), 0);
}

TEST_F(GetPrivateProfileIntTest, DecimalsSaturate) {
    EXPECT_EQ(Number("2147483647"), 2147483647);
    EXPECT_EQ(Number("2147483648"), 2147483647);
    EXPECT_EQ(Number("4294967297"), 2147483647);
    EXPECT_EQ(Number("99999999999999999999999999999999"), 2147483647);
}

TEST_F(GetPrivateProfileIntTest, ASignOrALetterGivesZero) {
    EXPECT_EQ(Number("-5"), 0);
    EXPECT_EQ(Number("+5"), 0);
    EXPECT_EQ(Number("abc"), 0);
    EXPECT_EQ(Number(" 5"), 0);
}

TEST_F(GetPrivateProfileIntTest, NothingFoundGivesTheDefault) {
    EXPECT_EQ(Number(""), -77);
    EXPECT_EQ(Number("\"\""), -77);
    EXPECT_EQ(GetPrivateProfileInt("S", "M", -5, file.c_str()), -5);
    EXPECT_EQ(GetPrivateProfileInt("R", "N", 6, file.c_str()), 6);
    EXPECT_EQ(GetPrivateProfileInt(nullptr, "N", 7, file.c_str()), 7);
    EXPECT_EQ(GetPrivateProfileInt("S", "N", 8, ""), 8);
    EXPECT_EQ(GetPrivateProfileInt("S", "N", 9, directory.File("none").c_str()), 9);
}

TEST_F(GetPrivateProfileIntTest, TheFirst32CharactersCount) {
    EXPECT_EQ(Number(std::string(31, '0') + "12"), 1);
    EXPECT_EQ(Number("0x" + std::string(29, '0') + "12"), 1);
}

TEST_F(ProfileReadTest, TheDefaultProfileIsQivIni) {
    directory.Write("QIV.INI", "[S]\nA=text\nN=75\n");
    ScopedEnvironment inidir("INIDIR", directory.Path().c_str());
    char buffer[10];
    EXPECT_EQ(GetProfileString("S", "A", "", buffer, 10), 4);
    EXPECT_STREQ(buffer, "text");
    EXPECT_EQ(GetProfileString("S", "B", "x", buffer, 10), 1);
    EXPECT_STREQ(buffer, "x");
    EXPECT_EQ(GetProfileInt("S", "N", 5), 75);
    EXPECT_EQ(GetProfileInt("S", "M", 5), 5);
}

} // namespace
} // namespace kowen
