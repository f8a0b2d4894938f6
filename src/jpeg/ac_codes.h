// AC codes as the entropy kernels look them up.
#pragma once

#include "jpeg/huffman_entry.h"

#include <cstdint>

namespace kowen {

inline constexpr uint32_t kAcSymbols = 256;
inline constexpr uint32_t kShortRuns = 16; ///< zeros before the coefficient, 0 to 15
inline constexpr int32_t kShortReach = 64; ///< coefficients from -64 to 63
inline constexpr uint32_t kShortCoefficients = 2 * kShortReach;
inline constexpr uint32_t kShortCodes = kShortRuns * kShortCoefficients;

/// One AC table's codes as lookup tables.
struct AcCodes {
    /// What EncodeACCoef emits for a run and a coefficient, Huffman code and appended bits in one,
    /// at run x 128 + coefficient + 64.
    HuffmanEntry ofCoefficient[kShortCodes];
    /// A symbol's code x 256 + its length.
    uint32_t ofSymbol[kAcSymbols];
};

/// The lookup tables of a code table.
///
/// codes  257 entries by symbol.
/// Cached by the process for as long as few tables are in use: the filter has two an operation.
const AcCodes *AcCodesOf(const HuffmanEntry *codes) noexcept;

} // namespace kowen
