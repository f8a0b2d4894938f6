// The forward DCT: accurate, in integers.
#pragma once

#include <cstdint>

namespace kowen {

/// Transforms one block in place: the separable integer transform of Loeffler, Ligtenberg and
/// Moschytz (ICASSP 1989) with 13-bit constants and 2 extra bits between the passes.
///
/// block  64 level-shifted samples, row-major; replaced by coefficients at the scale of T.81
///        A.3.3 times 1: a flat block of samples s has a DC of 8 s.
void ForwardDCT(int16_t *block) noexcept;

} // namespace kowen
