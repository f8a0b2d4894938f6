// Constants of the forward DCT: value x 8192, rounded.
#pragma once

#include <cstdint>

namespace kowen {

inline constexpr int32_t kFix0_298631336 = 2446;
inline constexpr int32_t kFix0_390180644 = 3196;
inline constexpr int32_t kFix0_541196100 = 4433;
inline constexpr int32_t kFix0_765366865 = 6270;
inline constexpr int32_t kFix0_899976223 = 7373;
inline constexpr int32_t kFix1_175875602 = 9633;
inline constexpr int32_t kFix1_501321110 = 12299;
inline constexpr int32_t kFix1_847759065 = 15137;
inline constexpr int32_t kFix1_961570560 = 16069;
inline constexpr int32_t kFix2_053119869 = 16819;
inline constexpr int32_t kFix2_562915447 = 20995;
inline constexpr int32_t kFix3_072711026 = 25172;

} // namespace kowen
