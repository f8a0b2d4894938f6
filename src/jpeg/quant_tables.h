// Quantisation tables and the zig-zag order.
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;

/// For each zig-zag position the row-major index of its coefficient. T.81 figure A.6.
inline constexpr int16_t ZZ[64] = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63,
};

/// The unscaled tables, row-major: 0 is T.81 table K.1, 1 is table K.2.
extern const int16_t kBaseQuantTable[2][64];

/// Fills both quantisation tables: ceil(base x (3700 - 36 x quality) / 1000).
///
/// quality  1 to 100; 75 gives the standard's tables, 100 values from 1 to 13.
/// Returns 0.
///
/// Kept deliberately: no upper limit; a quality of 44 and below gives quantisers above 255.
/// Test: SetQTable.LowQualitiesPassTwoHundredFiftyFive.
/// Hardened: a quality above 102, which no setup can hold, gives quantisers of 1, not 0.
/// Test: SetQTable.QualitiesBeyondAnySetupGiveOnesNotZeros.
int32_t SetQTable(CompressEnv *env, int32_t quality, int32_t colorFormatIgnored) noexcept;

} // namespace kowen
