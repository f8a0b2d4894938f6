// The ranges of the settings, limits included. NaN is outside of every range.
#pragma once

#include "kowen/codes.h"

#include <cstdint>

namespace kowen {

inline constexpr bool ResolutionIsValid(int32_t dotsPerInch) noexcept {
    return dotsPerInch >= KOWEN_MIN_RESOLUTION && dotsPerInch <= KOWEN_MAX_RESOLUTION;
}

inline constexpr bool InchesAreValid(double inches) noexcept {
    return inches >= KOWEN_MIN_INCHES && inches <= KOWEN_MAX_INCHES;
}

inline constexpr bool QualityIsValid(int32_t quality) noexcept {
    return quality >= KOWEN_MIN_QUALITY && quality <= KOWEN_MAX_QUALITY;
}

} // namespace kowen
