#include "jpeg/huffman_tables.h"

#include "jpeg/compress_env.h"
#include "reference/jpeg/bits.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

constexpr int kTableEntries[kHuffmanTables] = {13, 13, 257, 257, 4096, 4096};

/// Six tables of the sizes that AllocMem gives them.
class Tables {
public:
    Tables() {
        for (size_t i = 0; i < kHuffmanTables; ++i) {
            storage_[i].resize(static_cast<size_t>(kTableEntries[i]));
            pointers_[i] = storage_[i].data();
        }
    }
    HuffmanEntry *const *Get() const { return pointers_.data(); }
    const HuffmanEntry &At(int table, int place) const {
        return storage_[static_cast<size_t>(table)].at(static_cast<size_t>(place));
    }

private:
    std::array<std::vector<HuffmanEntry>, kHuffmanTables> storage_;
    std::array<HuffmanEntry *, kHuffmanTables> pointers_;
};

void ExpectCode(const HuffmanEntry &entry, uint32_t code, int length) {
    EXPECT_EQ(entry.code, code);
    EXPECT_EQ(entry.length, length);
}

void ExpectList(const uint8_t *codeLengths, const uint8_t *symbols,
                const reference::HuffmanList &expected) {
    for (size_t length = 1; length <= 16; ++length)
        EXPECT_EQ(codeLengths[length], expected.counts[length - 1]) << length;
    if (symbols == nullptr)
        return;
    for (size_t i = 0; i < expected.symbols.size(); ++i)
        EXPECT_EQ(symbols[i], expected.symbols[i]) << i;
}

TEST(HuffmanLists, AreThoseOfTheStandard) {
    const auto lists = reference::SequentialLists();
    ExpectList(DC1_CodeLens, nullptr, lists.dc[0]);
    ExpectList(DC2_CodeLens, nullptr, lists.dc[1]);
    ExpectList(AC1_CodeLens, HuffVal1, lists.ac[0]);
    ExpectList(AC2_CodeLens, HuffVal2, lists.ac[1]);
}

TEST(HuffmanLists, ProgressiveOnesHaveTheEndOfBandRuns) {
    const auto lists = reference::ProgressiveLists();
    ExpectList(AC1P_CodeLens, HuffVal1, lists.ac[0]);
    ExpectList(AC2P_CodeLens, HuffVal2, lists.ac[1]);
    for (int run = 1; run <= 14; ++run) {
        EXPECT_EQ(HuffVal1[162 + run - 1], run * 16);
        EXPECT_EQ(HuffVal2[162 + run - 1], run * 16);
    }
}

TEST(CSize, IsTheNumberOfBitsOfTheMagnitude) {
    EXPECT_EQ(CSize(0), 0);
    EXPECT_EQ(CSize(1), 1);
    EXPECT_EQ(CSize(-1), 1);
    EXPECT_EQ(CSize(2), 2);
    EXPECT_EQ(CSize(3), 2);
    EXPECT_EQ(CSize(-3), 2);
    EXPECT_EQ(CSize(4), 3);
    EXPECT_EQ(CSize(1023), 10);
    EXPECT_EQ(CSize(1024), 11);
    EXPECT_EQ(CSize(2047), 11);
    EXPECT_EQ(CSize(-2047), 11);
    for (int v = -2047; v <= 2047; ++v)
        ASSERT_EQ(CSize(v), reference::Category(v)) << v;
}

TEST(CSize, GivesThirteenFromTwoThousandFortyEightOn) {
    EXPECT_EQ(CSize(2048), 13);
    EXPECT_EQ(CSize(-2048), 13);
    EXPECT_EQ(CSize(INT32_MAX), 13);
    EXPECT_EQ(CSize(INT32_MIN), 13);
}

