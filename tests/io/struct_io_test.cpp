#include "io/struct_io.h"

#include "io/files.h"
#include "io/typed_io.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kowen {
namespace {

using namespace std::string_literals;

// Numbers in these tests are palindromes, so that memory looks the same on every host.
constexpr char kUntouched = '#';

class StructIo : public testing::Test {
protected:
    ~StructIo() override {
        if (file)
            qivClose(file);
    }
    void OpenOver(const std::string &bytes) { file = Open(directory.Write("a", bytes), 0); }
    void Create() { file = Open(directory.File("a"), kCreateMode); }
    std::string Written() {
        qivClose(file);
        file = 0;
        return directory.Read("a");
    }
    // Memory of exactly size bytes after reading records into it.
    int32_t ReadRecords(const char *description, std::size_t size, int32_t records) {
        memory.assign(size, kUntouched);
        return qivReadStruct(file, description, memory.data(), records);
    }
    std::string Memory() const { return {memory.begin(), memory.end()}; }

    TempDirectory directory;
    FileHandle file = 0;
    std::vector<char> memory;
};

using QivReadStruct = StructIo;
using QivWriteStruct = StructIo;

TEST_F(QivReadStruct, AGapBeforeAShortIsLeftAlone) {
    OpenOver("c11abbac22deed");
    EXPECT_EQ(ReadRecords("CSL", 16, 2), 2);
    EXPECT_EQ(Memory(), "c#11abbac#22deed");
    EXPECT_EQ(ReadText(file, 1), "");
}

TEST_F(QivReadStruct, AGapBeforeALongIsCleared) {
    OpenOver("cabba");
    EXPECT_EQ(ReadRecords("CL", 8, 1), 1);
    EXPECT_EQ(Memory(), "c\0\0\0abba"s);
}

TEST_F(QivReadStruct, AGapBeforeADoubleIsCleared) {
    OpenOver("11abcddcba");
    EXPECT_EQ(ReadRecords("SD", 16, 1), 1);
    EXPECT_EQ(Memory(), "11\0\0\0\0\0\0abcddcba"s);
}

TEST_F(QivReadStruct, AGapBeforeAFloatIsCleared) {
    OpenOver("cabba");
    EXPECT_EQ(ReadRecords("CF", 8, 1), 1);
    EXPECT_EQ(Memory(), "c\0\0\0abba"s);
}

TEST_F(QivReadStruct, ARecordsEndIsPaddedWithZeros) {
    OpenOver("abbacdeedf");
    EXPECT_EQ(ReadRecords("LC", 16, 2), 2);
    EXPECT_EQ(Memory(), "abbac\0\0\0deedf\0\0\0"s);
}

TEST_F(QivReadStruct, CountsRepeatMembers) {
    OpenOver("hello112233abbaabba");
    EXPECT_EQ(ReadRecords("5C3S2L", 20, 1), 1);
    EXPECT_EQ(Memory(), "hello#112233abbaabba");
}

TEST_F(QivReadStruct, CodesComeInEitherCase) {
    OpenOver("c11abbaabbaabcddcba");
    EXPECT_EQ(ReadRecords("cslfd", 24, 1), 1);
    EXPECT_EQ(Memory(), "c#11abbaabba\0\0\0\0abcddcba"s);
}

TEST_F(QivReadStruct, FollowsTheFilesByteOrder) {
    OpenOver("\x12\x34\x01\x02\x03\x04");
    qivSetDataFormat(file, kBigEndian, kIeeeNumbers);
    struct {
        int16_t s;
        int32_t l;
    } record = {};
    EXPECT_EQ(qivReadStruct(file, "SL", &record, 1), 1);
    EXPECT_EQ(record.s, 0x1234);
    EXPECT_EQ(record.l, 0x01020304);
}

TEST_F(QivReadStruct, ANestedStructureIsAlignedToItsPadWidth) {
    OpenOver("ab11abcddcbac");
    EXPECT_EQ(ReadRecords("2C{SD}C", 32, 1), 1);
    EXPECT_EQ(Memory(), "ab\0\0\0\0\0\0"
                        "11\0\0\0\0\0\0"
                        "abcddcba"
                        "c\0\0\0\0\0\0\0"s);
}

TEST_F(QivReadStruct, ANestedStructuresEndIsNotPadded) {
    OpenOver("abbacd");
    EXPECT_EQ(ReadRecords("{LC}C", 8, 1), 1);
    EXPECT_EQ(Memory(), "abbacd\0\0"s) << "only the record's own end is";
}

TEST_F(QivReadStruct, AUnionIsPassedOver) {
    OpenOver("cd");
    EXPECT_EQ(ReadRecords("C(L|D|C)C", 24, 1), 1);
    // Aligned to 8 with zeros, 8 bytes untouched, the char, and the end padding.
    EXPECT_EQ(Memory(), "c\0\0\0\0\0\0\0########d\0\0\0\0\0\0\0"s);
    EXPECT_EQ(ReadText(file, 1), "");
}

TEST_F(QivReadStruct, AStretchInBracketsIsOnlyLaidOut) {
    OpenOver("cd");
    EXPECT_EQ(ReadRecords("C[SL]C", 12, 1), 1);
    EXPECT_EQ(Memory(), "c#####\0\0"s.substr(0, 4) + "####d\0\0\0"s);
}

TEST_F(QivReadStruct, AnUnclosedStretchHoldsForLaterRecords) {
    OpenOver("abcd");
    EXPECT_EQ(ReadRecords("C[C", 6, 3), 3);
    EXPECT_EQ(Memory(), "a#####");
    EXPECT_EQ(ReadText(file, 9), "bcd");
}

TEST_F(QivReadStruct, CountsBeforeOtherCodesAreIgnored) {
    OpenOver("abcd");
    EXPECT_EQ(ReadRecords("9{C9}9[C9]9PC9999999999999(C9|C9)C", 5, 1), 1);
    EXPECT_EQ(Memory(), "a#b#c");
}

TEST_F(QivReadStruct, AnUnknownCodeOnlyLowersTheResult) {
    OpenOver("abcdefgh");
    EXPECT_EQ(ReadRecords("C XC", 4, 2), 0) << "-1 in each record, then one for its end";
    EXPECT_EQ(Memory(), "abcd");
    EXPECT_EQ(ReadRecords("C?", 1, 1), 0);
    EXPECT_EQ(ReadRecords("~", 1, 1), 0);
}

TEST_F(QivReadStruct, ClosingBracketsAndPAreNoUnknownCodes) {
    OpenOver("ab");
    EXPECT_EQ(ReadRecords("C)P|}]C", 2, 1), 1);
    EXPECT_EQ(Memory(), "ab");
}

TEST_F(QivReadStruct, TheEndOfTheFileEndsTheTransferWithItsResult) {
    OpenOver("abbadeed");
    EXPECT_EQ(ReadRecords("L", 12, 3), 0);
    EXPECT_EQ(Memory(), "abbadeed####");
}

TEST_F(QivReadStruct, CharsCutShortCountAsRead) {
    OpenOver("abc");
    EXPECT_EQ(ReadRecords("2C", 4, 2), 2);
    EXPECT_EQ(Memory(), "abc#");
}

TEST_F(QivReadStruct, AFailedReadEndsTheTransfer) {
    OpenOver("abcd");
    FailingDisk disk;
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(ReadRecords("C", 1, 1), -1);
    disk.Fail(FailingDisk::kRead, 1);
    EXPECT_EQ(ReadRecords("S", 2, 1), 0) << "typed readers say 0";
}

TEST_F(QivReadStruct, ACountOfZeroEndsTheTransfer) {
    OpenOver("abcd");
    EXPECT_EQ(ReadRecords("C0CC", 3, 1), 0);
    EXPECT_EQ(Memory(), "a##");
    EXPECT_EQ(ReadRecords("C[0C]C", 2, 1), 1);
    EXPECT_EQ(Memory(), "bc");
}

TEST_F(QivReadStruct, NoRecordsReadNothing) {
    OpenOver("abcd");
    EXPECT_EQ(ReadRecords("C", 1, 0), 0);
    EXPECT_EQ(ReadRecords("C", 1, -1), 0);
    EXPECT_EQ(Memory(), "#");
}

TEST_F(QivReadStruct, RecordsWithoutMembersEndAtOnce) {
    OpenOver("abcd");
    EXPECT_EQ(ReadRecords("", 0, 3), 3);
    EXPECT_EQ(ReadRecords("[]{}", 0, INT32_MAX), INT32_MAX);
    EXPECT_EQ(ReadRecords("?", 0, INT32_MAX), 0);
    EXPECT_EQ(ReadRecords("12", 0, 2), 2) << "a count without a code";
}

TEST_F(QivReadStruct, CountsBeyondThirtyOneBitsEndTheTransfer) {
    OpenOver("abcdabcd");
    for (const char *members :
         {"2147483648C", "4294967297C", "18446744073709551617C", "1073741824S", "1073741825S",
          "536870912L", "536870913F", "268435456D", "99999999999999999999999999D"}) {
        const std::string description = "C"s + members;
        EXPECT_EQ(ReadRecords(description.c_str(), 8, 1), -1) << members;
        EXPECT_EQ(Memory()[0], 'a');
        qivSeek(file, 0, kFromStart);
        const std::string skipped = "["s + members;
        EXPECT_EQ(ReadRecords(skipped.c_str(), 0, 1), -1) << members;
    }
    EXPECT_EQ(ReadRecords("[(2147483648C|)]", 0, 1), -1);
    EXPECT_EQ(ReadRecords("[(4294967297C|)]", 0, 1), -1);
}

TEST_F(QivReadStruct, OffsetsBeyondThirtyOneBitsEndTheTransfer) {
    OpenOver("abcd");
    EXPECT_EQ(ReadRecords("[2147483647C]C", 0, 1), -1);
    EXPECT_EQ(ReadRecords("[2147483647C]S", 0, 1), -1) << "the gap alone is too much";
    EXPECT_EQ(ReadRecords("[2147483647C(C|)", 0, 1), -1);
    EXPECT_EQ(ReadRecords("[1073741824C]", 0, 2), -1) << "the second record";
    EXPECT_EQ(ReadRecords("[2147483647C][{D}]", 0, 1), -1);
    EXPECT_EQ(ReadRecords("[2147483647C[2(S|)]", 0, 1), -1);
    EXPECT_EQ(ReadText(file, 4), "abcd");
}

TEST_F(QivReadStruct, BracketsNestedTooDeepEndTheTransfer) {
    OpenOver(std::string(20, 'x'));
    const std::string open64(64, '{');
    const std::string close64(64, '}');
    EXPECT_EQ(ReadRecords((open64 + "C" + close64 + "C").c_str(), 4, 2), 2);
    EXPECT_EQ(ReadRecords((open64 + "{C}" + close64).c_str(), 1, 1), -1);
    EXPECT_EQ(ReadRecords(std::string(1000000, '{').c_str(), 0, 1), -1);
    EXPECT_EQ(ReadRecords(std::string(1000000, '(').c_str(), 0, 1), -1);
    const std::string open40(40, '{');
    EXPECT_EQ(ReadRecords((open40 + std::string(40, '(')).c_str(), 0, 1), -1) << "of both kinds";
    EXPECT_EQ(ReadRecords((std::string(10, '}') + open64 + "{").c_str(), 0, 1), -1)
        << "closing brackets are no credit";
    EXPECT_EQ(ReadRecords((open64 + "C").c_str(), 5, 5), 5) << "each record starts afresh";
    std::string following;
    for (int i = 0; i < 65; ++i)
        following += "{C}";
    qivSeek(file, 0, 0);
    EXPECT_EQ(ReadRecords(("[" + following + "]C").c_str(), 66, 1), 1)
        << "structures that end make room";
    std::string mixed;
    for (int i = 0; i < 100000; ++i)
        mixed += "(}";
    EXPECT_EQ(ReadRecords(mixed.c_str(), 0, 1), -1);
    mixed.clear();
    for (int i = 0; i < 100000; ++i)
        mixed += "({";
    EXPECT_EQ(ReadRecords(mixed.c_str(), 0, 1), -1);
}

TEST_F(QivReadStruct, UnbalancedBracketsEnd) {
    OpenOver("abcdefgh");
    EXPECT_EQ(ReadRecords("C}C", 2, 1), 1);
    EXPECT_EQ(ReadRecords("{C", 1, 1), 1);
    EXPECT_EQ(ReadRecords("C(L|C", 8, 1), 1) << "the union takes the rest of the text";
    EXPECT_EQ(Memory(), "d\0\0\0####"s);
}

TEST_F(QivWriteStruct, PacksTheMembers) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "CSL", "c#11abbac#22deed", 2), 2);
    EXPECT_EQ(Written(), "c11abbac22deed");
}

