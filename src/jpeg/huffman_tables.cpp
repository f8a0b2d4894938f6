#include "jpeg/huffman_tables.h"

#include "jpeg/compress_env.h"
#include "jpeg/table_cache.h"
#include "platform/state.h"
#include "setup/setup.h"

#include <bit>
#include <cstring>

namespace kowen {

// T.81 table K.3; sum = 12.
const uint8_t DC1_CodeLens[kCodeLengths] = {0, 0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
// T.81 table K.4; sum = 12.
const uint8_t DC2_CodeLens[kCodeLengths] = {0, 0, 3, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0};
// T.81 table K.5; sum = 162.
const uint8_t AC1_CodeLens[kCodeLengths] = {0, 0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125};
// T.81 table K.6; sum = 162.
const uint8_t AC2_CodeLens[kCodeLengths] = {0, 0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 4, 0, 1, 2, 119};
// The counts of K.5 and K.6 for lengths 1 to 11; every other code, the 14 end-of-band runs
// included, has 16 bits. Sums = 176.
const uint8_t AC1P_CodeLens[kCodeLengths] = {0, 0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 0, 0, 0, 0, 144};
const uint8_t AC2P_CodeLens[kCodeLengths] = {0, 0, 2, 1, 2, 4, 4, 3, 4, 7, 5, 4, 0, 0, 0, 0, 140};

// T.81 table K.5, run x 16 + size in code order, then EOB1 to EOB14 of progressive coding.
const uint8_t HuffVal1[kProgressiveAcSymbols] = {
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61, 0x07,
    0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52, 0xD1, 0xF0,
    0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0A, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x25, 0x26, 0x27, 0x28,
    0x29, 0x2A, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48, 0x49,
    0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69,
    0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89,
    0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7,
    0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3, 0xC4, 0xC5,
    0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE1, 0xE2,
    0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8,
    0xF9, 0xFA, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80, 0x90, 0xA0, 0xB0, 0xC0, 0xD0, 0xE0,
};

// T.81 table K.6, likewise.
const uint8_t HuffVal2[kProgressiveAcSymbols] = {
    0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07, 0x61, 0x71,
    0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xA1, 0xB1, 0xC1, 0x09, 0x23, 0x33, 0x52, 0xF0,
    0x15, 0x62, 0x72, 0xD1, 0x0A, 0x16, 0x24, 0x34, 0xE1, 0x25, 0xF1, 0x17, 0x18, 0x19, 0x1A, 0x26,
    0x27, 0x28, 0x29, 0x2A, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45, 0x46, 0x47, 0x48,
    0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68,
    0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87,
    0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A, 0xA2, 0xA3, 0xA4, 0xA5,
    0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6, 0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3,
    0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3, 0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA,
    0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8,
    0xF9, 0xFA, 0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80, 0x90, 0xA0, 0xB0, 0xC0, 0xD0, 0xE0,
};

int32_t CSize(int32_t v) noexcept {
    const uint32_t magnitude = v < 0 ? 0u - static_cast<uint32_t>(v) : static_cast<uint32_t>(v);
    return magnitude > 2047 ? kNoCategory : static_cast<int32_t>(std::bit_width(magnitude));
}

int32_t OrderHuffCodes(HuffmanEntry *table, int32_t count, int32_t number) noexcept {
    const uint8_t *symbols = number == kAcLuminance ? HuffVal1 : HuffVal2;
    HuffmanEntry ordered[256] = {};
    for (int32_t k = 0; k < count; ++k)
        ordered[symbols[k]] = table[k];
    std::memcpy(table, ordered, sizeof(ordered));
    return 0;
}

int32_t CreateHuffCodes(HuffmanEntry *const *tables, const uint8_t *codeLengths,
                        int32_t number) noexcept {
    HuffmanEntry *table = tables[number];
    int32_t count = 0;
    for (int length = 1; length <= 16; ++length)
        for (int i = 0; i < codeLengths[length]; ++i)
            table[count++].length = static_cast<uint8_t>(length);
    table[count].length = 0;

    uint32_t code = 0;
    uint8_t length = table[0].length;
    for (int32_t k = 0; k < count; ++length, code <<= 1)
        while (k < count && table[k].length == length)
            table[k++].code = code++;

    if (number == kAcLuminance || number == kAcChrominance)
        return OrderHuffCodes(table, count, number);
    return 0;
}

namespace {

// The differences d and -d of a category: its code, then the category's low bits of d, or of the
// negative one less 1 (T.81 F.1.2.1.1).
void JoinCodeAndBits(HuffmanEntry *differences, const HuffmanEntry &dcCode, int32_t category) {
    const int32_t end = 1 << category;
    const uint32_t code = dcCode.code << category;
    const uint32_t mask = static_cast<uint32_t>(end) - 1u;
    const auto length = static_cast<uint8_t>(dcCode.length + category);
    for (int32_t d = end / 2; d < end; ++d) {
        differences[d] = {code | static_cast<uint32_t>(d), length};
        differences[DcDifferenceIndex(-d)] = {code | (~static_cast<uint32_t>(d) & mask), length};
    }
}

struct DcDifferences {
    HuffmanEntry entries[kDcDifferences - 1];
};

void Make(DcDifferences &table, const HuffmanEntry *dcCodes) {
    for (int32_t category = 0; category < kDcCategories; ++category)
        JoinCodeAndBits(table.entries, dcCodes[category], category);
}

// Every export needs both; copying is much faster than building.
constinit TableCache<DcDifferences, kDcCategories, 2> dcDifferences;

} // namespace

int32_t CreateDCDiffTbl(HuffmanEntry *differences, const HuffmanEntry *dcCodes) noexcept {
    const DcDifferences &table = dcDifferences.Of(dcCodes, Make);
    std::memcpy(differences, table.entries, sizeof(table.entries));
    return 0;
}

int32_t CreateTblsFor(HuffmanEntry *const *tables, int32_t operation) noexcept {
    const bool sequential = operation == KOWEN_OPERATION_SEQUENTIAL;
    const uint8_t *const lists[] = {DC1_CodeLens, DC2_CodeLens,
                                    sequential ? AC1_CodeLens : AC1P_CodeLens,
                                    sequential ? AC2_CodeLens : AC2P_CodeLens};
    for (int32_t number = kDcLuminance; number <= kAcChrominance; ++number)
        if (CreateHuffCodes(tables, lists[number], number) != 0)
            return -1;
    if (CreateDCDiffTbl(tables[kDcDiffLuminance], tables[kDcLuminance]) != 0)
        return -1;
    return CreateDCDiffTbl(tables[kDcDiffChrominance], tables[kDcChrominance]);
}

int32_t CreateTbls(HuffmanEntry *const *tables) noexcept {
    return CreateTblsFor(tables,
                         lpRaster != nullptr ? lpRaster->operation : KOWEN_OPERATION_SEQUENTIAL);
}

} // namespace kowen