TEST(CreateHuffCodes, CountsUpWithinALengthAndDoublesBetweenLengths) {
    const Tables tables;
    EXPECT_EQ(CreateHuffCodes(tables.Get(), DC1_CodeLens, kDcLuminance), 0);
    ExpectCode(tables.At(0, 0), 0b00, 2);
    ExpectCode(tables.At(0, 1), 0b010, 3);
    ExpectCode(tables.At(0, 5), 0b110, 3);
    ExpectCode(tables.At(0, 6), 0b1110, 4);
    ExpectCode(tables.At(0, 11), 0b111111110, 9);
    EXPECT_EQ(tables.At(0, 12).length, 0); // the end mark
}

TEST(CreateHuffCodes, ChrominanceCategoriesReachElevenBits) {
    const Tables tables;
    EXPECT_EQ(CreateHuffCodes(tables.Get(), DC2_CodeLens, kDcChrominance), 0);
    ExpectCode(tables.At(1, 0), 0b00, 2);
    ExpectCode(tables.At(1, 2), 0b10, 2);
    ExpectCode(tables.At(1, 3), 0b110, 3);
    ExpectCode(tables.At(1, 11), 0b11111111110, 11);
}

TEST(CreateHuffCodes, StartsAtTheFirstLengthThatIsUsedAndSkipsEmptyOnes) {
    const Tables tables;
    const uint8_t lengths[kCodeLengths] = {99, 0, 1, 0, 0, 2};
    EXPECT_EQ(CreateHuffCodes(tables.Get(), lengths, kDcLuminance), 0);
    ExpectCode(tables.At(0, 0), 0b00, 2);
    ExpectCode(tables.At(0, 1), 0b01000, 5);
    ExpectCode(tables.At(0, 2), 0b01001, 5);
    EXPECT_EQ(tables.At(0, 3).length, 0);
}

TEST(OrderHuffCodes, MovesEachCodeToItsSymbol) {
    std::vector<HuffmanEntry> table(257);
    for (uint32_t k = 0; k < 162; ++k)
        table[k] = {1000 + k, 7};
    EXPECT_EQ(OrderHuffCodes(table.data(), 162, kAcLuminance), 0);
    ExpectCode(table[0x01], 1000, 7); // first of table K.5
    ExpectCode(table[0x02], 1001, 7);
    ExpectCode(table[0x00], 1003, 7);
    ExpectCode(table[0xFA], 1161, 7); // last
    EXPECT_EQ(table[0x10].length, 0); // no code
    EXPECT_EQ(table[0xFF].length, 0);
}

TEST(OrderHuffCodes, ChrominanceHasAnOrderOfItsOwn) {
    std::vector<HuffmanEntry> table(257);
    for (uint32_t k = 0; k < 176; ++k)
        table[k] = {1000 + k, 7};
    EXPECT_EQ(OrderHuffCodes(table.data(), 176, kAcChrominance), 0);
    ExpectCode(table[0x00], 1000, 7); // first of table K.6
    ExpectCode(table[0x11], 1004, 7);
    ExpectCode(table[0x10], 1162, 7); // first that follows the standard's
    ExpectCode(table[0xE0], 1175, 7);
}

// The tables hold exactly the codes of the lists, by symbol, and nothing for other symbols.
void ExpectAcTable(const Tables &tables, int number, const reference::HuffmanList &list) {
    const auto codes = reference::CodesOf(list);
    for (int symbol = 0; symbol < 256; ++symbol) {
        const auto found = codes.find(symbol);
        const reference::Code code = found == codes.end() ? reference::Code{} : found->second;
        ASSERT_EQ(tables.At(number, symbol).length, code.length) << number << ": " << symbol;
        if (code.length != 0) {
            ASSERT_EQ(tables.At(number, symbol).code, code.bits) << number << ": " << symbol;
        }
    }
}

TEST(CreateTblsFor, SequentialGivesTheStandardCodes) {
    const Tables tables;
    EXPECT_EQ(CreateTblsFor(tables.Get(), KOWEN_OPERATION_SEQUENTIAL), 0);
    ExpectCode(tables.At(2, 0x00), 0b1010, 4);
    ExpectCode(tables.At(2, 0xF0), 0b11111111001, 11);
    ExpectCode(tables.At(2, 0xFA), 0b1111111111111110, 16);
    ExpectCode(tables.At(3, 0x00), 0b00, 2);
    ExpectCode(tables.At(3, 0xF0), 0b1111111010, 10);
    EXPECT_EQ(tables.At(2, 0x10).length, 0);
    const auto lists = reference::SequentialLists();
    ExpectAcTable(tables, 2, lists.ac[0]);
    ExpectAcTable(tables, 3, lists.ac[1]);
}