TEST_F(QivWriteStruct, SkipsGapsAndEndPadding) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "2C{SD}C",
                             "ab######11######abcddcbac#######"
                             "de######22######abcddcbaf#######",
                             2),
              2);
    EXPECT_EQ(Written(), "ab11abcddcbacde22abcddcbaf");
}

TEST_F(QivWriteStruct, WritesFloatsToo) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "cf", "c###abba", 1), 1);
    EXPECT_EQ(Written(), "cabba");
}

TEST_F(QivWriteStruct, FollowsTheFilesByteOrder) {
    Create();
    qivSetDataFormat(file, kBigEndian, kIeeeNumbers);
    const struct {
        int16_t s;
        int32_t l;
    } record = {0x1234, 0x01020304};
    EXPECT_EQ(qivWriteStruct(file, "SL", &record, 1), 1);
    EXPECT_EQ(Written(), "\x12\x34\x01\x02\x03\x04");
}

TEST_F(QivWriteStruct, AStretchInBracketsIsPassedOver) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "C[2C]C", "abcdefgh", 2), 2);
    EXPECT_EQ(Written(), "adeh");
}

TEST_F(QivWriteStruct, AUnionsAlternativesAreWrittenAsMembers) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "C(2C|3C)C", "abcdefg", 1), 0) << "brackets are unknown codes";
    EXPECT_EQ(Written(), "abcdefg");
}

