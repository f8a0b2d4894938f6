// AC codes of small coefficients: Huffman code and appended bits in one entry.
#pragma once

#include "jpeg/huffman_entry.h"

#include <cstdint>

namespace kowen {

inline constexpr uint32_t kShortRuns = 16; ///< zeros before the coefficient, 0 to 15
inline constexpr int32_t kShortReach = 64; ///< coefficients from -64 to 63
inline constexpr uint32_t kShortCoefficients = 2 * kShortReach;
inline constexpr uint32_t kShortCodes = kShortRuns * kShortCoefficients;

/// What EncodeACCoef emits for a run and a coefficient, at run x 128 + coefficient + 64.
///
/// codes  257 entries by symbol.
/// Returns kShortCodes entries, kept by the process for as long as few tables are in use: the
/// filter has two for each operation.
const HuffmanEntry *ShortCodes(const HuffmanEntry *codes) noexcept;

} // namespace kowen