TEST(CreateTblsFor, ProgressiveAddsTheEndOfBandRuns) {
    const Tables tables;
    EXPECT_EQ(CreateTblsFor(tables.Get(), KOWEN_OPERATION_PROGRESSIVE), 0);
    ExpectCode(tables.At(2, 0x00), 0b1010, 4);
    ExpectCode(tables.At(2, 0xF0), 0b11111111001, 11);
    ExpectCode(tables.At(2, 0x10), 0xFFC2, 16); // 16-bit codes from FF40; 130 stand before it
    ExpectCode(tables.At(2, 0xE0), 0xFFCF, 16);
    const auto lists = reference::ProgressiveLists();
    ExpectAcTable(tables, 2, lists.ac[0]);
    ExpectAcTable(tables, 3, lists.ac[1]);
}

TEST(CreateTblsFor, AnyOtherOperationTakesTheProgressiveLists) {
    const Tables tables;
    EXPECT_EQ(CreateTblsFor(tables.Get(), 0), 0);
    EXPECT_EQ(tables.At(2, 0x10).length, 16);
}

TEST(CreateDCDiffTbl, JoinsTheCategoryCodeAndTheBits) {
    const Tables tables;
    EXPECT_EQ(CreateTblsFor(tables.Get(), KOWEN_OPERATION_SEQUENTIAL), 0);
    ExpectCode(tables.At(4, 0), 0b00, 2);
    ExpectCode(tables.At(4, 3), 0b01111, 5);
    ExpectCode(tables.At(4, 1), 0b0101, 4);
    ExpectCode(tables.At(4, 2047), 0b11111111011111111111, 20);
    ExpectCode(tables.At(5, 2047), 0b1111111111011111111111, 22);
    ExpectCode(tables.At(5, 1), 0b011, 3);
}

TEST(CreateDCDiffTbl, NegativeDifferencesCountDownFrom4094) {
    const Tables tables;
    EXPECT_EQ(CreateTblsFor(tables.Get(), KOWEN_OPERATION_SEQUENTIAL), 0);
    ExpectCode(tables.At(4, 4094), 0b0100, 4);                  // -1
    ExpectCode(tables.At(4, 4092), 0b01100, 5);                 // -3
    ExpectCode(tables.At(4, 2048), 0b11111111000000000000, 20); // -2047
    EXPECT_EQ(tables.At(4, 4095).length, 0);
    EXPECT_EQ(tables.At(5, 4095).length, 0);
    EXPECT_EQ(DcDifferenceIndex(-1), 4094);
    EXPECT_EQ(DcDifferenceIndex(-2047), 2048);
    EXPECT_EQ(DcDifferenceIndex(0), 0);
    EXPECT_EQ(DcDifferenceIndex(2047), 2047);
}

TEST(CreateDCDiffTbl, EveryDifferenceIsItsCategoryAndItsBits) {
    const Tables tables;
    EXPECT_EQ(CreateTblsFor(tables.Get(), KOWEN_OPERATION_SEQUENTIAL), 0);
    const auto lists = reference::SequentialLists();
    for (int table = 0; table < 2; ++table) {
        auto codes = reference::CodesOf(lists.dc[table]);
        for (int d = -2047; d <= 2047; ++d) {
            const int category = reference::Category(d);
            const uint32_t bits = reference::AppendedBits(d) & ((1u << category) - 1);
            const HuffmanEntry &entry = tables.At(4 + table, d < 0 ? d + 4095 : d);
            ASSERT_EQ(entry.code, (codes[category].bits << category) | bits) << d;
            ASSERT_EQ(entry.length, codes[category].length + category) << d;
        }
    }
}

} // namespace
} // namespace kowen