TEST_F(QivWriteStruct, AUnionIsNotAligned) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "C(C|L)", "ab##abba", 1), 0);
    EXPECT_EQ(Written(), "ababba") << "only the long itself is";
}

TEST_F(QivWriteStruct, PIsAnUnknownCode) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "CP", "abc", 3), 0);
    EXPECT_EQ(qivWriteStruct(file, "C|}[]", "abc", 3), 3);
    for (const char *description : {"C ", "CB", "C~", "CT", "C\xE4"})
        EXPECT_EQ(qivWriteStruct(file, description, "a", 1), 0) << description;
    EXPECT_EQ(Written(), "abcabcaaaaa");
}

TEST_F(QivWriteStruct, RecordsAfterAnUnknownCodeDoNotCount) {
    Create();
    // Each record sets -1 and adds one, however many there are.
    EXPECT_EQ(qivWriteStruct(file, "?C", "abcd", 4), 0);
    EXPECT_EQ(Written(), "abcd");
}

TEST_F(QivWriteStruct, AFailedWriteIsTheResult) {
    Create();
    WriteText(file, std::string(12287, 'x'));
    FailingDisk disk;
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(qivWriteStruct(file, "CC", "abcd", 2), -1);
    EXPECT_EQ(qivWriteStruct(file, "CC", "abcd", 2), 0);
}

