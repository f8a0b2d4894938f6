// Huffman codes as the entropy kernels look them up.
#pragma once

#include <cstdint>

namespace kowen {

/// A code of at most 26 bits and its length in one word: the bits left-aligned, the length in the
/// low 6 bits. 0 emits nothing.
using PackedCode = uint32_t;

inline constexpr uint32_t kLengthMask = 63; ///< of a PackedCode

/// The low length bits of bits, of which the others are 0.
constexpr PackedCode Packed(uint32_t bits, uint32_t length) noexcept {
    return length == 0 ? 0 : bits << (32 - length) | length;
}

inline constexpr uint32_t kAcSymbols = 256;
inline constexpr uint32_t kDcCodes = 32;    ///< of any 16-bit difference
inline constexpr uint32_t kShortRuns = 16;  ///< zeros before the coefficient, 0 to 15
inline constexpr int32_t kShortReach = 128; ///< coefficients from -128 to 127
inline constexpr uint32_t kShortCoefficients = 2 * kShortReach;
inline constexpr uint32_t kShortCodes = kShortRuns * kShortCoefficients;
inline constexpr uint32_t kDifferences = 4096;

/// The codes of one DC and one AC table as lookup tables.
struct CodeTables {
    /// What EncodeACCoef emits for a run and a coefficient, code and appended bits in one: at
    /// run x 256 + coefficient + 128. Run 15 before 0 is the code for 16 zeros, run 0 before 0 the
    /// end of the block.
    PackedCode ofCoefficient[kShortCodes];
    /// What EncodeDC emits for a difference d, likewise: at d for d >= 0, at 4095 + d else.
    PackedCode ofDifference[kDifferences];
    /// The codes alone, by run x 16 + category.
    PackedCode ofSymbol[kAcSymbols];
    /// The codes of the DC categories alone; 0 for those that no difference has.
    PackedCode ofDcCategory[kDcCodes];
};

/// The lookup tables of an operation's codes, as CreateCodes makes them; built once by the process.
///
/// number  0 luminance, 1 chrominance.
const CodeTables *CodeTablesFor(int32_t operation, int32_t number) noexcept;

} // namespace kowen
