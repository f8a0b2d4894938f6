// The nearest colour of a table.
//
// Not on the export path.
#pragma once

#include <cstdint>

namespace kowen {

/// Returns the index of the table's entry nearest to (red, green, blue) by squared distance; the
/// lowest of equally near ones; 0 when none qualifies.
///
/// red, green, blue  0 to 255; any other value is as far away as it is.
/// table             size entries of 3 bytes red, green, blue; borrowed. Null when size is 0.
///
/// Hardened: distances are computed without a sign, so that no request overflows; one of 2^31 - 1
/// or more is too far. Test: RlNearestRGBIndex.DistancesFrom31BitsOnAreTooFar.
///
/// Kept deliberately: a grey request (channels that differ by at most 4) looks at grey entries only
/// (three equal bytes), any other at the others only, however much nearer one of the other kind is:
/// greys never turn into tints, nor colours into greys.
/// Test: RlNearestRGBIndex.AColourNeverBecomesANearerGrey.
int32_t rlNearestRGBIndex(int32_t red, int32_t green, int32_t blue, const uint8_t *table,
                          uint32_t size) noexcept;

} // namespace kowen