TEST_F(QivWriteStruct, CountsBeyondThirtyOneBitsEndTheTransferBeforeThem) {
    Create();
    EXPECT_EQ(qivWriteStruct(file, "C4294967297C", "ab", 1), -1);
    EXPECT_EQ(qivWriteStruct(file, "C[2147483647C", "ab", 1), -1);
    EXPECT_EQ(qivWriteStruct(file, std::string(100, '{').c_str(), "ab", 1), -1);
    EXPECT_EQ(Written(), "aa");
}

TEST(GetPadWidth, IsTheLargestAlignment) {
    EXPECT_EQ(GetPadWidth(""), 1);
    EXPECT_EQ(GetPadWidth("7C"), 1);
    EXPECT_EQ(GetPadWidth("CS"), 2);
    EXPECT_EQ(GetPadWidth("CsL"), 4);
    EXPECT_EQ(GetPadWidth("SF"), 4);
    EXPECT_EQ(GetPadWidth("fdc"), 8);
    EXPECT_EQ(GetPadWidth("LS"), 4) << "a smaller one later changes nothing";
    EXPECT_EQ(GetPadWidth("[L]P|?"), 4);
}

TEST(GetPadWidth, CountsNestedMembers) {
    EXPECT_EQ(GetPadWidth("2C{SD}C"), 8);
    EXPECT_EQ(GetPadWidth("C{C(S|L)}S"), 4);
}

TEST(GetPadWidth, FromABracketOnItStopsAtTheMatchingOne) {
    EXPECT_EQ(GetPadWidth("{C}D"), 1);
    EXPECT_EQ(GetPadWidth("{C{S}C}D"), 2);
    EXPECT_EQ(GetPadWidth("(C|S)D"), 2);
    EXPECT_EQ(GetPadWidth("{"), 1);
    EXPECT_EQ(GetPadWidth("C}D"), 1) << "a closing bracket too many ends the text";
}

struct UnionCase {
    const char *text;
    uint32_t size;
    int end;
};

