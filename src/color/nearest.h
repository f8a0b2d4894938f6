// The nearest colour of a table.
#pragma once

#include <cstdint>

namespace kowen {

/// A colour whose channels differ by at most this much counts as a grey request.
inline constexpr int32_t kGreyTolerance = 4;

/// Whether a table's entry counts as grey.
constexpr bool IsGreyEntry(const uint8_t *entry) noexcept {
    return entry[0] == entry[1] && entry[1] == entry[2];
}

/// Returns the index of the table's entry nearest to (red, green, blue) by squared distance; the
/// lowest of equally near ones; 0 when none qualifies.
///
/// table  size entries of 3 bytes red, green, blue; borrowed.
///
/// Kept deliberately: a grey request (kGreyTolerance) looks at grey entries only (three equal
/// bytes), any other at the others only, however much nearer one of the other kind is: greys never
/// turn into tints, nor colours into greys.
/// Test: RlNearestRGBIndex.AColourNeverBecomesANearerGrey.
int32_t rlNearestRGBIndex(int32_t red, int32_t green, int32_t blue, const uint8_t *table,
                          uint32_t size) noexcept;

} // namespace kowen
