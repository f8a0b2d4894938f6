// Huffman code tables: built from constant code-length lists, the same that the file carries.
#pragma once

#include <cstdint>

namespace kowen {

struct HuffmanEntry;

inline constexpr int kCodeLengths = 17;  ///< element 0 is ignored, l = codes of l bits
inline constexpr int kDcCategories = 12; ///< DC symbols 0..11 are their own values
inline constexpr int kSequentialAcSymbols = 162;
inline constexpr int kProgressiveAcSymbols = 176; ///< with the end-of-band runs EOB1..EOB14
inline constexpr int kDcDifferences = 4096;
inline constexpr int32_t kNoCategory = 13; ///< CSize of a value with a magnitude above 2047

extern const uint8_t DC1_CodeLens[kCodeLengths];
extern const uint8_t DC2_CodeLens[kCodeLengths];
extern const uint8_t AC1_CodeLens[kCodeLengths];
extern const uint8_t AC2_CodeLens[kCodeLengths];
extern const uint8_t AC1P_CodeLens[kCodeLengths];
extern const uint8_t AC2P_CodeLens[kCodeLengths];
extern const uint8_t HuffVal1[kProgressiveAcSymbols];
extern const uint8_t HuffVal2[kProgressiveAcSymbols];

/// Builds the six tables for an operation: the standard AC lists for 245, the progressive ones for
/// any other. tables: six locked tables, see HuffmanSlot.
/// Returns 0, -1 if a table could not be built (with the constant lists that cannot happen).
int32_t CreateTblsFor(HuffmanEntry *const *tables, int32_t operation) noexcept;

/// The first four of them, by category and by symbol, of which CodeTables are made. Returns as
/// CreateTblsFor.
int32_t CreateCodes(HuffmanEntry *const *tables, int32_t operation) noexcept;

/// Returns the magnitude category of v: 0 for 0, n from 1 to 11 for 2^(n-1) <= |v| < 2^n,
/// kNoCategory for more.
int32_t CSize(int32_t v) noexcept;

/// Builds one code table in code order (T.81 figures C.1 and C.2); tables 2 and 3 are put in
/// symbol order.
///
/// tables       six locked tables; tables[number] is written.
/// codeLengths  17 counts.
/// number       0 to 3: see HuffmanSlot.
/// Returns 0.
int32_t CreateHuffCodes(HuffmanEntry *const *tables, const uint8_t *codeLengths,
                        int32_t number) noexcept;

/// Rearranges a code table from code order to symbol order.
///
/// table   257 entries; the first count of them in code order.
/// count   number of codes: 162 or 176.
/// number  2: symbols of HuffVal1; 3: of HuffVal2.
/// Returns 0. Symbols without a code get an empty entry.
int32_t OrderHuffCodes(HuffmanEntry *table, int32_t count, int32_t number) noexcept;

/// Builds a table of whole DC differences: code and appended bits together.
///
/// differences  4096 entries by DcDifferenceIndex; entry 4095 is left empty.
/// dcCodes      the DC code table by category.
/// Returns 0; every category has a code.
int32_t CreateDCDiffTbl(HuffmanEntry *differences, const HuffmanEntry *dcCodes) noexcept;

/// Place of a DC difference -2047..2047 in its table.
///
/// Kept deliberately: -1 stands at 4094 and -2047 at 2048, so 4095 is never used.
/// Test: CreateDCDiffTbl.NegativeDifferencesCountDownFrom4094.
constexpr int32_t DcDifferenceIndex(int32_t difference) noexcept {
    return difference >= 0 ? difference : difference + kDcDifferences - 1;
}

} // namespace kowen