TEST(GetUnionSize, IsTheLargestAlternativeButTheLast) {
    const UnionCase cases[] = {
        {"(L|D|C)", 8, 6},     {"(C|L)", 1, 4},    {"(L|C|S|C)X", 4, 8}, {"(3C|S)", 3, 5},
        {"(c2s|L)", 6, 6},     {"(CL|C)", 8, 5},   {"(CF|C)", 8, 5},     {"(CD|C)", 16, 5},
        {"(C{LC}C|C)", 10, 9}, {"(2{C}|C)", 1, 7}, {"(CP?[C]|C)", 2, 9}, {"(C((D|C)|L)|C)", 16, 13},
        {"(C(L|S)C|C)", 9, 10}};
    for (const UnionCase &c : cases) {
        uint32_t size = 77;
        EXPECT_EQ(GetUnionSize(c.text, &size), c.text + c.end) << c.text;
        EXPECT_EQ(size, c.size) << c.text;
    }
}

TEST(GetUnionSize, TheLastAlternativeNeverCounts) {
    uint32_t size = 77;
    const char *text = "(L)C";
    EXPECT_EQ(GetUnionSize(text, &size), text + 2);
    EXPECT_EQ(size, 0u);
}

TEST(GetUnionSize, TheSizeIsNotPadded) {
    uint32_t size = 77;
    GetUnionSize("(LC|D)", &size);
    EXPECT_EQ(size, 5u);
}

TEST(GetUnionSize, EndsAtTheEndOfTheText) {
    const UnionCase cases[] = {{"", 0, 0},    {"(", 0, 1},    {"()", 0, 1},   {"(3", 0, 2},
                               {"(3)", 0, 2}, {"(C|S", 1, 4}, {"(C|(S", 1, 5}};
    for (const UnionCase &c : cases) {
        uint32_t size = 77;
        EXPECT_EQ(GetUnionSize(c.text, &size), c.text + c.end) << c.text;
        EXPECT_EQ(size, c.size) << c.text;
    }
}

// 64 brackets inside each other, the union's own among them, and no more.
TEST(GetUnionSize, BracketsOfBothKindsCountAsNesting) {
    uint32_t size = 77;
    GetUnionSize(std::string(64, '(').c_str(), &size);
    EXPECT_EQ(size, 0u);
    GetUnionSize(std::string(65, '(').c_str(), &size);
    EXPECT_EQ(size, 0xFFFFFFFFu);
    GetUnionSize(("(" + std::string(63, '{') + "C|").c_str(), &size);
    EXPECT_EQ(size, 1u);
    GetUnionSize(("(" + std::string(64, '{') + "C|").c_str(), &size);
    EXPECT_EQ(size, 0xFFFFFFFFu);
    std::string siblings = "(";
    for (int i = 0; i < 100; ++i)
        siblings += "{C}";
    GetUnionSize((siblings + "|C)").c_str(), &size);
    EXPECT_EQ(size, 100u) << "one after another is not inside each other";
}

// 64 brackets are as many as there may be, whichever of them are a union's.
TEST_F(QivReadStruct, UnionsCountAsNestingToTheLimit) {
    OpenOver(std::string(20, 'x'));
    const auto read = [&](int outer, const std::string &text) {
        const std::string description = std::string(static_cast<size_t>(outer), '{') + text + "C";
        return ReadRecords(description.c_str(), 8, 1);
    };
    EXPECT_EQ(read(63, "(C|)"), 1);
    EXPECT_EQ(read(64, "(C|)"), -1);
    EXPECT_EQ(read(62, "({C}|)"), 1);
    EXPECT_EQ(read(63, "({C}|)"), -1);
    EXPECT_EQ(read(62, "((C|)|)"), 1);
    EXPECT_EQ(read(63, "((C|)|)"), -1);
    EXPECT_EQ(read(61, "({(C|)}|)"), 1);
    EXPECT_EQ(read(62, "({(C|)}|)"), -1);
    EXPECT_EQ(read(61, "({C}{(C|)}|)"), 1) << "a closed bracket does not count";
}

TEST(GetUnionSize, WhatCannotBeMeasuredIsAsLargeAsCanBe) {
    uint32_t size = 77;
    GetUnionSize("(4294967295C|)", &size);
    EXPECT_EQ(size, 0xFFFFFFFFu);
    GetUnionSize("(536870912D|)", &size);
    EXPECT_EQ(size, 0xFFFFFFFFu) << "2 to the 32 is one too many";
    GetUnionSize("(99999999999999999999D9D|)", &size);
    EXPECT_EQ(size, 0xFFFFFFFFu);
    const std::string deep(1000000, '(');
    EXPECT_EQ(GetUnionSize(deep.c_str(), &size), deep.c_str() + deep.size());
    EXPECT_EQ(size, 0xFFFFFFFFu);
}

} // namespace
} // namespace kowen
